#!/usr/bin/env bash
# Checks that every source is laid out as .clang-format says. With --fix, lays them out.
set -euo pipefail
cd "$(dirname "$0")/.."

# The version the layout was made with, where there is one: others differ in small ways.
clang_format=$(command -v clang-format-14 || command -v clang-format) || {
    echo "clang-format is missing" >&2
    exit 1
}
folders=()
for folder in bench fuzz include java kernel modules platform samples simd tests tools; do
    [ -d "$folder" ] && folders+=("$folder")
done
sources() { find "${folders[@]}" \( -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.cpp' \) -print0; }
if [ "${1:-}" = --fix ]; then
    sources | xargs -0 -n 40 -P 2 "$clang_format" -i
    exit
fi
# The program reports changes of some lines that are none: what it would write decides.
suspects=$(sources | xargs -0 -n 40 -P 2 "$clang_format" --dry-run 2>&1 |
    sed -nE 's/^([^:]+):[0-9]+:[0-9]+: warning: code should be clang-formatted.*/\1/p' | sort -u) || {
    "$clang_format" --dump-config >/dev/null # says what is wrong
    exit 1
}
places=$(for file in $suspects; do
    { "$clang_format" "$file" | cmp - "$file" 2>&1 || true; } |
        sed -nE 's/^- ([^ ]+) differ: .*line ([0-9]+)$/\1:\2/p; s/^cmp: EOF on (.*)/\1/p'
done)
if [ -n "$places" ]; then
    printf '%s\n' "$places" "scripts/check_format.sh --fix lays these out" >&2
    exit 1
fi
