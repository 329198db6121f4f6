#!/bin/sh
# Creates the build's own Wine prefix (the Windows installation the tests run in): a fresh
# wineboot, then the null graphics driver so that windows and window messages work without an
# X display. Usage: make-wineprefix.sh PREFIX STAMP
set -eu
prefix=$1
stamp=$2
# The C locale, as the test programs run in (wine-run.sh): a prefix made under another locale is
# rewritten by Wine the first time a program starts under this one.
export WINEPREFIX="$prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LANG=C LC_ALL=C
if [ ! -f "$prefix/system.reg" ]; then
  echo "creating the Wine prefix $prefix"
  wineboot -i >/dev/null 2>&1 || true
fi
wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null 2>&1
wineserver -w
[ -f "$prefix/system.reg" ] || { echo "wineboot did not create $prefix" >&2; exit 1; }
touch "$stamp"
