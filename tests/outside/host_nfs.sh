#!/usr/bin/env bash
# The NFS mounts of `zel show` beside an independent reading of mountstats, and beside the mountstats program of
# Debian's nfs-common over the same two moments: of a host whose files the test writes, and of this host when it has an
# NFS mount. Prints a table; skipped (77), with the reason, where a program is missing.
#   tests/outside/host_nfs.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel

skip() {
  echo "skipped: $1"
  exit 77
}

[ -x "$zel" ] || skip "there is no $zel"
command -v python3 >/dev/null || skip "python3 is not installed"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
python3 "$source/tests/outside/host_nfs.py" "$zel" "$scratch"
