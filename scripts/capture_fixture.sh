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
  mkdir -p "$1/proc/net" "$1/proc/sys/vm" "$1/etc"
  local file pid
  for file in stat loadavg meminfo vmstat diskstats partitions net/dev uptime sys/vm/min_free_kbytes; do
    cat "/proc/$file" >"$1/proc/$file"
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
