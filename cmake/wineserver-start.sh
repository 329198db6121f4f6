#!/bin/sh
# Starts a persistent wineserver for the prefix, and with it Wine's own background services
# (device manager, plug and play) through one trivial program. Their output goes nowhere, so
# no test that runs later holds a pipe that these long-lived processes keep open.
# Usage: wineserver-start.sh PREFIX
WINEPREFIX=$1
WINEDEBUG=-all
LANG=C
LC_ALL=C
export WINEPREFIX WINEDEBUG LANG LC_ALL
wineserver -p >/dev/null 2>&1 </dev/null
wine cmd.exe /c exit >/dev/null 2>&1 </dev/null
exit 0
