#!/usr/bin/env bash
# The filesystems of `zel show` beside `df` and an independent reading of the mount table, with a small filesystem of
# memory that holds something, in a mount namespace of its own. Prints a table; skipped (77), with the reason, where a
# program or the right to mount is missing.
#   tests/outside/host_filesystems.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel

skip() {
  echo "skipped: $1"
  exit 77
}

[ -x "$zel" ] || skip "there is no $zel"
for program in python3 df unshare mount; do
  command -v $program >/dev/null || skip "$program is not installed"
done
unshare --mount true 2>/dev/null || skip "no mount namespace can be made here"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
# shellcheck disable=SC2016 # the inner shell expands them
unshare --mount --propagation private bash -c '
  mount -t tmpfs -o size=8m,nr_inodes=100 small "$1" && head -c 2097152 /dev/zero >"$1/filled" || exit 77
  python3 "$2" "$3" "$1"' bash "$scratch" "$source/tests/outside/host_filesystems.py" "$zel"
