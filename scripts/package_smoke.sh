#!/usr/bin/env bash
# Tries the packages out. The Debian packages on a system that has nothing of this project's: installs them, runs vk,
# reads the manual, builds and runs programs in C, C++, Python and Java, and removes everything again. It changes the
# system that it runs on: give it a fresh one. The zip for Windows under Wine, changing nothing: runs vk, and programs
# that are built against what is in it.
#   package_smoke.sh [windows] [folder with the packages, build/packages unless given]
set -euo pipefail
cd "$(dirname "$0")/.."
kind=debian
[ "${1:-}" != windows ] || { kind=windows; shift; }
packages=$(realpath "${1:-build/packages}")
step() { echo "== $*"; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

if [ "$kind" = windows ]; then
    step "the command"
    python3 -m zipfile -e "$packages"/vkkrnx-*-windows-x86_64.zip "$scratch"
    tree=$(echo "$scratch"/vkkrnx-*)
    export WINEPREFIX=$scratch/wine
    scripts/wine.sh --start
    trap 'scripts/wine.sh --stop; rm -rf "$scratch"' EXIT
    run() { scripts/wine.sh "$@" | tr -d '\r'; }
    run "$tree/bin/vk.exe" --version
    run "$tree/bin/vk.exe" convert samples/astronaut.png "$scratch/small.gif"
    run "$tree/bin/vk.exe" info "$scratch/small.gif" | grep 'bits per pixel *8'
    run "$tree/bin/vk.exe" compare samples/rocket.jpg samples/rocket.jpg >/dev/null

    step "programs"
    cmake -S tests/abi/package -B "$scratch/cmake" -G Ninja --toolchain "$PWD/cmake/mingw-w64.cmake" \
        -D Vkkrnx_DIR="$tree/lib/cmake/Vkkrnx" >/dev/null
    cmake --build "$scratch/cmake" >/dev/null
    ctest --test-dir "$scratch/cmake" --output-on-failure >/dev/null

    step "what else is there"
    for file in lib/Vkkrnx.lib lib/Vkkrnx.def lib/libVkkrnx.dll.a include/Vkkrnx.h bin/vkkrnx_java.dll \
        share/java/vkkrnx.jar licences/{Vkkrnx,mingw-w64,gcc-runtime}.txt doc/README.md doc/vk.md; do
        [ -s "$tree/$file" ] || { echo "missing: $file" >&2; exit 1; }
    done
    echo "the zip works"
    exit
fi

ls "$packages"/*.deb >/dev/null
root=()
[ "$(id -u)" -eq 0 ] || root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${root[@]}" apt-get update -qq
install() { "${root[@]}" apt-get install -y -qq --no-install-recommends "$@" >/dev/null; }

step "the command alone, with what it depends on"
cp "$packages"/*.deb "$scratch" # where the package manager's own user may read
chmod 755 "$scratch"
install "$scratch"/libvkkrnx[0-9]*.deb "$scratch"/vkkrnx-tools_*.deb
vk --version
vk convert samples/astronaut.png "$scratch/small.png" --bits 4
vk info "$scratch/small.png" | grep 'bits per pixel *4'
vk resize samples/rocket.jpg "$scratch/rocket.bmp" --size 100x
vk compare samples/astronaut.png samples/astronaut.png >/dev/null

step "the manual and the completion"
install man-db
man vk | grep 'vk-convert(1)'
man vk-resize | grep -e '--filter'
bash -c '. /usr/share/bash-completion/completions/vk; COMP_WORDS=(vk res); COMP_CWORD=1; _vk; [ "${COMPREPLY[*]}" = resize ]'

step "programs"
install "$scratch"/*.deb gcc g++ libc6-dev pkg-config cmake make
# shellcheck disable=SC2046
cc -std=c99 tests/abi/package/readme_program.c $(pkg-config --cflags --libs vkkrnx) -o "$scratch/program"
"$scratch/program"
cmake -S tests/abi/package -B "$scratch/cmake" >/dev/null
cmake --build "$scratch/cmake" >/dev/null
ctest --test-dir "$scratch/cmake" --output-on-failure >/dev/null
[ -s /usr/share/doc/libvkkrnx-doc/html/index.html ]

step "Python and Java"
python3 -c 'import importlib.metadata, vkkrnx
with vkkrnx.Bitmap(30, 20) as bitmap:
    bitmap.fill("336699").resize(15)
    assert (bitmap.width, bitmap.height) == (15, 10)
assert importlib.metadata.version("vkkrnx") == vkkrnx.__version__'
install openjdk-17-jdk-headless
java -p /usr/share/java/vkkrnx.jar --add-modules org.vkkrnx samples/Guide.java | grep 'white pixels 100'

step "removing"
names=$(dpkg-query -W -f '${Package}\n' | grep vkkrnx)
# shellcheck disable=SC2086
"${root[@]}" apt-get purge -y -qq $names >/dev/null
left=$(find /usr -iname '*vkkrnx*' -not -path '/usr/src/*')
[ -z "$left" ] || { echo "left behind: $left" >&2; exit 1; }
ldconfig -p | grep -i vkkrnx && exit 1
echo "the packages work"
