#!/usr/bin/env bash
# Builds and tests everything on a Debian machine, from a bare one on: the release build, the sanitizers, the Windows
# build under Wine, and the vectors of 64-bit ARM under an emulator. Each configuration is built once;
# then one ctest runs them all, so that what it prints last counts every test. Takes no input, and may be called from
# anywhere.
set -euo pipefail
cd "$(dirname "$0")/.."
exec </dev/null

# shellcheck source=scripts/packages.sh
. scripts/packages.sh
ensure_packages build-essential cmake ninja-build ccache pkg-config python3 googletest clang clang-format doxygen \
    libclang-rt-dev libpng-dev libjpeg-dev libtiff-dev libwebp-dev libgif-dev liblcms2-dev libbenchmark-dev \
    libyuv-dev libpixman-1-dev abigail-tools \
    g++-mingw-w64-x86-64-posix wine wine64 llvm lld default-jdk-headless junit5 \
    g++-aarch64-linux-gnu qemu-user \
    python3-cffi python3-numpy python3-pil python3-pytest python3-distributed python3-pip

jobs=$(nproc)
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CTEST_PARALLEL_LEVEL=$jobs

# prepare <preset> <what to build> [<cache entries>...]
prepare() {
    local preset=$1 targets=$2
    shift 2
    echo "== $preset: building $targets"
    cmake --preset "$preset" "$@" >"build/$preset.configure.log" 2>&1 || {
        cat "build/$preset.configure.log"
        return 1
    }
    # shellcheck disable=SC2086
    cmake --build "build/$preset" --parallel "$jobs" --target $targets -- --quiet
}

mkdir -p build
started=$SECONDS
prepare native all -DVKKRNX_BENCH=ON -DVKKRNX_JAVA=ON -DVKKRNX_PYTHON=ON
prepare windows all -DVKKRNX_JAVA=ON
prepare asan 'all vk_fuzz'
prepare tsan 'vk_tests vk_abi_tests vk_endurance' -DVKKRNX_TOOLS=OFF
# Of 64-bit ARM what holds vectors against plain code; scripts/test_aarch64.sh tries everything.
prepare aarch64 'vk_tests Vkkrnx' -DVKKRNX_TESTS_WITH='AtLevel|kLevels'
echo "== built in $((SECONDS - started)) s"

# The configurations as one test tree.
printf 'subdirs("%s")\n' native windows asan tsan aarch64 >build/CTestTestfile.cmake
ctest --test-dir build --output-on-failure --no-tests=error
