#!/usr/bin/env bash
# The main job on a fresh Debian 12 machine: installs what is missing
# (scripts/setup.sh; the armhf sysroot is not needed here), builds zelknx and
# everything else `cmake --install build/default` installs, and decodes and
# encodes a few real telegram payloads with it.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh --no-sysroot
cmake --preset default >/dev/null
# What the install components hold: the library, zelknx, the platform
# stand-ins (zelknx needs the shared ones) and the simulated client.
cmake --build --preset default --target zelknx devicestackclient_simulated

zelknx=build/default/tools/zelknx
show() {
  printf '$ zelknx %s\n' "$*"
  "$zelknx" "$@"
}

echo "=== a temperature, DPT 9.001 (2-octet float)"
show decode 9.001 0c33
show encode 9.001 21.5
echo "=== a switch, DPT 1.001 (1 bit; one octet is the 6-bit short form)"
show decode 1.001 01
show encode 1.001 false
echo "=== a date, DPT 11.001 (day, month, year)"
show decode 11.001 0f0318
show encode 11.001 2024-03-15
echo "=== the same through the DPT table, as JSON"
show decode --table --json 9.001 0c33
echo "=== a refusal: 2023 has no 29 February (exit status 1, the library's reason on stderr)"
status=0
show encode 11.001 2023-02-29 || status=$?
echo "exit status ${status}"
[[ $status -eq 1 ]]
