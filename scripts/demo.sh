#!/usr/bin/env bash
# Does the library's main job on real pictures with the vk command: holds them in every storage kind and takes them to
# every depth, palette and dithering method, size, angle, warp and view perspective, puts them into each other, and shows gray
# samples through windows. Leaves what came out and pages to look at in demo-out/. Installs what is missing and builds first; may be called from anywhere.
set -euo pipefail
cd "$(dirname "$0")/.."

# shellcheck source=scripts/packages.sh
. scripts/packages.sh
ensure_packages build-essential cmake ninja-build ccache pkg-config python3 googletest libpng-dev libjpeg-dev libtiff-dev \
    libwebp-dev libgif-dev liblcms2-dev

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

# geometry <name> <sample> <command> <options>...: a sample moved about, and the figures.
geometry() {
    local name=$1 sample=$2
    shift 2
    echo "-- $name: vk $*"
    "$vk" "$1" "samples/$sample.png" "$out/geometry-$name.png" --json "${@:2}" >"$out/geometry-$name.json"
}

for sample in samples/astronaut.png samples/rocket.jpg samples/page.png; do
    name=$(basename "${sample%.*}")
    echo "== $sample"
    "$vk" info "$sample"
    kinds=(conv global user disk tiled super)
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

echo "== geometry"
for filter in nearest area bicubic sharp; do
    geometry "smaller-$filter" astronaut resize --scale 37 --filter $filter
    geometry "larger-$filter" astronaut resize --scale 150 --filter $filter
    geometry "page-$filter" page resize --scale 37 --filter $filter
done
geometry page-favor-black page resize --scale 37 --filter favor-black
geometry page-gray page resize --scale 37 --filter gray
for filter in nearest bilinear bicubic; do
    geometry "rotate-$filter" astronaut rotate --angle 7.3 --filter $filter --fill 336699
    geometry "rotate-page-$filter" page rotate --angle -3.5 --filter $filter --fill ffffff
done
geometry rotate-kept astronaut rotate --angle 30 --keep --fill ffffff
geometry rotate-corner astronaut rotate --angle 30 --keep --center 0,0
for angle in 90 180 270; do
    geometry "rotate-quarter-$angle" astronaut rotate --angle $angle
done
geometry rotate-flip astronaut flip
geometry rotate-mirror astronaut mirror
for perspective in 1 2 3 4 5 6 7 8; do
    geometry "view-$perspective" astronaut orient --to $perspective
done

# warp <name> <file> <command> <options>...: the same with a file.
warp() {
    local name=$1 file=$2
    shift 2
    echo "-- $name: vk $*"
    "$vk" "$1" "$file" "$out/geometry-$name.png" --json "${@:2}" >"$out/geometry-$name.json"
}
"$vk" resize samples/page.png "$out/page.png" --size 638x825 --filter gray >"$out/page.txt"
warp warp-1-leaning-page "$out/page.png" warp --size 760x900 --filter bilinear --area --fill 666666 --matrix \
    0.834210525,-0.0633215951,-3.12835157e-05,-0.0867465126,0.760486136,-0.000265287793,95,60,1
warp warp-2-upright-page "$out/geometry-warp-1-leaning-page.png" warp --corners 95,60,640,20,730,850,30,880 --size 638x825 \
    --filter bicubic --edge
python3 - >"$out/lens.txt" <<'EOF'
print(17, 17)
for row in range(17):
    for column in range(17):
        x, y = column / 8 - 1, row / 8 - 1
        bend = 0.72 + 0.22 * (x * x + y * y)
        print(256 + 256 * x * bend, 256 + 256 * y * bend)
EOF
warp warp-3-lens samples/astronaut.png warp --grid "$out/lens.txt" --filter bicubic --area
warp warp-4-shear samples/astronaut.png shear --angle 15 --linear --fill ffffff
warp warp-5-shear-page samples/page.png shear --angle=-5 --vertical --fill ffffff

echo "== pictures in pictures"
# combined <name> <file> <command> <options>...: the same for the page of combined pictures.
combined() {
    local name=$1 file=$2
    shift 2
    echo "-- $name: vk $*"
    "$vk" "$1" "$file" "$out/combined-$name.png" --json "${@:2}" >"$out/combined-$name.json"
}
"$vk" resize samples/astronaut.png "$out/under.png" --size 320x320 >"$out/under.txt"
"$vk" resize samples/rocket.jpg "$out/rocket.png" --size x320 >"$out/rocket.txt"
"$vk" crop "$out/rocket.png" "$out/over.png" --rect 80,0,320,320 >"$out/over.txt"
for operation in copy and or xor nand nor xnor add subtract min max average difference multiply; do
    combined "operation-$operation" "$out/under.png" combine --with "$out/over.png" --at 40,40 --rect 0,0,240,240 \
        --operation $operation
done
for mode in normal multiply screen overlay darken lighten color-dodge color-burn hard-light soft-light difference exclusion; do
    combined "mode-$mode" "$out/under.png" combine --with "$out/over.png" --at 40,40 --rect 0,0,240,240 --blend $mode
done
# Two shapes: the one covers the left, the other the lower part.
python3 - "$out" <<'EOF'
import pathlib, sys
folder = pathlib.Path(sys.argv[1])
ramp = lambda t: max(0, min(255, int(255 * (1.25 - 1.5 * t))))
for name, level in (("left", lambda x, y: ramp(x / 319)), ("low", lambda x, y: ramp(1 - y / 319))):
    (folder / f"{name}.pgm").write_bytes(b"P5 320 320 255\n" + bytes(level(x, y) for y in range(320) for x in range(320)))
