#!/usr/bin/env bash
# The whole flow on the example medium: installs what is missing, builds, then runs the
# reference installer dvsetup.exe in the build's Wine prefix: install, status, uninstall, with a
# master setup listening for their status (dvsetup listen) and one of the product's consoles
# open when the install starts, which the install closes first.
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
run() { "$build/wine-run.sh" "$@"; }
# Z: is the Linux root inside the prefix.
files=("/l:Z:$logs/dvsetup.log" "/t:Z:$logs/dvsetup.trc" "/m:Z:$logs/dvsetup.mif")

# The master setup: it hears the install's and the uninstall's status and results.
run "$build/medium/dvsetup.exe" listen /w:600 /n:2 > "$logs/listen.out" 2>&1 &
listener=$!
# A user has the manager console open.
run "$build/medium/DVCONSOLE.EXE" /class:DrosvaneMgr /mutex:DrosvaneMgrAppInstMutex "/title:Drosvane Manager" \
  "/record:Z:$logs/console.rec" /timeout:600000 > /dev/null 2>&1 &
console=$!
for _ in $(seq 100); do
  grep -q listening "$logs/listen.out" 2>/dev/null && run "$build/medium/dvsetup.exe" consoles 2>/dev/null | grep -q "DrosvaneMgr  *running" && break
  sleep 0.2
done

failed=0
for command in install status uninstall; do
  echo
  echo "== dvsetup $command"
  if ! run "$build/medium/dvsetup.exe" "$command" "${files[@]}"; then
    echo "== dvsetup $command FAILED"
    failed=$((failed + 1))
  fi
done
wait "$console" 2>/dev/null
wait "$listener" 2>/dev/null
echo
echo "== what the manager console was asked (it closes on its own shutdown message 0x637)"
tr -d '\r' < "$logs/console.rec" 2>/dev/null
echo
echo "== what the master setup heard (dvsetup listen)"
tr -d '\r' < "$logs/listen.out"
for file in dvsetup.trc dvsetup.log dvsetup.mif; do
  echo
  echo "== $file (the library's own lines are in the log file)"
  tr -d '\r' < "$logs/$file" 2>/dev/null
  echo
done
rm -rf "$logs"
echo
if [ "$failed" -eq 0 ]; then echo "demo: all commands done"; else echo "demo: $failed command(s) failed"; fi
exit "$failed"
