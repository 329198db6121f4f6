#!/usr/bin/env bash
# The whole flow on the example medium: installs what is missing, builds, then runs the
# reference installer dvsetup.exe in the build's Wine prefix: install, status, uninstall.
# It runs the 32-bit build, as the product ships, and the 64-bit twin on a host that cannot run
# 32-bit programs (SETUPCLS_RUN_32BIT=yes or =no forces the choice; scripts/common.sh).
# Each command prints its steps; a failed command is reported and the demo goes on, and the
# exit code is the number of failed commands.
# Usage: scripts/demo.sh [build root, default ./build]
set -uo pipefail
source "$(dirname "$0")/common.sh"

out=${1:-$setupcls_root/build}
mkdir -p "$out"
out=$(cd "$out" && pwd)
trap 'setupcls_stop_wineserver "$out/x86"; setupcls_stop_wineserver "$out/x64"' EXIT

# The 32-bit build's prefix is made by 64-bit Wine on every host, so the probe can start there.
"$setupcls_root/scripts/install-toolchain.sh" || { echo "install failed"; exit 1; }
setupcls_configure "$out" x86 && setupcls_prepare_prefix "$out/x86" || { echo "Wine prefix failed"; exit 1; }
arch=x86
if ! setupcls_runs_32bit "$out" "$out/x86"; then
  arch=x64
  echo "Note: $(setupcls_why_no_32bit): the demo runs the 64-bit build."
fi
setupcls_stop_wineserver "$out/x86"
"$setupcls_root/scripts/build.sh" "$out" "$arch" || { echo "build failed"; exit 1; }
build=$out/$arch
setupcls_prepare_prefix "$build" || { echo "Wine prefix failed"; exit 1; }
echo "== the $arch build: $build"

logs=$(mktemp -d)
failed=0
for command in install status uninstall; do
  echo
  echo "== dvsetup $command"
  # Z: is the Linux root inside the prefix.
  if ! "$build/wine-run.sh" "$build/medium/dvsetup.exe" "$command" "/l:Z:$logs/dvsetup.log" "/t:Z:$logs/dvsetup.trc"; then
    echo "== dvsetup $command FAILED"
    failed=$((failed + 1))
  fi
done
for file in dvsetup.trc dvsetup.log; do
  echo
  echo "== $file (the library's own lines are in the log file)"
  tr -d '\r' < "$logs/$file" 2>/dev/null
done
rm -rf "$logs"
echo
if [ "$failed" -eq 0 ]; then echo "demo: all commands done"; else echo "demo: $failed command(s) failed"; fi
exit "$failed"
