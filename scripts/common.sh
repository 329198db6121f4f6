# What the build, test and demo scripts share: the two build folders, the Wine prefix of a build
# folder and its wineserver, and whether this host runs 32-bit programs at all. Sourced, not run.
#
# Each architecture is built in a folder of its own below the build root: x86 (the 32-bit DLL
# the product ships) and x64 (its 64-bit twin).
#
# Some hosts run a kernel with 32-bit execution switched off: there no 32-bit program starts,
# Wine's 32-bit Windows programs included, while 64-bit ones run normally. The scripts then
# run the 64-bit build's programs only. SETUPCLS_RUN_32BIT=yes or =no forces the choice.

setupcls_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# setupcls_configure OUT ARCH: configures the build folder OUT/ARCH.
setupcls_configure() {
  local toolchain
  case $2 in
    x86) toolchain=toolchain-i686-mingw.cmake ;;
    x64) toolchain=toolchain-x86_64-mingw.cmake ;;
    *) echo "unknown architecture $2 (x86 or x64)" >&2; exit 2 ;;
  esac
  cmake -S "$setupcls_root" -B "$1/$2" -DCMAKE_TOOLCHAIN_FILE="$setupcls_root/cmake/$toolchain" >/dev/null
}

# setupcls_prepare_prefix BUILD: the build's Wine prefix, made when missing, with a wineserver
# and Wine's background services running for it.
setupcls_prepare_prefix() {
  cmake --build "$1" --target wineprefix >/dev/null
  "$setupcls_root/cmake/wineserver-start.sh" "$1/wineprefix"
}

setupcls_stop_wineserver() {
  if [ -d "$1/wineprefix" ]; then
    WINEPREFIX="$1/wineprefix" wineserver -k 2>/dev/null || true  # none running is no error
  fi
}

# setupcls_runs_32bit OUT BUILD: whether this host runs 32-bit Windows programs, by
# SETUPCLS_RUN_32BIT or else by starting a small 32-bit program in BUILD's prefix (which must
# be prepared). The probe is built into OUT.
setupcls_runs_32bit() {
  case ${SETUPCLS_RUN_32BIT:-auto} in
    yes) return 0 ;;
    no) return 1 ;;
    auto) ;;
    *) echo "SETUPCLS_RUN_32BIT must be yes, no or auto" >&2; exit 2 ;;
  esac
  i686-w64-mingw32-gcc-posix -O2 -o "$1/win32-probe.exe" "$setupcls_root/cmake/win32-probe.c"
  local status=0
  timeout 120 "$2/wine-run.sh" "$1/win32-probe.exe" >/dev/null 2>&1 </dev/null || status=$?
  [ "$status" -eq 32 ]
}

# Why the 32-bit programs do not run, for the scripts' messages.
setupcls_why_no_32bit() {
  if [ "${SETUPCLS_RUN_32BIT:-auto}" = no ]; then
    echo "SETUPCLS_RUN_32BIT=no"
  else
    echo "this host cannot run 32-bit programs (a 32-bit Windows program does not start under Wine; as a rule the kernel has 32-bit execution switched off, see dmesg)"
  fi
}
