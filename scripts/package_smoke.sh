#!/usr/bin/env bash
# Tries the Debian packages out on a system that has nothing of this project's: installs them, runs vk, reads the manual,
# builds and runs programs through pkg-config and CMake, and removes everything again. It changes the system that it runs
# on: give it a fresh one.
#   package_smoke.sh [folder with the packages, build/packages unless given]
set -euo pipefail
cd "$(dirname "$0")/.."
packages=$(realpath "${1:-build/packages}")
ls "$packages"/*.deb >/dev/null
root=()
[ "$(id -u)" -eq 0 ] || root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${root[@]}" apt-get update -qq

step() { echo "== $*"; }
install() { "${root[@]}" apt-get install -y -qq --no-install-recommends "$@" >/dev/null; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

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

step "removing"
names=$(dpkg-query -W -f '${Package}\n' | grep vkkrnx)
# shellcheck disable=SC2086
"${root[@]}" apt-get purge -y -qq $names >/dev/null
left=$(find /usr -iname '*vkkrnx*' -not -path '/usr/src/*')
[ -z "$left" ] || { echo "left behind: $left" >&2; exit 1; }
ldconfig -p | grep -i vkkrnx && exit 1
echo "the packages work"
