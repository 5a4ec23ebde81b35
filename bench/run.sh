#!/usr/bin/env bash
# Builds and runs every benchmark, one after the other; as root, for what they make on the machine.
#   bench/run.sh [program ...]       such as cpu_bench, or serve_cost: a scrape of the server beside that of the peer; all by default
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh bench
build="build-bench"
[ -e $build/build.ninja ] ||
  cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DZEL_BUILD_BENCH=ON >/dev/null
cmake --build $build >/dev/null

# The server on this host, and on a large one.
serve_cost() {
  local status=0 failed=0 size
  for size in "" --large; do
    status=0
    bench/serve_cost.py $build/bin/zel ${size:+"$size"} || status=$?
    [ $status -eq 0 ] || [ $status -eq 77 ] || failed=1
    echo
  done
  return $failed
}

programs=("$@")
[ ${#programs[@]} -gt 0 ] || programs=(cpu_bench disk_bench net_bench fs_bench hba_bench proc_bench kept_bench host_bench serve_cost)
for program in "${programs[@]}"; do
  echo "== $program"
  if [ "$program" = serve_cost ]; then
    serve_cost
  else
    $build/bin/"$program"
  fi
  echo
done
