#!/usr/bin/env bash
# What a whole sample of the typed model costs beside one scrape of Debian's prometheus-node-exporter with its default
# collectors, in one run on this host.
#   bench/scrape.sh [processes]      of the whole host, with those that run already; 300 by default
# Nothing keeps running afterwards.
set -euo pipefail
cd "$(dirname "$0")/.."

processes=${1:-300}
build="build-bench"
port=19178
started=()

cleanUp() {
  local pid
  for pid in ${started[@]+"${started[@]}"}; do
    kill "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
}
trap cleanUp EXIT
trap 'exit 130' INT TERM

command -v prometheus-node-exporter >/dev/null || {
  echo "scrape: prometheus-node-exporter is not installed (apt-get install --no-install-recommends prometheus-node-exporter)"
  exit 77
}
scripts/setup.sh bench
[ -e $build/build.ninja ] ||
  cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DZEL_BUILD_BENCH=ON >/dev/null
cmake --build $build --target zel_bench zelexport >/dev/null
c++ -std=c++20 -O3 -DNDEBUG -I . -I libzel -I LIB -I bench/support bench/peers/whole_sample.cpp $build/lib/libzel_bench.a \
  $build/lib/libzelexport.a $build/lib/libzelhost.a $build/lib/libzel.a $build/lib/libzelrt.a -lbenchmark -ltirpc -lpthread \
  -o $build/bin/whole_sample

# Those of this script, the exporter and the program are there too.
running=$(find /proc -maxdepth 1 -name '[0-9]*' | wc -l)
for ((i = running + 1; i < processes; ++i)); do
  sleep 600 &
  started+=($!)
done
prometheus-node-exporter --web.listen-address=127.0.0.1:$port >/dev/null 2>&1 &
exporter=$!
started+=("$exporter")
for ((i = 0; i < 50; ++i)); do
  (exec 3<>/dev/tcp/127.0.0.1/$port) 2>/dev/null && break
  sleep 0.1
done
prometheus-node-exporter --version 2>&1 | head -n 1
$build/bin/whole_sample "$exporter" $port
