#!/usr/bin/env bash
# Memory, sockets and disks of `zel hardware` beside dmidecode and lsblk: both read the same tables of a firmware and the
# same disks, which are made here, and then this host. Skipped (77), with the reason, where a program is missing.
#   tests/outside/host_devices.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failed=0

skip() {
  echo "skipped: $1"
  exit 77
}
compare() { # WHAT ARGUMENT...
  echo "$1"
  shift
  python3 "$source/tests/outside/host_devices.py" "$@" || failed=1
}

[ -x "$zel" ] || skip "there is no $zel"
for program in python3 lsblk dmidecode; do
  command -v $program >/dev/null || skip "$program is not installed"
done
[ "$(id -u)" -eq 0 ] || skip "serial numbers are for root only"

python3 "$source/tests/outside/host_devices.py" tree "$scratch" || exit 1
"$zel" hardware memory disks --serials --root "$scratch/root" --format json >"$scratch/memory.json" || exit 1
dmidecode --from-dump "$scratch/dump" >"$scratch/dmidecode" || exit 1
compare "tables of a firmware, beside dmidecode" memory "$scratch"
lsblk --sysroot "$scratch/root" -J -O -b -d >"$scratch/lsblk" || exit 1
compare "disks of a tree, beside lsblk" disks "$scratch/memory.json" "$scratch/lsblk" all

"$zel" hardware disks --format json >"$scratch/own.json" || exit 1
lsblk -J -O -b -d >"$scratch/lsblk" 2>/dev/null || exit 1
compare "disks of this host, beside lsblk" disks "$scratch/own.json" "$scratch/lsblk"

if [ -r /sys/firmware/dmi/tables/DMI ]; then
  "$zel" hardware memory --serials --format json >"$scratch/memory.json" || exit 1
  dmidecode >"$scratch/dmidecode" || exit 1
  compare "tables of this host, beside dmidecode" memory "$scratch"
else
  echo "tables of this host: not compared, it has no /sys/firmware/dmi/tables"
fi
if command -v nvme >/dev/null && [ -e /dev/nvme0 ]; then
  "$zel" hardware nvme --format json >"$scratch/nvme.json" || exit 1
  nvme smart-log -o json /dev/nvme0 >"$scratch/smart" || exit 1
  compare "health of /dev/nvme0, beside nvme" nvme "$scratch/nvme.json" "$scratch/smart"
else
  echo "health of NVMe controllers: not compared, there is no /dev/nvme0 or no program nvme"
fi
exit $failed
