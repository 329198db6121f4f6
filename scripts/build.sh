#!/usr/bin/env bash
# Installs what is missing, creates the build's Wine prefix and builds SetupCLS.dll, the
# reference installer with its example medium, the fixtures and the test programs.
# Leaves a wineserver running for the prefix (the caller stops it).
# Usage: scripts/build.sh <build folder>
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=$1

"$root/scripts/install-toolchain.sh"
cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-i686-mingw.cmake" >/dev/null
cmake --build "$build" --target wineprefix
# One wineserver for the build (test discovery runs every test program) and what follows.
"$root/cmake/wineserver-start.sh" "$build/wineprefix"
# Test discovery starts every test program under Wine as it is linked; a start that Wine fails
# (seen once with a fresh prefix) is retried with one more, serial, build pass. A real build
# error fails both.
cmake --build "$build" -j 2 || cmake --build "$build" -j 1
