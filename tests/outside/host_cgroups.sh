#!/usr/bin/env bash
# The control groups of `zel show` beside an independent reading of the same files before and after it, and beside
# systemd-cgtop where systemd runs. As root some cgroups of the test's own are among them: one with a busy process, one
# that goes and one that comes in between. Skipped (77), with the reason, where there are no cgroups of version 2.
#   tests/outside/host_cgroups.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel
scratch=$(mktemp -d)
own=
busy=

skip() {
  echo "host_cgroups: skipped, $1"
  exit 77
}

# What the test made, whatever happened.
clean() {
  [ -z "$busy" ] || { kill "$busy" && wait "$busy"; } 2>/dev/null
  [ -z "$own" ] || rmdir "$own"/* "$own" 2>/dev/null
  rm -rf "$scratch"
}
trap clean EXIT

[ -x "$zel" ] || skip "there is no $zel"
command -v python3 >/dev/null || skip "python3 is not installed (Debian: apt-get install python3)"
tree=
for place in /sys/fs/cgroup /sys/fs/cgroup/unified; do
  [ -e $place/cgroup.controllers ] && tree=$place && break
done
[ -n "$tree" ] || skip "this host has no control groups of version 2"

if mkdir "$tree/zel_outside_$$" 2>/dev/null; then
  own=$tree/zel_outside_$$
  mkdir "$own/busy" "$own/goes"
  (while :; do :; done) &
  busy=$!
  echo "$busy" >"$own/busy/cgroup.procs"
else
  echo "no cgroup can be made here: only those that there are"
fi

python3 "$source/tests/outside/host_cgroups.py" "$zel" "$tree" "$own" || exit 1

if [ "$(cat /proc/1/comm)" != systemd ] || ! command -v systemd-cgtop >/dev/null; then
  echo "systemd-cgtop is left out: systemd does not run here"
  exit 0
fi
systemd-cgtop --batch --raw --iterations 1 --depth 9 >"$scratch/cgtop" || exit 1
"$zel" show cgroups --raw --format json >"$scratch/now.json" || exit 1
python3 "$source/tests/outside/host_cgroups.py" cgtop "$scratch/cgtop" "$scratch/now.json"
