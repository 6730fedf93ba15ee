#!/usr/bin/env bash
# Checks the rules on the sources that no compiler knows: which folder may include what, and the size of files. The order
# of the kernel's folders is the numbered list in docs/architecture.md: a folder includes only those above it there.
set -euo pipefail
cd "$(dirname "$0")/.."
failed=0

fail() {
    echo "$*" >&2
    failed=1
}

# forbid <what is wrong> <pattern of includes> <folders>...
forbid() {
    local message=$1 pattern=$2
    shift 2
    if grep -rnE --include='*.h' --include='*.cpp' --include='*.inc' "^ *# *include +$pattern" "$@"; then
        fail "^ $message"
    fi
}

# Standard C++ headers have no ".h"; those of processors are for simd/.
forbid "only platform/ includes system headers" '<[^>]*(/|\.h>)' kernel
forbid "the kernel reaches the system through platform/platform.h alone" '"platform/(posix|win32|fault)/' kernel
forbid "the library knows nothing of its tests and tools" '"(tests|tools|bench|fuzz)/' kernel platform include simd
forbid "vectors know nothing of what they are used for" '"(kernel|platform|include)/|"V[a-z]+\.h' simd
forbid "the back ends know nothing of the kernel" '"kernel/' platform

# What a processor is told by name, and what it is asked, is for the vector layer; see docs/simd.md.
everything=(kernel platform tools modules bench tests fuzz)
intrinsics='mmintrin\.h|immintrin\.h|x86intrin\.h|arm_neon\.h|\b_mm[0-9]*_[a-z]|\b__m(128|256|512)|\b__mmask[0-9]|'
intrinsics+='\b_(pdep|pext|tzcnt|lzcnt|bzhi|blsr|andn)_u(32|64)|\bv[a-z0-9_]+_[usf](8|16|32|64)\(|\b(u?int|float)(8|16|32|64)x[0-9]+|\basm\b|__asm|__builtin_ia32_'
if grep -rnE --include='*.h' --include='*.cpp' "$intrinsics" "${everything[@]}"; then
    fail "^ only simd/ knows the instructions of processors"
fi
if grep -rnE --include='*.h' --include='*.cpp' '__builtin_cpu_|cpuid|getauxval' "${everything[@]}" simd |
    grep -v '^simd/Level\.cpp:'; then
    fail "^ only simd/Level.cpp asks what the processor has"
fi

# A fork looks after these locks and no others; see system/LibraryLock.h.
if grep -rnE 'std::(recursive_|timed_|shared_)*mutex|std::(once_flag|call_once)|atomic_flag' kernel |
    grep -vE '^kernel/system/(LibraryLock|ObjectLock)\.'; then
    fail "^ what the library locks is a LibraryLock or an ObjectLock"
fi

# Where pixels are is for the stores to know; everybody else asks kernel/storage/Storage.h.
storage_flags='BITMAPFLAG_(COMPRESSED|TILED|SUPERCOMPRESSED|CONVENTIONALMEMORY|DISKMEMORY|MIRROR|GLOBAL|LOCKED)\b|V_BitmapIs(Compressed|Tiled|SuperCompressed|ConventionalMemory|DiskMemory|Mirror|Global|Locked)\b'
if grep -rnE --include='*.h' --include='*.cpp' --exclude-dir=storage "$storage_flags" kernel; then
    fail "^ only kernel/storage/ looks at the flags of storage"
fi

declare -A place=()
count=0
while read -r folder; do
    place[$folder]=$((++count))
done < <(sed -nE 's/^[0-9]+\. `([a-z]+)\/`.*/\1/p' docs/architecture.md)

for folder in kernel/*/; do
    folder=$(basename "$folder")
    [ -n "${place[$folder]:-}" ] || fail "kernel/$folder/ has no place in the list of docs/architecture.md"
done
while IFS=: read -r file include; do
    from=${file#kernel/} from=${from%%/*}
    to=${include#*\"kernel/} to=${to%%/*}
    [ "${place[$to]:-99}" -le "${place[$from]:-0}" ] || fail "$file includes ${include#*include }: $to/ is above $from/"
done < <(grep -roE --include='*.h' --include='*.cpp' '^#include "kernel/[^"]+"' kernel)

while read -r lines file; do
    [ "$file" = total ] || [ "$lines" -le 500 ] || fail "$file has $lines lines; split it by topic"
done < <(find simd kernel platform tools include fuzz bench tests java \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' -o -name '*.py' -o -name '*.java' \) ! -name Vkkrnx.h -print0 | xargs -0 wc -l)

[ $failed -eq 0 ] && echo "the layers hold"
exit $failed
