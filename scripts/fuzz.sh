#!/usr/bin/env bash
# Builds the fuzz targets and runs them for SECONDS in all, one per processor at a time; every target gets the same share.
#   scripts/fuzz.sh SECONDS [TARGET...]        such as: scripts/fuzz.sh 600, scripts/fuzz.sh 60 cpu_fuzz
# Prints the inputs that each target tried. Ends with 1 and the path of the input when a target has a finding; it is
# under build-fuzz/findings and fails again with: build-fuzz/fuzz/TARGET PATH
# What was learned stays in build-fuzz/corpus for the next run.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:?usage: scripts/fuzz.sh SECONDS [TARGET...]}
shift
build=$PWD/build-fuzz
findings=$build/findings
corpus=$build/corpus
seeds=$build/seeds
logs=$build/logs

scripts/setup.sh fuzz
if [ -z "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ] && command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
rm -rf "$seeds" "$logs"
scripts/fuzz_seeds.sh "$seeds"

if [ $# -eq 0 ]; then
  mapfile -t targets < <(cd fuzz && printf '%s\n' *_fuzz.cpp | sed 's/\.cpp$//')
else
  targets=("$@")
fi
jobs=$(nproc)
share=$((seconds * jobs / ${#targets[@]}))
[ "$share" -gt 0 ] || share=1

# The hosts and homes that the targets read, in memory; a target that dies leaves its own behind.
ZEL_FUZZ_ROOT=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")" zel-fuzz-run-XXXXXX)
export ZEL_FUZZ_ROOT
trap 'rm -rf "$ZEL_FUZZ_ROOT"' EXIT
mkdir -p "$findings" "$logs"

run() { # TARGET
  local dictionary=()
  mkdir -p "$corpus/$1" "$seeds/$1"
  [ ! -e "fuzz/dictionaries/$1.dict" ] || dictionary=("-dict=fuzz/dictionaries/$1.dict")
  # Standard output belongs to the library's own messages. An input that takes ten seconds is a finding.
  nice "$build/fuzz/$1" "-max_total_time=$share" -close_fd_mask=1 -timeout=10 -rss_limit_mb=2048 -max_len=16384 -print_final_stats=1 \
    "${dictionary[@]}" "-artifact_prefix=$findings/$1-" "$corpus/$1" "$seeds/$1" >"$logs/$1" 2>&1 ||
    echo "$1" >>"$logs/failed"
}

stat() { sed -n "s/^stat::$2: *//p" "$logs/$1"; } # TARGET NAME

echo "fuzz: ${#targets[@]} targets, $share s each, $jobs at a time"
for target in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do wait -n; done
  run "$target" &
done
wait

total=0
printf '%-26s %12s %10s\n' target inputs per-second
for target in "${targets[@]}"; do
  inputs=$(stat "$target" number_of_executed_units)
  printf '%-26s %12s %10s\n' "$target" "${inputs:-?}" "$(stat "$target" average_exec_per_sec)"
  total=$((total + ${inputs:-0}))
done
printf '%-26s %12s\n' total "$total"

[ ! -e "$logs/failed" ] && echo "fuzz: no findings" && exit 0
while read -r target; do
  echo "fuzz: $target has a finding ($logs/$target):" >&2
  grep -aE 'fuzz: |ERROR: |runtime error: |Test unit written to' "$logs/$target" >&2 || tail -n 5 "$logs/$target" >&2
done <"$logs/failed"
exit 1
