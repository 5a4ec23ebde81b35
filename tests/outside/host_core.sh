#!/usr/bin/env bash
# Compares `zel show` with other readers of the same host: an independent parser of a copy of /proc field by field, and
# mpstat, vmstat, free and uptime over the same interval.
#   host_core.sh BUILD
set -euo pipefail
build=$1
source=$(cd "$(dirname "$0")" && pwd)
zel=$build/bin/zel
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

skip() {
  echo "host_core: skipped, $*"
  exit 77
}
[ -x "$zel" ] || skip "$zel is not built"
command -v python3 >/dev/null || skip "python3 is not installed (Debian: apt-get install python3)"

echo "every number of a copy of /proc"
for file in stat loadavg meminfo vmstat interrupts softirqs uptime swaps pressure/cpu pressure/io pressure/memory pressure/irq; do
  [ -e "/proc/$file" ] || continue
  mkdir -p "$(dirname "$scratch/root/proc/$file")"
  cat "/proc/$file" >"$scratch/root/proc/$file" 2>/dev/null || rm "$scratch/root/proc/$file"
done
"$zel" show cpu load pressure memory vm interrupts identity --raw --format json --root "$scratch/root" >"$scratch/copy.json"
python3 "$source/host_core.py" copy "$scratch/root" "$scratch/copy.json"

for tool in mpstat vmstat free; do
  command -v $tool >/dev/null || skip "$tool is not installed (Debian: apt-get install sysstat procps)"
done
echo "mpstat and vmstat over the same four seconds, free and uptime at its end"
LC_ALL=C S_TIME_FORMAT=ISO mpstat -P ALL 4 1 >"$scratch/mpstat" &
LC_ALL=C vmstat -n 4 2 >"$scratch/vmstat" &
"$zel" show cpu interrupts --rates --format json --every 4s --count 1 >"$scratch/rates.json"
wait
LC_ALL=C free -b >"$scratch/free"
LC_ALL=C uptime >"$scratch/uptime"
"$zel" show load memory --raw --format json >"$scratch/now.json"
python3 "$source/host_core.py" live "$scratch"
