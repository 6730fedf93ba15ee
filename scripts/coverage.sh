#!/usr/bin/env bash
# How many branches of the kernel, the POSIX back end and the vk command the tests take: builds with counters in
# build/coverage, runs the suite, prints a line for each folder and fails where one is below its limit.
#   coverage.sh [--report] [<options of coverage_report.py>...]
# --report counts what earlier runs left, without building or running anything.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/coverage

if [ "${1:-}" = --report ]; then
    shift
else
    # shellcheck source=scripts/packages.sh
    . scripts/packages.sh
    ensure_packages build-essential cmake ninja-build ccache pkg-config python3 googletest libpng-dev libjpeg-dev \
        libtiff-dev libwebp-dev libgif-dev liblcms2-dev libpixman-1-dev python3-pil
    mkdir -p build
    cmake --preset coverage >"$build.configure.log" || {
        cat "$build.configure.log"
        exit 1
    }
    cmake --build "$build" --parallel "$(nproc)" -- --quiet
    find "$build" -name '*.gcda' -delete
    ctest --test-dir "$build" --parallel "$(nproc)" --output-on-failure --no-tests=error
fi
exec scripts/coverage_report.py "$@" "$build"
