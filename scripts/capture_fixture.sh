#!/usr/bin/env bash
# Captures this host twice, SECONDS apart, as a fixture of the tests: the files that the collectors read, laid out like the root.
#   scripts/capture_fixture.sh DIRECTORY [SECONDS [PID...]]      default: 2 seconds, process 2
# A "sleep 3600" of its own is always among the processes. The others are named by their pids, so that no command line comes
# along that says more than it should; of the mounts only the root and those that every host has are taken, for the same reason.
set -euo pipefail
target=$1
seconds=${2:-2}
pids=("${@:3}")
[ ${#pids[@]} -gt 0 ] || pids=(2)

# capture DIRECTORY: one moment of the host.
capture() {
  mkdir -p "$1/proc/net/stat" "$1/proc/sys/vm" "$1/proc/sys/fs" "$1/proc/sys/kernel/random" "$1/etc"
  local file pid
  for file in stat loadavg meminfo vmstat diskstats partitions net/dev uptime sys/vm/min_free_kbytes; do
    cat "/proc/$file" >"$1/proc/$file"
  done
  # Not every kernel has them. Left out: whatever names the host's neighbours or connections.
  for file in net/{snmp,netstat,snmp6,sockstat,sockstat6,softnet_stat,stat/nf_conntrack} sys/fs/{file-nr,inode-nr,dentry-state} \
    sys/fs/{aio-nr,aio-max-nr} sys/kernel/{threads-max,pid_max,sem,random/entropy_avail,random/poolsize}; do
    [ ! -e "/proc/$file" ] || cat "/proc/$file" >"$1/proc/$file"
  done
  for pid in "${pids[@]}"; do
    mkdir "$1/proc/$pid"
    for file in stat statm io cmdline; do
      cat "/proc/$pid/$file" >"$1/proc/$pid/$file"
    done
  done
  awk '$2 ~ "^/(proc|sys|dev|dev/pts|dev/shm)?$" && !seen[$2]++' /etc/mtab >"$1/etc/mtab"
}

sleep 3600 &
own=$!
trap 'kill $own' EXIT
pids+=("$own")
capture "$target/t0"
sleep "$seconds"
capture "$target/t1"
