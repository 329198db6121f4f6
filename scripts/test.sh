#!/usr/bin/env bash
# Installs what is missing, builds SetupCLS.dll, its fixtures and test programs, and runs every
# test under Wine in the build's own prefix. Safe to re-run: each step skips what is in place.
# Usage: scripts/test.sh [build folder, default ./build]
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}

trap 'WINEPREFIX="$build/wineprefix" wineserver -k 2>/dev/null || true' EXIT
"$root/scripts/build.sh" "$build"
ctest --test-dir "$build" --output-on-failure
