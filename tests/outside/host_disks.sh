#!/usr/bin/env bash
# The disks of `zel show` beside an independent reading of /proc/diskstats and sysfs, and beside `iostat -x` over the same
# time, while a loop device is read and written. Prints a table of each; skipped (77), with the reason, where a program
# is missing.
#   tests/outside/host_disks.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel
scratch=$(mktemp -d)
loop=
busy=()

skip() {
  echo "skipped: $1"
  exit 77
}
cleanUp() {
  [ ${#busy[@]} -eq 0 ] || { kill "${busy[@]}" && wait "${busy[@]}"; } 2>/dev/null
  [ -z "$loop" ] || losetup -d "$loop"
  rm -rf "$scratch"
}
trap cleanUp EXIT

[ -x "$zel" ] || skip "there is no $zel"
for program in python3 iostat losetup dd; do
  command -v $program >/dev/null || skip "$program is not installed"
done
truncate -s 32M "$scratch/disk" || skip "no room for a disk of 32 MB"
loop=$(losetup -f --show "$scratch/disk" 2>/dev/null) || { loop='' && skip "no loop device can be made here"; }

# Something to see: reads of 64 KiB and writes of 16 KiB, at a pace that lasts.
(while :; do dd if="$loop" of=/dev/null iflag=direct bs=64k count=40 2>/dev/null && sleep 0.02; done) &
busy+=($!)
(while :; do dd if=/dev/zero of="$loop" oflag=direct bs=16k count=20 2>/dev/null && sleep 0.02; done) &
busy+=($!)
sleep 0.5

python3 "$source/tests/outside/host_disks.py" "$zel" "${loop#/dev/}"
