#!/usr/bin/env bash
# Installs what is missing, builds, and runs all tests. usage: ./test.sh [PRESET]   (release)
set -eu
cd "$(dirname "$0")"
preset=${1:-release}
./packaging/install-packages.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$(nproc)"
ctest --preset "$preset" -j "$(nproc)"
