#!/usr/bin/env bash
# Installs what is missing, builds SetupCLS.dll, its fixtures and test programs, and runs every
# test under Wine in the build's own prefix. Safe to re-run: each step skips what is in place.
# Usage: scripts/test.sh [build folder, default ./build]
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}

"$root/scripts/install-toolchain.sh"

cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-i686-mingw.cmake" >/dev/null
cmake --build "$build" --target wineprefix
# One wineserver for the build (test discovery runs every test program) and for the tests.
"$root/cmake/wineserver-start.sh" "$build/wineprefix"
trap 'WINEPREFIX="$build/wineprefix" wineserver -k 2>/dev/null || true' EXIT
cmake --build "$build" -j 2
ctest --test-dir "$build" --output-on-failure
