#!/usr/bin/env bash
# Makes mounts and interfaces whose metrics are easily wrong, in namespaces of its own, and runs a command there.
#   metrics_scene.sh DIRECTORY COMMAND...
set -euo pipefail
directory=$1
shift

mount -t sysfs none /sys
mount -t tmpfs -o size=4m first "$directory"
(cd "$directory" && mkdir plain 'with blank' $'with\ttab' 'back\slash' '"quoted"' read-only twice hidden left-out device)
mount -t tmpfs -o size=1m none "$directory/with blank"
mount -t tmpfs -o size=2m none "$directory/"$'with\ttab'
mount -t tmpfs -o size=3m none "$directory/back\\slash"
mount -t tmpfs -o size=5m none "$directory/\"quoted\""
mount -t tmpfs -o ro,nr_inodes=77 none "$directory/read-only"
mount -t tmpfs -o size=6m other "$directory/twice"
mount -t tmpfs -o size=7m other "$directory/twice"
mount -t tmpfs -o size=8m none "$directory/hidden"
mount --bind "$directory/plain" "$directory/hidden"
mount -t proc none "$directory/left-out"
mount -t tmpfs none /mnt
mount -t tmpfs "a device" "$directory/device"

# What this kernel has; ip is of Debian's iproute2.
if command -v ip >/dev/null; then
  ip link set lo up
  ip link add left type veth peer name right 2>/dev/null && ip link set left up && ip link set right up &&
    ip link set left alias 'an "alias" \ of it' && ip address add 192.0.2.1/24 dev left &&
    ip neighbour add 192.0.2.2 lladdr 02:00:00:00:00:02 dev left nud permanent &&
    ip neighbour add 192.0.2.3 lladdr 02:00:00:00:00:03 dev left nud stale
  ip link add bridge0 type bridge 2>/dev/null && ip link set right master bridge0 && ip link set bridge0 mtu 1400
  ip link add ifb7 type ifb 2>/dev/null || true
fi
exec "$@"
