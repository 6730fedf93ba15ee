#!/usr/bin/env bash
# Checks the rules on the sources that no compiler knows: which folder may include what, and the size of files.
set -euo pipefail
cd "$(dirname "$0")/.."
failed=0

# forbid <what is wrong> <pattern of includes> <folders>...
forbid() {
    local message=$1 pattern=$2
    shift 2
    local folders=()
    for folder in "$@"; do
        [ -d "$folder" ] && folders+=("$folder")
    done
    if grep -rnE --include='*.h' --include='*.cpp' --include='*.inc' "^ *# *include +$pattern" "${folders[@]}"; then
        echo "^ $message" >&2
        failed=1
    fi
}

# Standard C++ headers have no ".h"; vector intrinsics are the compiler's.
forbid "only platform/ includes system headers" '<([^>]*/|[^>]*[^n]\.h>|[^>]*[^i]n\.h>)' common shared
forbid "the kernel reaches the system through platform/platform.h alone" '"platform/(posix|win32|fault)/' common shared
forbid "pixel conversion knows nothing of storage" '"kernel/storage/' common/pixel
forbid "storage knows nothing of pixel conversion" '"kernel/convert/' common/store
forbid "the library knows nothing of its tests and tools" '"(tests|tools|bench|fuzz)/' common platform shared include

while read -r lines file; do
    if [ "$file" != total ] && [ "$lines" -gt 500 ]; then
        echo "$file has $lines lines; split it by topic" >&2
        failed=1
    fi
done < <(find common platform shared tools -name '*.cpp' -o -name '*.h' | xargs wc -l)

[ $failed -eq 0 ] && echo "the layers hold"
exit $failed
