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

# On a host that cannot run 32-bit programs, wineboot cannot run the 32-bit half of its set-up:
# the 32-bit registry view (where the product's keys live) then lacks the folders and the
# registered owner that Windows keeps there. Each missing value gets what 64-bit Windows has
# in that view; a value wineboot wrote is left as it is.
fill32() {  # KEY VALUE DATA
  wine reg query "$1" /v "$2" /reg:32 >/dev/null 2>&1 ||
    wine reg add "$1" /v "$2" /d "$3" /f /reg:32 >/dev/null 2>&1 ||
    { echo "cannot write $1\\$2 in the 32-bit view of $prefix" >&2; exit 1; }
}
version='HKLM\Software\Microsoft\Windows\CurrentVersion'
nt='HKLM\Software\Microsoft\Windows NT\CurrentVersion'
fill32 "$version" ProgramFilesDir 'C:\Program Files (x86)'
fill32 "$version" 'ProgramFilesDir (x86)' 'C:\Program Files (x86)'
fill32 "$version" CommonFilesDir 'C:\Program Files (x86)\Common Files'
fill32 "$version" 'CommonFilesDir (x86)' 'C:\Program Files (x86)\Common Files'
fill32 "$nt" RegisteredOwner ''
fill32 "$nt" RegisteredOrganization ''
wineserver -w
[ -f "$prefix/system.reg" ] || { echo "wineboot did not create $prefix" >&2; exit 1; }
touch "$stamp"
