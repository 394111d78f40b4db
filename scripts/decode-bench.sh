#!/usr/bin/env bash
# Times `zelknx decode -` with text output on a generated bus log of N lines
# (default 1000000) that mixes the forms the command reads (knxd traces
# behind syslog prefixes, vbusmonitor1, groupsocketlisten, cEMI, KNXnet/IP
# and TP1 frames, DPT HEX, GA HEX) with lines that hold no telegram, on one
# core (taskset -c 0), and prints the lines per second of CPU time and of
# the clock. The command is meant
# to do at least 500,000. Uses the default build (build/default).
#   scripts/decode-bench.sh [N]
set -euo pipefail
cd "$(dirname "$0")/.."

lines=${1:-1000000}
zelknx=build/default/tools/zelknx
[[ -x $zelknx ]] || cmake --build --preset default --target zelknx >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/ga.csv" <<'CSV'
Group name;Address;DatapointType
Temperatur Küche;1/2/3;DPST-9-1
Licht Küche;1/2/4;DPST-1-1
Leistung Herd;1/2/7;DPST-14-56
Reserve;1/2/8;
CSV
cat >"$work/mix.txt" <<'LOG'
Write from 1.1.202 to 1/2/3: 0C 33
Mar 15 08:30:00 host knxd[12]: Layer 0 [22:log/B.tpuarts  367.099] Recv L_Data low from 1.0.14 to 1/2/4 hops: 06 T_Data_Group A_GroupValue_Write (small) 01
Mar 15 08:30:00 host knxd[12]: Layer 0 [22:log/B.tpuarts  367.099] Has Addr 1.0.14: yes
Mon Aug 31 23:56:48 2015:LPDU: BC 11 0D 0A 07 E5 00 40 42 C8 00 00 5A :L_Data low from 1.1.13 to 1/2/7 hops: 06 T_DATA_XXX_REQ A_GroupValue_Response 42 C8 00 00
2024-03-15 08:30:01.250 knxd: Layer 0 [ 6:usb 25.222] RecvEMI(013): 29 00 BC E0 11 0F 0A 03 03 00 80 0C 33
May 23 12:15:45 host knxd[6321]: Layer 0 [12:server/Server  367.084] Send(021): 06 10 04 20 00 15 04 01 06 00 29 00 BC D0 11 CC 0A 04 01 00 81
May 23 12:15:45 host knxd[6321]: Layer 0 [12:server/Server  367.085] Recv(010): 06 10 04 21 00 0A 04 01 06 00
( BC 11 DC 0A 03 E3 00 80 0C 33 DB ) [11]
Read from 1.1.5 to 1/2/7
9.001 0c33
1/2/3 0c 33

Write from 1.1.9 to 1/2/8: 0C 33
LOG
awk -v n="$lines" '{ mix[NR] = $0 } END { for (i = 0; i < n; ++i) print mix[i % NR + 1] }' \
  "$work/mix.txt" >"$work/log.txt"

status=0
/usr/bin/time -f '%e %U %S' -o "$work/time" taskset -c 0 "$zelknx" decode --ga-csv "$work/ga.csv" - \
  <"$work/log.txt" >"$work/out.txt" || status=$?
if ((status != 0)); then
  echo "decode-bench: zelknx decode - exited with $status" >&2
  exit 1
fi
# CPU time (user + system) as well as the time on the clock: on a shared
# machine the core is not the command's alone.
read -r wall user system <"$work/time"
awk -v n="$lines" -v r="$(wc -l <"$work/out.txt")" -v w="$wall" -v c="$user" -v k="$system" \
  'BEGIN { c += k; printf "decode -: %d lines (%d results): %.2f s CPU, %.0f lines/s; %.2f s on the clock, %.0f lines/s\n", n, r, c, n / c, w, n / w }'