EOF
"$vk" alpha "$out/under.png" "$out/under-left.png" --put "$out/left.pgm" >"$out/under-left.txt"
"$vk" alpha "$out/over.png" "$out/over-low.png" --put "$out/low.pgm" >"$out/over-low.txt"
for operator in normal src dst-over src-in dst-in src-out dst-out src-atop dst-atop xor plus clear; do
    combined "operator-$operator" "$out/under-left.png" combine --with "$out/over-low.png" --blend $operator
done
combined cover-mask "$out/under.png" combine --with "$out/over.png" --mask "$out/low.pgm"
combined cover-mask-screen "$out/under.png" combine --with "$out/over.png" --mask "$out/left.pgm" --blend screen
for percent in 25 50 75; do
    combined "cover-opacity-$percent" "$out/under.png" combine --with "$out/over.png" --opacity $percent
done
combined part-crop "$out/under.png" crop --rect 60,10,180,140
combined part-trim samples/page.png trim --tolerance 100
for kind in fill edge mirror wrap; do
    combined "part-extend-$kind" "$out/under.png" extend --by 60,40,60,40 --kind $kind --fill 336699
done
combined part-fill-flood "$out/under.png" fill --color ffcc00 --flood 10,150 --tolerance 60
combined part-fill-pattern "$out/under.png" fill --pattern "$out/combined-part-crop.png"
combined part-scramble-1-hidden "$out/under.png" scramble --key 1969 --rect 90,20,130,110
combined part-scramble-2-shown "$out/combined-part-scramble-1-hidden.png" scramble --key 1969 --rect 90,20,130,110 --show

echo "== windows, regions, overlays"
# shown <name> <file> <command> <options>...: the same for the page of what is shown and what is chosen.
shown() {
    local name=$1 file=$2
    shift 2
    echo "-- $name: vk $*"
    "$vk" "$1" "$file" "$out/shown-$name.png" --json "${@:2}" >"$out/shown-$name.json"
}
shown window-1-whole-range samples/deep.png window
shown window-2-shadows samples/deep.png window --center 2500 --width 5000
shown window-3-deepest-shadows samples/deep.png window --center 1000 --width 1500
shown window-4-highlights samples/deep.png window --center 45000 --width 40000
shown window-5-sigmoid samples/deep.png window --center 3000 --width 6000 --function sigmoid
shown window-6-inverted samples/deep.png window --center 2500 --width 5000 --invert
shown window-7-colours samples/deep.png window --center 2500 --width 5000 --colors 10104a-ffe680
shown window-8-inside-an-ellipse samples/deep.png region --shape "ellipse 100,30,130,170" --inside "window --center 2500 --width 5000"
suit="polygon 100,128,139,113,172,141,206,119,232,160,240,318,22,318,30,190"
shown region-1-polygon-mask "$out/under.png" region --shape "$suit" --mask
shown region-2-polygon-filled "$out/under.png" region --shape "$suit" --fill 3366cc
shown region-3-polygon-blended "$out/under.png" region --shape "$suit" --inside "combine --with $out/over.png --opacity 70"
shown region-4-polygon-screened "$out/under.png" region --shape "$suit" --inside "combine --with $out/over.png --blend screen"
shown region-5-cut-out "$out/under.png" region --shape "$suit; or ellipse 95,5,100,125" --cut-on ffffff
shown region-6-around "$out/under.png" region --shape "rect 0,0,320,320; not round 20,20,280,280,120,120" --fill ffffff
shown region-7-wand "$out/under.png" region --shape "wand 10,150,60" --fill ffcc00
shown region-8-patterned "$out/under.png" region --shape "$suit" --inside "fill --pattern $out/combined-part-crop.png"
shown region-9-star "$out/under.png" region --cut --shape "polygon 160,5,255,310,5,120,315,120,65,310"
shown region-9-star-winding "$out/under.png" region --cut --shape "winding 160,5,255,310,5,120,315,120,65,310"
"$vk" resize samples/page.png "$out/paper.png" --scale 30 --filter gray >"$out/paper.txt"
"$vk" region "$out/paper.png" "$out/mark.png" --mask --shape \
    "rect 80,150,620,6; or rect 80,300,620,6; or rect 80,150,6,156; or rect 694,150,6,156" >"$out/mark.txt"
shown overlay-1-frame "$out/paper.png" overlay --with "$out/mark.png" --color e02020
"$vk" resize samples/page.png "$out/ink.png" --scale 30 --filter favor-black >"$out/ink.txt"
shown overlay-2-coloured-page "$out/under.png" overlay --with "$out/ink.png" --dark --at=-70,-120 --color 00ff88
"$vk" overlay samples/deep.png "$out/stored.png" --with "$out/ink.png" --dark --at=-200,-130 --store 0 >"$out/stored.txt"
shown overlay-3-kept-in-bit-0 "$out/stored.png" window --center 2500 --width 5000
shown overlay-4-taken-out-of-bit-0 "$out/stored.png" overlay --load 0 --take

python3 scripts/demo_page.py "$out"
echo "== done: open $PWD/$out/index.html"
