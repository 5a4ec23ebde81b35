#!/usr/bin/env bash
# The collectors beside what a user would take instead: the libraries libproc2 and libstatgrab in one process, the
# programs ps, mpstat, iostat, sar, pidstat and node_exporter in one run. Says what is missing.
#   bench/peers.sh [processes]       beside those of the machine; 200 by default
# As root it installs the missing peers from Debian's packages. Nothing keeps running afterwards.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

processes=${1:-200}
build="build-bench"
samples=10
port=19177
started=()

cleanUp() {
  for pid in ${started[@]+"${started[@]}"}; do
    kill "$pid" 2>/dev/null
    wait "$pid" 2>/dev/null
  done
}
trap cleanUp EXIT
trap 'exit 130' INT TERM

# package file-that-shows-it-is-there
peers="procps /usr/bin/ps
sysstat /usr/bin/mpstat
libstatgrab-dev /usr/include/statgrab.h
libproc2-dev /usr/include/libproc2/pids.h
prometheus-node-exporter /usr/bin/prometheus-node-exporter"

missing=()
while read -r package file; do
  [ -e "$file" ] || missing+=("$package")
done <<<"$peers"
if [ ${#missing[@]} -gt 0 ] && [ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null; then
  echo "peers: installing ${missing[*]}"
  DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}" >/dev/null 2>&1
  # The package starts a service for good; only the program is wanted, and only for a moment.
  systemctl disable --now prometheus-node-exporter >/dev/null 2>&1
fi
while read -r package file; do
  [ -e "$file" ] || echo "peers: $package is missing, its rows are left out"
done <<<"$peers"

scripts/setup.sh bench || exit 1
if [ ! -e $build/build.ninja ]; then
  cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DZEL_BUILD_BENCH=ON >/dev/null || exit 1
fi
cmake --build $build --target zel_bench zelhost libzelinfo ShCmd libinvinfo >/dev/null || exit 1

options=()
libraries=()
if [ -e /usr/include/libproc2/pids.h ]; then
  options+=(-DWITH_LIBPROC2)
  libraries+=(-lproc2)
fi
if [ -e /usr/include/statgrab.h ]; then
  options+=(-DWITH_STATGRAB)
  libraries+=(-lstatgrab)
fi
c++ -std=c++20 -O3 -DNDEBUG ${options[@]+"${options[@]}"} -I . -I libzel -I LIB -I bench/support bench/peers/library_peers.cpp \
  $build/lib/libzel_bench.a $build/lib/libzelhost.a $build/lib/libzel.a $build/lib/libzelrt.a -lbenchmark ${libraries[@]+"${libraries[@]}"} \
  -ltirpc -lpthread -o $build/bin/library_peers || exit 1

echo "== Libraries: CPU time of one sample, in one process; the factor is over ours"
$build/bin/library_peers "$processes"

echo
echo "== Programs: CPU time (user + system) of a run with one sample, and of each further sample"
scripts/stage.sh $build >/dev/null
sleepers=()
for ((i = 0; i < processes; ++i)); do
  sleep 600 &
  sleepers+=($!)
done
started+=("${sleepers[@]}")

# CPU milliseconds of a command, all of its children included.
cpuTime() {
  local times
  times=$( { TIMEFORMAT='%3U %3S'; time "$@" >/dev/null 2>&1; } 2>&1 | tail -n 1)
  awk '{ print ($1 + $2) * 1000 }' <<<"$times"
}

# A command that takes its number of samples as its last argument: once for one sample, once for all of them.
measure() {
  local name=$1 one all
  shift
  one=$(cpuTime "$@" 1)
  all=$(cpuTime "$@" $samples)
  awk -v name="$name" -v one="$one" -v all="$all" -v more=$((samples - 1)) \
    'BEGIN { printf "%-34s %10.1f ms %10.2f ms\n", name, one, (all - one) / more }'
}

whole() { (cd "$build/home/agent/bin" && ./libzelinfo "$@"); }
have() { command -v "$1" >/dev/null; }

measure "libzelinfo 9 (all)" whole 9 1
measure "libzelinfo 7 (processes)" whole 7 1
measure "libzelinfo 1 (CPU)" whole 1 1
measure "libzelinfo 5 (disks)" whole 5 1
have pidstat && measure "pidstat -u -r -d (processes)" pidstat -u -r -d -p ALL 1
have mpstat && measure "mpstat -P ALL (CPU)" mpstat -P ALL 1
have iostat && measure "iostat -dx (disks)" iostat -dx 1
have sar && measure "sar (CPU, memory, disks, network)" sar -u -r -B -W -d -n DEV 1
have ps && printf '%-34s %10.1f ms\n' "ps, the same columns, once" \
  "$(cpuTime ps -eo pid,ppid,user,nice,pri,stat,nlwp,pcpu,pmem,vsz,rss,time,lstart,args)"

if have prometheus-node-exporter; then
  prometheus-node-exporter --web.listen-address=127.0.0.1:$port >/dev/null 2>&1 &
  exporter=$!
  started+=("$exporter")
  scrape() {
    exec 3<>/dev/tcp/127.0.0.1/$port || return 1
    printf 'GET /metrics HTTP/1.0\r\n\r\n' >&3
    cat <&3 >/dev/null
    exec 3<&-
  }
  ticks() { awk '{ sub(/.*\) /, ""); print $12 + $13 }' /proc/$exporter/stat; }
  for ((i = 0; i < 50; ++i)); do
    (scrape) 2>/dev/null && break
    sleep 0.1
  done
  before=$(ticks)
  for ((i = 0; i < 20; ++i)); do (scrape); done
  after=$(ticks)
  awk -v ticks=$((after - before)) -v rate="$(getconf CLK_TCK)" \
    'BEGIN { printf "%-34s %13s %10.2f ms\n", "node_exporter, a scrape of 20", "", ticks * 1000 / rate / 20 }'
fi
echo "load $(cut -d' ' -f1-3 /proc/loadavg)"
