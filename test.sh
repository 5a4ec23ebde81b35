#!/usr/bin/env bash
# The whole gate: checks, every test in a release build, again under AddressSanitizer and UndefinedBehaviorSanitizer, and
# the threaded runtime and the typed model under ThreadSanitizer. Ends with the test runner's summary.
#   ./test.sh [filter]       only the tests whose name matches the regular expression, in the release build
set -euo pipefail
cd "$(dirname "$0")"

scripts/setup.sh test
# Many tests wait more than they compute. Those that compute count as two (tests/CMakeLists.txt).
parallel=${CTEST_PARALLEL_LEVEL:-$((2 * $(nproc)))}
if [ -z "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ] && command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_SLOPPINESS=pch_defines,time_macros
fi

# step NAME COMMAND...: says what runs and how long it took.
step() {
  local name=$1 started=$SECONDS
  shift
  echo "== $name"
  "$@"
  echo "== $name: $((SECONDS - started)) s"
}

# run PRESET ARGUMENT...: the number of the preset would win over that of the environment.
run() { ctest --preset "$1" --parallel "$parallel" "${@:2}"; }

build() {
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1"
}

if [ $# -gt 0 ]; then
  step "build" build test
  run test --tests-regex "$1"
  exit
fi

step "build" build test
step "check" scripts/check.sh build-test
step "build with AddressSanitizer and UndefinedBehaviorSanitizer" build asan
step "tests with AddressSanitizer and UndefinedBehaviorSanitizer" run asan --progress
step "build with ThreadSanitizer" build tsan
step "tests with ThreadSanitizer" run tsan --progress
echo "== tests ($SECONDS s so far)"
run test
