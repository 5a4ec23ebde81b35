#!/usr/bin/env bash
# The protocols and limits of `zel show` beside an independent reading of a copy of /proc, and beside nstat, ss and ip over
# the same connections in a network namespace of the test. Prints what it compared; skipped (77), with the reason, where a
# program or a right is missing.
#   host_protocols.sh SOURCE BUILD
set -euo pipefail
source=$1/tests/outside
build=$2
zel=$build/bin/zel
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

skip() {
  echo "host_protocols: skipped, $*"
  exit 77
}
[ -x "$zel" ] || skip "$zel is not built"
command -v python3 >/dev/null || skip "python3 is not installed (Debian: apt-get install python3)"

echo "every number of a copy of /proc"
for file in net/{snmp,netstat,snmp6,sockstat,sockstat6,softnet_stat,arp,tcp,tcp6,udp,udp6,stat/nf_conntrack} \
  sys/fs/{file-nr,inode-nr,dentry-state,aio-nr,aio-max-nr} sys/kernel/{pid_max,threads-max} \
  sys/kernel/random/{entropy_avail,poolsize} key-users loadavg; do
  [ -e "/proc/$file" ] || continue
  mkdir -p "$(dirname "$scratch/root/proc/$file")"
  cat "/proc/$file" >"$scratch/root/proc/$file"
done
"$zel" show protocols limits --raw --format json --root "$scratch/root" >"$scratch/copy.json"
python3 "$source/host_protocols.py" copy "$scratch/root" "$scratch/copy.json"

for tool in nstat ss ip unshare; do
  command -v $tool >/dev/null || skip "$tool is not installed (Debian: apt-get install iproute2 util-linux)"
done
unshare --net true 2>/dev/null || skip "no network namespace can be made here"
echo "nstat, ss and ip over the same connections"
unshare --net python3 "$source/host_protocols.py" live "$zel"
