#!/usr/bin/env bash
# Installs what is missing and builds SetupCLS.dll, the reference installer with its example
# medium, the fixtures and the test programs for each architecture named (default: both), each
# in its own folder below the build root: x86 and x64 (scripts/common.sh). The build never runs
# Wine.
# Usage: scripts/build.sh <build root> [x86] [x64]
set -euo pipefail
source "$(dirname "$0")/common.sh"

out=$1
shift
archs=("$@")
[ ${#archs[@]} -gt 0 ] || archs=(x86 x64)

"$setupcls_root/scripts/install-toolchain.sh"
for arch in "${archs[@]}"; do
  echo "== building the $arch DLL in $out/$arch"
  setupcls_configure "$out" "$arch"
  cmake --build "$out/$arch" -j 2
done
