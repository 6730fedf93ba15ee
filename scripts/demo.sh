#!/usr/bin/env bash
# Does the library's main job on real pictures with the vk command: holds them in every storage kind and takes them to
# every depth, palette and dithering method. Leaves what came out and two pages to look at in demo-out/. Installs what is
# missing and builds first; may be called from anywhere.
set -euo pipefail
cd "$(dirname "$0")/.."

# shellcheck source=scripts/packages.sh
. scripts/packages.sh
ensure_packages build-essential cmake ninja-build ccache pkg-config python3 googletest libpng-dev libjpeg-dev

echo "== building"
mkdir -p build
cmake --preset native >build/native.configure.log
cmake --build build/native --target vk -- --quiet
vk=build/native/vk

out=demo-out
rm -rf "$out"
mkdir -p "$out"

# convert <name> <options>...: the photograph in another form, and the figures.
convert() {
    local name=$1
    shift
    echo "-- $name: vk convert --bits $*"
    "$vk" convert samples/astronaut.png "$out/color-$name.png" --json --bits "$@" >"$out/color-$name.json"
}

for sample in samples/astronaut.png samples/rocket.jpg samples/page.png; do
    name=$(basename "${sample%.*}")
    echo "== $sample"
    "$vk" info "$sample"
    kinds=(conv global user disk tiled)
    [ "$name" = page ] && kinds+=(compressed)
    for kind in "${kinds[@]}"; do
        echo "-- held as $kind"
        "$vk" hold "$sample" --as "$kind" -o "$out/$name-$kind.png" --json >"$out/hold-$name-$kind.json"
    done
done

echo "== colours"
for bits in 1 2 3 4 5 6 7 8 12 16 24 32 48 64; do
    convert "depth-$(printf %02d $bits)" "$bits"
done
for palette in fixed gray cube optimized; do
    convert "palette-$palette" 8 --palette "$palette"
done
for method in none floyd-steinberg stucki burkes sierra stevenson-arce jarvis ordered clustered; do
    convert "dither2-$method" 1 --palette fixed --dither "$method"
    convert "dither16-$method" 4 --dither "$method"
    convert "dither256-$method" 8 --palette fixed --dither "$method"
done

python3 scripts/demo_page.py "$out"
echo "== done: open $PWD/$out/index.html and $PWD/$out/colors.html"
