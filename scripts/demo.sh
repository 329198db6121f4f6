#!/usr/bin/env bash
# The whole flow on the example media: installs what is missing, builds, then runs the reference
# installer dvsetup.exe in the build's Wine prefix: version 1 install, status, upgrade to version
# 2, status, uninstall, with a master setup listening for their status (dvsetup listen) and one
# of the product's consoles open when the install starts, which the install closes first. It
# ends with the machine state after the uninstall compared with the one before the install, and
# a summary.
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

v1=$build/medium-v1
v2=$build/medium
# What the library touches on this machine, before anything runs; compared at the end.
run "$v2/dvsetup.exe" snapshot "Z:$logs/before.txt" > /dev/null

# The master setup: it hears the status and results of the runs below (the uninstall of version 1
# that the upgrade starts among them).
run "$v2/dvsetup.exe" listen /w:900 /n:4 > "$logs/listen.out" 2>&1 &
listener=$!
# A user has the manager console open.
run "$v2/DVCONSOLE.EXE" /class:DrosvaneMgr /mutex:DrosvaneMgrAppInstMutex "/title:Drosvane Manager" \
  "/record:Z:$logs/console.rec" /timeout:900000 > /dev/null 2>&1 &
console=$!
for _ in $(seq 100); do
  grep -q listening "$logs/listen.out" 2>/dev/null && run "$v2/dvsetup.exe" consoles 2>/dev/null | grep -q "DrosvaneMgr  *running" && break
  sleep 0.2
done

# Version 1 is installed, then upgraded to version 2 (which removes version 1 through its own
# uninstaller; the library then pauses 20 s, on purpose), then removed.
failed=0
start=$(date +%s)
for step in "$v1 install" "$v1 status" "$v2 upgrade" "$v2 status" "$v2 uninstall"; do
  medium=${step% *}
  command=${step##* }
  echo
  echo "== dvsetup $command (from ${medium#$build/})"
  if ! run "$medium/dvsetup.exe" "$command" "${files[@]}" | tee -a "$logs/runs.out"; then
    echo "== dvsetup $command FAILED"
    failed=$((failed + 1))
  fi
done
seconds=$(( $(date +%s) - start ))
wait "$console" 2>/dev/null
wait "$listener" 2>/dev/null
run "$v2/dvsetup.exe" snapshot "Z:$logs/after.txt" > /dev/null

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

# What was left behind: the machine state after the uninstall against the one before the
# install. Left on purpose: the variable RNNAME (the computer's name, for other products) and,
# on a fresh Wine prefix, the shell's own handler list keys (Windows always has them; the
# uninstall takes only the product's entries out of them).
echo
echo "== the machine after the uninstall against before the install"
on_purpose=$'\tRNNAME\t|^. registry\tHKCR(32|64)\\\\(Drive|Directory|\\*)(\\\\shellex(\\\\(ContextMenuHandlers|PropertySheetHandlers))?)?\t\t(key|absent)\t'
left=$(diff <(tr -d '\r' < "$logs/before.txt") <(tr -d '\r' < "$logs/after.txt") | grep '^[<>]' | grep -Ev "$on_purpose")
if [ -z "$left" ]; then
  echo "nothing left behind (on purpose: RNNAME, the computer's name, and the shell's own handler lists)"
else
  echo "$left"
  failed=$((failed + 1))
fi
echo
echo "== summary"
grep -E '^(install|upgrade|uninstall): [0-9]+ steps' "$logs/runs.out" | sed 's/^/  /'
steps=$(grep -Eo '^(install|upgrade|uninstall): [0-9]+' "$logs/runs.out" | awk '{s += $2} END {print s + 0}')
bad=$(grep -Eo '^(install|upgrade|uninstall): [0-9]+ steps, [0-9]+ failed' "$logs/runs.out" | awk '{s += $4} END {print s + 0}')
echo "  $steps steps run, $bad failed, in $seconds s; left behind: $([ -z "$left" ] && echo nothing || echo 'see above')"
rm -rf "$logs"
echo
if [ "$failed" -eq 0 ]; then echo "demo: all commands done"; else echo "demo: $failed command(s) failed"; fi
exit "$failed"
