#!/usr/bin/env bash
# Installs what is missing, builds both architectures of SetupCLS.dll with their fixtures and
# test programs, and runs every suite this host can run under Wine, each in its build's own
# prefix: the 32-bit suite where the host runs 32-bit programs, and the 64-bit suite always.
# Where the host cannot run 32-bit programs, the 32-bit DLL is still built, and the 64-bit
# suite checks it as an image. SETUPCLS_RUN_32BIT=yes or =no forces the choice.
# Safe to re-run: each step skips what is in place.
# Usage: scripts/test.sh [build root, default ./build]
set -euo pipefail
source "$(dirname "$0")/common.sh"

out=${1:-$setupcls_root/build}
mkdir -p "$out"
out=$(cd "$out" && pwd)
trap 'setupcls_stop_wineserver "$out/x86"; setupcls_stop_wineserver "$out/x64"' EXIT

"$setupcls_root/scripts/install-toolchain.sh"

# The 64-bit suite always runs: its prefix is where the probe for 32-bit programs starts.
setupcls_configure "$out" x64
setupcls_prepare_prefix "$out/x64"
suites=(x64)
host_note=""
runs_32bit=no
if setupcls_runs_32bit "$out" "$out/x64"; then
  suites=(x86 x64)
  runs_32bit=yes
else
  host_note="Note: $(setupcls_why_no_32bit): the 32-bit DLL is built and checked as an image by the 64-bit suite; only the 64-bit suite runs."
fi
setupcls_stop_wineserver "$out/x64"
[ -z "$host_note" ] || echo "$host_note"

"$setupcls_root/scripts/build.sh" "$out" x86 x64

passed=0
failed=0
for arch in "${suites[@]}"; do
  echo "== the $arch suite"
  setupcls_prepare_prefix "$out/$arch"
  log="$out/$arch/ctest.log"
  set +e
  # The 64-bit suite checks the 32-bit DLL as an image too, so a host that cannot run the
  # 32-bit suite still checks what it built; its tests that start 32-bit programs (the NSIS demo
  # installer) learn whether this host runs them.
  twin=()
  [ "$arch" = x86 ] || twin=("SETUPCLS_TWIN_DLL=Z:$out/x86/bin/SetupCLS.dll" "SETUPCLS_RUN_32BIT=$runs_32bit")
  env "${twin[@]}" ctest --test-dir "$out/$arch" --output-on-failure 2>&1 | tee "$log"
  status=${PIPESTATUS[0]}
  set -e
  setupcls_stop_wineserver "$out/$arch"
  # ctest closes with "100% tests passed, 0 tests failed out of 79". A suite without that line,
  # or whose ctest failed with no test failing (a program whose tests could not be listed),
  # counts as one failure.
  summary=$(grep -E '^[0-9]+% tests passed, [0-9]+ tests failed out of [0-9]+' "$log" | tail -1 || true)
  total=$(sed -nE 's/.* out of ([0-9]+).*/\1/p' <<<"$summary")
  bad=$(sed -nE 's/.*passed, ([0-9]+) tests failed.*/\1/p' <<<"$summary")
  passed=$((passed + ${total:-0} - ${bad:-0}))
  failed=$((failed + ${bad:-0}))
  if [ -z "$summary" ] || { [ "$status" -ne 0 ] && [ "$bad" -eq 0 ]; }; then
    echo "== the $arch suite failed outside its tests (ctest exit code $status)"
    failed=$((failed + 1))
  fi
done

echo
echo "suites run: ${suites[*]}"
[ -z "$host_note" ] || echo "$host_note"
echo "tests: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
