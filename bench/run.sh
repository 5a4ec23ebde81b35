#!/usr/bin/env bash
# Builds and runs every benchmark, one after the other; as root, for what they make on the machine.
#   bench/run.sh [program ...]       such as cpu_bench; all by default
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh bench
build="build-bench"
[ -e $build/build.ninja ] ||
  cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DZEL_BUILD_BENCH=ON >/dev/null
cmake --build $build >/dev/null

programs=("$@")
[ ${#programs[@]} -gt 0 ] || programs=(cpu_bench disk_bench net_bench fs_bench hba_bench proc_bench kept_bench host_bench)
for program in "${programs[@]}"; do
  echo "== $program"
  $build/bin/"$program"
  echo
done
