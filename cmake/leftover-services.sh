#!/bin/sh
# Fails when a service made by the tests is still registered in the prefix once every test has
# run: the tests' own services ("SetupCLS...", and "SNMP", which stands in for the SNMP service
# whose agents the registry tests remove), and the product's ("QDV...", the alert server) that
# the installer host's test installs. Each test removes what it made on every path; this
# is the proof.
# Usage: leftover-services.sh WINE-RUN-SCRIPT
left=$("$1" reg.exe query 'HKLM\SYSTEM\CurrentControlSet\Services' 2>/dev/null |
       tr -d '\r' | grep -E '\\((SetupCLS|QDV|Tamberly Alert)[^\\]*|SNMP)$')
if [ -n "$left" ]; then
  echo "services left behind by the tests:"
  echo "$left"
  exit 1
fi
echo "no test service left behind"
