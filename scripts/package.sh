#!/usr/bin/env bash
# Makes the packages of the last commit's version in build/packages: Debian packages of all components, and a zip for
# Windows. The same commit gives the same bytes on the same system. Installs what is missing; may be called from anywhere.
# scripts/package_smoke.sh tries the packages out.
#   package.sh [debian] [windows]    one kind alone
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C.UTF-8

# shellcheck source=scripts/packages.sh
. scripts/packages.sh
: "${SOURCE_DATE_EPOCH:=$(git log -1 --format=%ct)}"
export SOURCE_DATE_EPOCH
umask 022
version=$(sed -nE 's/^project\(Vkkrnx VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
soversion=$(<VERSION.abi)
kinds=${*:-debian windows}
out=$PWD/build/packages
work=$PWD/build/package
mkdir -p "$out"

# A build of its own. Without a compiler cache unless CACHE=1 is set, so that it is made of what lies here and nothing else.
build() { # <folder> <options of cmake>...
    local folder=$1
    shift
    [ -n "${CACHE:-}" ] || export CCACHE_DISABLE=1
    cmake -S . -B "$folder" -G Ninja -D CMAKE_BUILD_TYPE=Release -D VKKRNX_TESTS=OFF -D VKKRNX_BENCH=OFF \
        "$@" >"$folder.configure.log" 2>&1 || { cat "$folder.configure.log"; return 1; }
    cmake --build "$folder" --parallel "$(nproc)" -- --quiet
}

# Every component is installed into a folder of its own; one that no package takes is a mistake.
install_components() { # <build folder> <stage> <prefix in it> <component>...
    local folder=$1 stage=$2 prefix=$3 component
    shift 3
    rm -rf "$stage"
    for component in $(cmake --build "$folder" --target list_install_components | grep -o '"[^"]*"' | tr -d '"'); do
        [[ " $* " == *" $component "* ]] || { echo "no package takes the component $component" >&2; return 1; }
    done
    for component in "$@"; do
        cmake --install "$folder" --prefix "$stage/$component$prefix" --component "$component" >/dev/null
    done
}

# --- Debian

declare -A package_of=([runtime]=libvkkrnx$soversion [development]=libvkkrnx-dev [tools]=vkkrnx-tools
    [documentation]=libvkkrnx-doc [python]=python3-vkkrnx [java]=libvkkrnx-java)

# What Debian wants in a package besides the component's files.
finish_tree() { # <component>
    local component=$1 name=${package_of[$1]}
    local tree=$work/stage/$component doc=$work/stage/$component/usr/share/doc/${package_of[$1]}
    mkdir -p "$doc"
    if [ -d "$tree/usr/share/doc/Vkkrnx" ]; then # the licence is the copyright file, the rest has the package's name
        rm -f "$tree/usr/share/doc/Vkkrnx/LICENSE"
        cp -r "$tree/usr/share/doc/Vkkrnx/." "$doc"
        rm -r "$tree/usr/share/doc/Vkkrnx"
    fi
    cp "$work/copyright" "$doc/copyright"
    gzip -9n <"$work/debian/changelog" >"$doc/changelog.gz"
    find "$tree" -path '*/man/*' -name '*.1' -exec gzip -9n {} +
    mkdir -p "$tree/DEBIAN"
    if [ "$component" = runtime ]; then
        echo "libVkkrnx $soversion $name (>= $version)" >"$tree/DEBIAN/shlibs"
        echo "activate-noawait ldconfig" >"$tree/DEBIAN/triggers"
        mkdir -p "$tree/usr/share/lintian/overrides"
        sed "s/@SOVERSION@/$soversion/" packaging/debian/lintian-overrides >"$tree/usr/share/lintian/overrides/$name"
    fi
    find "$tree" -type d -exec chmod 755 {} +
    find "$tree" -type f -exec chmod 644 {} +
    [ ! -d "$tree/usr/bin" ] || chmod 755 "$tree"/usr/bin/*
    [ "$component" != python ] || python_scripts "$name" "$tree/DEBIAN"
}

# What Python writes beside its modules comes with the package and goes with it.
# shellcheck disable=SC2016 # the scripts are to expand it
python_scripts() { # <package> <folder>
    printf '#!/bin/sh\nset -e\n[ "$1" != configure ] || py3compile -p %s\n' "$1" >"$2/postinst"
    printf '#!/bin/sh\nset -e\npy3clean -p %s\n' "$1" >"$2/prerm"
    chmod 755 "$2/postinst" "$2/prerm"
}

strip_tree() { # <tree>
    local file
    while read -r file; do
        case $file in
        */bin/*) strip --remove-section=.comment --remove-section=.note "$file" ;;
        *) strip --remove-section=.comment --remove-section=.note --strip-unneeded "$file" ;;
        esac
    done < <(find "$1" -type f \( -name '*.so*' -o -path '*/bin/*' \))
}

build_deb() { # <component>
    local component=$1 name=${package_of[$1]}
    local tree=$work/stage/$component
    echo 'misc:Depends=' >"$work/debian/substvars"
    (
        cd "$work"
        mapfile -t binaries < <(find "$tree/usr" -type f \( -name '*.so*' -o -path '*/bin/*' \))
        if [ ${#binaries[@]} -gt 0 ]; then
            dpkg-shlibdeps -Tdebian/substvars -S"$work/stage/runtime" "${binaries[@]}"
        fi
        (cd "$tree" && find usr -type f -print0 | sort -z | xargs -0 md5sum) >"$tree/DEBIAN/md5sums"
        dpkg-gencontrol -p"$name" -P"$tree" -Tdebian/substvars -v"$version" -fdebian/files
    )
    find "$tree" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +
    dpkg-deb --root-owner-group --build "$tree" "$out" >/dev/null
}

package_debian() {
    ensure_packages build-essential cmake ninja-build pkg-config python3 doxygen libpng-dev libjpeg-dev libtiff-dev \
        libwebp-dev libgif-dev liblcms2-dev openjdk-17-jdk-headless strip-nondeterminism
    local maintainer="${DEBFULLNAME:-Vkkrnx maintainers} <${DEBEMAIL:-maintainers@vkkrnx.invalid}>"
    mkdir -p "$work/debian"
    sed -e "s/@SOVERSION@/$soversion/; s/@MAINTAINER@/$maintainer/" packaging/debian/control >"$work/debian/control"
    {
        printf 'vkkrnx (%s) unstable; urgency=medium\n\n  * See CHANGELOG.md in libvkkrnx-doc.\n\n' "$version"
        printf ' -- %s  %s\n' "$maintainer" "$(date --utc --date="@$SOURCE_DATE_EPOCH" -R)"
    } >"$work/debian/changelog"
    {
        printf 'Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\nUpstream-Name: Vkkrnx\n\n'
        printf 'Files: *\nCopyright: %s the Vkkrnx authors\nLicense: Expat\n' "$(date --utc --date="@$SOURCE_DATE_EPOCH" +%Y)"
        sed -e '1,/^Copyright/d; /./!d' LICENSE | sed -e 's/^/ /; s/^ THE SOFTWARE IS PROVIDED/ .\n&/; s/^ The above/ .\n&/'
    } >"$work/copyright"

    local flags jni
    jni=lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)/jni
    flags="$(dpkg-buildflags --get CPPFLAGS) -ffile-prefix-map=$PWD=."
    build "$work/debian-build" -D CMAKE_INSTALL_PREFIX=/usr -D CMAKE_SKIP_INSTALL_RPATH=ON \
        -D VKKRNX_JAVA=ON -D VKKRNX_JAVA_LIBDIR="$jni" -D VKKRNX_PYTHON_DIR=lib/python3/dist-packages \
        -D CMAKE_C_FLAGS="$(hardening CFLAGS) $flags" -D CMAKE_CXX_FLAGS="$(hardening CXXFLAGS) $flags" \
        -D CMAKE_SHARED_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)" \
        -D CMAKE_MODULE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)" \
        -D CMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)"
    install_components "$work/debian-build" "$work/stage" /usr "${!package_of[@]}"
    (cd python && python3 -B -c 'import backend, sys; backend.prepare_metadata_for_build_wheel(sys.argv[1])' \
        "$work/stage/python/usr/lib/python3/dist-packages")
    strip-nondeterminism --timestamp "$SOURCE_DATE_EPOCH" "$work"/stage/java/usr/share/java/*.jar
    scripts/site.sh --plain --vk "$work/debian-build/vk" --library "$work/debian-build" "$work/site" >"$work/site.log"
    cp -r "$work/site" "$work/stage/documentation/usr/share/doc/Vkkrnx/html"
    for component in "${!package_of[@]}"; do
        finish_tree "$component"
        strip_tree "$work/stage/$component/usr"
    done
    rm -f "$out"/*.deb "$work/debian/files"
    for component in "${!package_of[@]}"; do
        build_deb "$component"
    done
}

# Debian's flags, without the ones that this project sets by itself.
hardening() { dpkg-buildflags --get "$1" | sed -e "s#-g -O2##; s#-ffile-prefix-map=[^ ]*##"; }

# --- Windows

package_windows() {
    ensure_packages build-essential cmake ninja-build pkg-config python3 g++-mingw-w64-x86-64-posix \
        openjdk-17-jdk-headless strip-nondeterminism
    local name=vkkrnx-$version-windows-x86_64
    local tree=$work/$name build=$PWD/build/package-windows
    build "$build" --toolchain "$PWD/cmake/mingw-w64.cmake" -D CMAKE_INSTALL_PREFIX=/vkkrnx -D CMAKE_INSTALL_DOCDIR=doc \
        -D VKKRNX_JAVA=ON \
        -D CMAKE_SHARED_LINKER_FLAGS=-Wl,--no-insert-timestamp -D CMAKE_EXE_LINKER_FLAGS=-Wl,--no-insert-timestamp \
        -D CMAKE_MODULE_LINKER_FLAGS=-Wl,--no-insert-timestamp
    install_components "$build" "$work/windows-stage" "" runtime development tools documentation java
    rm -rf "$tree"
    mkdir -p "$tree/licences"
    cp -r "$work"/windows-stage/*/. "$tree"
    mv "$tree/doc/LICENSE" "$tree/licences/Vkkrnx.txt"
    # What the compiler puts into the programs: its run-time library and the one of the C library's.
    cp /usr/share/doc/mingw-w64-x86-64-dev/copyright "$tree/licences/mingw-w64.txt"
    cp /usr/share/doc/gcc-mingw-w64-base/copyright "$tree/licences/gcc-runtime.txt"
    x86_64-w64-mingw32-strip "$tree"/bin/*
    strip-nondeterminism --timestamp "$SOURCE_DATE_EPOCH" "$tree"/share/java/*.jar
    python3 - "$tree" "$out/$name.zip" <<'PYTHON'
"""Zips a folder: sorted names, one time."""
import os, pathlib, sys, time, zipfile
tree, out = map(pathlib.Path, sys.argv[1:])
moment = time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"]))[:6]
with zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as file:
    for path in sorted(p for p in tree.rglob("*") if p.is_file()):
        entry = zipfile.ZipInfo(str(path.relative_to(tree.parent)), moment)
        entry.compress_type = zipfile.ZIP_DEFLATED
        entry.external_attr = 0o644 << 16
        file.writestr(entry, path.read_bytes())
PYTHON
}

for kind in $kinds; do
    echo "== $kind"
    "package_$kind"
done
(cd "$out" && sha256sum -- *)
