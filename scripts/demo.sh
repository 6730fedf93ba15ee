#!/usr/bin/env bash
# Takes the sample pictures through every storage kind with the vk command, and leaves what came back and a page with the
# figures in demo-out/. Installs what is missing and builds first; may be called from anywhere.
set -euo pipefail
cd "$(dirname "$0")/.."

# shellcheck source=scripts/packages.sh
. scripts/packages.sh
ensure_packages build-essential cmake ninja-build ccache pkg-config python3 googletest libpng-dev libjpeg-dev

echo "== building"
mkdir -p build
cmake --preset native >build/native.configure.log
cmake --build build/native --target vk -- --quiet

out=demo-out
rm -rf "$out"
mkdir -p "$out"
for sample in samples/astronaut.png samples/rocket.jpg samples/page.png; do
    name=$(basename "${sample%.*}")
    echo "== $sample"
    build/native/vk info "$sample"
    kinds=(conv global user disk tiled)
    [ "$name" = page ] && kinds+=(compressed)
    for kind in "${kinds[@]}"; do
        echo "-- held as $kind"
        build/native/vk hold "$sample" --as "$kind" -o "$out/$name-$kind.png" --json | tee "$out/$name-$kind.json"
    done
done

python3 scripts/demo_page.py "$out"
echo "== done: open $out/index.html"
