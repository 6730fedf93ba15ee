#!/usr/bin/env bash
# Builds the fuzz targets and runs them in turn for so many hours of processor time, politely: scripts/fuzz.sh HOURS
# [TARGET...]. With --merge [DIR] instead it boils down what was found. scripts/fuzz.py --help says the rest.
set -euo pipefail
cd "$(dirname "$0")/.."
exec </dev/null

if [ ! -f build/fuzz/build.ninja ]; then
    cmake --preset fuzz >/dev/null
fi
nice -n 19 cmake --build build/fuzz --target vk_fuzz -- --quiet
exec nice -n 19 python3 scripts/fuzz.py --build build/fuzz "$@"
