#!/usr/bin/env bash
# The whole flow on the example medium: installs what is missing, builds, then runs the
# reference installer dvsetup.exe in the build's Wine prefix: install, status, uninstall.
# Each command prints its steps; a failed command is reported and the demo goes on, and the
# exit code is the number of failed commands.
# Usage: scripts/demo.sh [build folder, default ./build]
set -uo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}

trap 'WINEPREFIX="$build/wineprefix" wineserver -k 2>/dev/null || true' EXIT
"$root/scripts/build.sh" "$build" || { echo "build failed"; exit 1; }

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
