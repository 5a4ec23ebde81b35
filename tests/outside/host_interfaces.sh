#!/usr/bin/env bash
# The interfaces of `zel show` beside `ip -s -j link` and an independent reading of /proc/net/dev, over the same time,
# while frames run between two interfaces of a network namespace of the test. Prints a table of each; skipped (77), with
# the reason, where a program or a right is missing.
#   tests/outside/host_interfaces.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel

skip() {
  echo "skipped: $1"
  exit 77
}

[ -x "$zel" ] || skip "there is no $zel"
for program in python3 ip unshare mount; do
  command -v $program >/dev/null || skip "$program is not installed"
done
unshare --net --mount true 2>/dev/null || skip "no network namespace can be made here"

# shellcheck disable=SC2016 # the variables are those of the inner shell
exec unshare --net --mount bash -c '
  mount -t sysfs sysfs /sys &&
    ip link add zel0 type veth peer name zel1 &&
    ip link set zel0 mtu 1400 alias "to the rack" txqueuelen 500 up &&
    ip link set zel1 up && ip link set lo up &&
    ip link add zelbr type bridge && ip link set zel1 master zelbr && ip link set zelbr up || exit 1
  sleep 1
  exec python3 "$1/tests/outside/host_interfaces.py" "$2"' - "$source" "$zel"
