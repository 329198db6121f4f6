#!/usr/bin/env bash
# Builds and runs the benchmark of the library's bulk operations (bench/), then times the main
# job on the example media: dvsetup install (version 1), upgrade (to version 2) and uninstall.
# Prints the tables and writes them, with the command, the machine and the build, into
# BENCHMARKS.md between its "bench:begin" and "bench:end" marks.
# It runs the 32-bit build, as the product ships, where the host runs 32-bit programs, else the
# 64-bit twin (scripts/common.sh); an argument x86 or x64 chooses. Further arguments go to the
# benchmark program: /sizes:200,2000,20000 /runs:5 /only:tree,flat,registry,log
# Usage: scripts/bench.sh [x86|x64] [benchmark options...]
set -uo pipefail
source "$(dirname "$0")/common.sh"

out=$setupcls_root/build
arch=
case ${1:-} in
  x86|x64) arch=$1; shift ;;
esac
trap 'setupcls_stop_wineserver "$out/x86"; setupcls_stop_wineserver "$out/x64"' EXIT

"$setupcls_root/scripts/install-toolchain.sh" || { echo "install failed"; exit 1; }
if [ -z "$arch" ]; then
  setupcls_configure "$out" x86 && setupcls_prepare_prefix "$out/x86" || { echo "Wine prefix failed"; exit 1; }
  arch=x86
  setupcls_runs_32bit "$out" "$out/x86" || { arch=x64; echo "Note: $(setupcls_why_no_32bit): the 64-bit build runs."; }
  setupcls_stop_wineserver "$out/x86"
fi
build=$out/$arch
echo "== building the benchmark and the media in $build"
setupcls_configure "$out" "$arch" || exit 1
cmake --build "$build" -j 2 --target setupcls_bench dvsetup medium_v1 wineprefix >/dev/null || { echo "build failed"; exit 1; }
setupcls_prepare_prefix "$build" || { echo "Wine prefix failed"; exit 1; }
run() { "$build/wine-run.sh" "$@"; }

echo "== the bulk operations (seconds: median (min-max) of the runs)"
table=$(run "$build/bin/setupcls_bench.exe" "$@" | tr -d '\r') || { echo "$table"; echo "benchmark failed"; exit 1; }
echo "$table"

echo "== the main job"
# What the main job leaves on purpose, the variable RNNAME (the computer's name) and the job
# queue's trace, is removed afterwards when it was not there before.
environment='HKLM\System\CurrentControlSet\Control\Session Manager\Environment'
queue_trace=$build/wineprefix/drive_c/windows/temp/setupcls_JobQue.log
had_rnname=no
run reg query "$environment" /v RNNAME >/dev/null 2>&1 && had_rnname=yes
had_trace=no
[ -e "$queue_trace" ] && had_trace=yes
logs=$(mktemp -d)
files=("/l:Z:$logs/dvsetup.log" "/t:Z:$logs/dvsetup.trc" "/m:Z:$logs/dvsetup.mif")
job="| command | wall time s | steps |"$'\n'"|---|---:|---|"
for step in "medium-v1 install" "medium upgrade" "medium uninstall"; do
  medium=${step% *}
  command=${step##* }
  start=$(date +%s.%N)
  run "$build/$medium/dvsetup.exe" "$command" "${files[@]}" > "$logs/run.out" 2>&1
  seconds=$(awk -v a="$start" -v b="$(date +%s.%N)" 'BEGIN {print b - a}')
  steps=$(tr -d '\r' < "$logs/run.out" | grep -E "^$command: [0-9]+ steps" | tail -1)
  job+=$'\n'"| $medium/dvsetup.exe $command | $(printf %.1f "$seconds") | ${steps:-no step count printed} |"
done
rm -rf "$logs"
[ "$had_rnname" = yes ] || run reg delete "$environment" /v RNNAME /f >/dev/null 2>&1
[ "$had_trace" = yes ] || rm -f "$queue_trace"
echo "$job"
echo "(the upgrade holds a fixed 20 s pause of the library after the earlier product is removed)"

machine="$(nproc) processors ($(grep -m1 'model name' /proc/cpuinfo | sed 's/.*: //')),"
machine+=" $(free -g | awk '/^Mem:/ {print $2}') GiB memory, Linux $(uname -r), $(wine --version 2>/dev/null)"
bits=$([ "$arch" = x86 ] && echo "32-bit, as the product ships" || echo "64-bit")
section="Command: \`scripts/bench.sh $arch${*:+ $*}\`"$'\n\n'
section+="Machine: $machine"$'\n\n'
section+="Build: $arch ($bits), commit $(git -C "$setupcls_root" log -1 --format=%h), run $(date -u +%Y-%m-%d)"$'\n\n'
section+="Seconds, median (min-max) of the runs:"$'\n\n'"$table"$'\n\n'
section+="Main job (one run each; the upgrade holds the library's fixed 20 s pause after the earlier product is removed):"
section+=$'\n\n'"$job"
report=$setupcls_root/BENCHMARKS.md
if grep -q '^<!-- bench:begin -->' "$report" 2>/dev/null; then
  SECTION=$section perl -0pi -e 's/(<!-- bench:begin -->\n).*?(<!-- bench:end -->)/$1$ENV{SECTION}\n$2/s' "$report"
  echo "== written to $report"
else
  echo "== $report has no bench:begin mark: nothing written"
fi
