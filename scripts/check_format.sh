#!/usr/bin/env bash
# Checks that every source is laid out as .clang-format says. With --fix, lays them out.
set -euo pipefail
cd "$(dirname "$0")/.."

# The version the layout was made with, where there is one: others differ in small ways.
clang_format=$(command -v clang-format-14 || command -v clang-format) || {
    echo "clang-format is missing" >&2
    exit 1
}
mode=(--dry-run -Werror)
[ "${1:-}" = --fix ] && mode=(-i)

folders=()
for folder in bench fuzz include java kernel modules platform samples simd tests tools; do
    [ -d "$folder" ] && folders+=("$folder")
done
sources() { find "${folders[@]}" \( -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.cpp' \) -print0; }
if ! output=$(sources | xargs -0 -n 40 -P 2 "$clang_format" "${mode[@]}" 2>&1); then
    places=$(sed -nE 's/^([^:]+:[0-9]+):[0-9]+: error: code should be clang-formatted.*/\1/p' <<<"$output" | sort -Vu)
    printf '%s\n' "${places:-$output}" "scripts/check_format.sh --fix lays these out" >&2
    exit 1
fi
