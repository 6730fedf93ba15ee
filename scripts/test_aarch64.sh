#!/usr/bin/env bash
# Builds everything for Linux on 64-bit ARM and runs all of its tests under an emulator; scripts/test.sh runs those that
# hold vectors against plain code. Arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
exec </dev/null

# shellcheck source=scripts/packages.sh
. scripts/packages.sh
ensure_packages build-essential cmake ninja-build ccache python3 googletest g++-aarch64-linux-gnu qemu-user

jobs=$(nproc)
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CTEST_PARALLEL_LEVEL=$jobs
cmake --preset aarch64 -DVKKRNX_TESTS_WITH=
cmake --build build/aarch64 --parallel "$jobs" -- --quiet
ctest --test-dir build/aarch64 --output-on-failure --no-tests=error "$@"
