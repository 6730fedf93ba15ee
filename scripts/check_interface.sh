#!/usr/bin/env bash
# Compares the binary interface with the one of the last release, which docs/interface/interface.abi (functions, classes and
# records) and docs/interface/interface.constants (values) describe:
#   check_interface.sh [--write] LIBRARY
# LIBRARY holds what is exported, with debug information. What is new is no difference; what is gone, or changed in a way
# that a compiled program would notice, makes the result 1. --write describes LIBRARY anew: for a release.
set -euo pipefail
mode=check
[ "${1:-}" = --write ] && mode=write && shift
library=$(realpath "$1")
cd "$(dirname "$0")/.."
described=docs/interface/interface.abi
constants=docs/interface/interface.constants

for tool in abidw abidiff; do
    command -v $tool >/dev/null || {
        echo "$tool is missing: it comes with Debian's package abigail-tools" >&2
        exit 1
    }
done

# The values that the public headers give names to; Vkkrnx.h reads all of them.
values() {
    local names
    names=$(sed -nE 's/^ *# *define +([A-Z][A-Z0-9_]+) +[^ ].*/\1/p' include/*.h | sort -u)
    echo '#include "Vkkrnx.h"' | "${CC:-cc}" -dM -E -Iinclude -x c - | sed -nE 's/^#define ([A-Z][A-Z0-9_]+) (.+)$/\1 \2/p' |
        grep -vE '__attribute__|__declspec' | LC_ALL=C sort | LC_ALL=C join <(LC_ALL=C sort <<<"$names") -
}

only_public=(--headers-dir include --drop-private-types --exported-interfaces-only)
if [ $mode = write ]; then
    abidw "${only_public[@]}" --no-architecture --no-corpus-path --no-comp-dir-path --no-elf-needed --no-show-locs \
        --no-parameter-names --type-id-style hash --out-file $described "$library"
    values >$constants
    exit
fi

result=0
abidiff --no-added-syms --no-architecture --no-corpus-path --exported-interfaces-only --drop-private-types \
    --headers-dir2 include --fail-no-debug-info $described "$library" || result=1
changed=$(LC_ALL=C comm -23 $constants <(values))
if [ -n "$changed" ]; then
    printf 'constants that were:\n%s\n' "$changed"
    result=1
fi
[ $result -eq 0 ] || echo "the binary interface is not the one of the last release (CONTRIBUTING.md says what to do)" >&2
exit $result
