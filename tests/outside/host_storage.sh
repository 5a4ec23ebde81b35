#!/usr/bin/env bash
# The btrfs and XFS filesystems of `zel show` beside `btrfs filesystem usage`, `btrfs device stats` and an independent
# reading of what XFS counts, on filesystems in files that are made here, in a mount namespace of its own. A part of one
# device of the btrfs is overwritten and scrubbed, so that it counts errors. Skipped (77), with the reason, where a
# program or a right is missing.
#   tests/outside/host_storage.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel

skip() {
  echo "skipped: $1"
  exit 77
}

[ -x "$zel" ] || skip "there is no $zel"
for program in python3 unshare mount losetup btrfs mkfs.btrfs mkfs.xfs; do
  command -v $program >/dev/null || skip "$program is not installed"
done
unshare --mount true 2>/dev/null || skip "no mount namespace can be made here"

scratch=$(mktemp -d)
loops=()
cleanUp() {
  [ ${#loops[@]} -eq 0 ] || losetup -d "${loops[@]}"
  rm -rf "$scratch"
}
trap cleanUp EXIT
for name in one two xfs; do
  truncate -s 400M "$scratch/$name"
  loop=$(losetup -f --show "$scratch/$name" 2>/dev/null) || skip "no loop device can be made here"
  loops+=("$loop")
  mkdir "$scratch/$name.mount"
done
mkfs.btrfs -q -f -L 'data one' -d raid1 -m raid1 "${loops[0]}" "${loops[1]}" >/dev/null || skip "mkfs.btrfs failed"
mkfs.xfs -q -f "${loops[2]}" || skip "mkfs.xfs failed"

# shellcheck disable=SC2016 # the inner shell expands them
unshare --mount --propagation private bash -c '
  mount -t btrfs "$4" "$1/one.mount" && mount -t xfs "$5" "$1/xfs.mount" || exit 77
  head -c 20000000 /dev/urandom >"$1/one.mount/file" && head -c 5000000 /dev/zero >"$1/xfs.mount/file" && sync || exit 77
  head -c 100000000 /dev/zero | dd of="$6" bs=1M seek=30 oflag=direct iflag=fullblock status=none
  btrfs scrub start -B "$1/one.mount" >/dev/null 2>&1
  python3 "$2" "$3" "$1/one.mount" "$1/xfs.mount" "${5#/dev/}"
  result=$?
  umount "$1/one.mount" "$1/xfs.mount"
  exit $result' bash "$scratch" "$source/tests/outside/host_storage.py" "$zel" "${loops[0]}" "${loops[2]}" "${loops[1]}"
