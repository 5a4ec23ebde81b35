#!/usr/bin/env bash
# Builds the driver and runs it in a staged home.
#   ./run.sh [option [cycle [count]]]      without an option: the usage text
set -euo pipefail
cd "$(dirname "$0")"

scripts/setup.sh build
if [ ! -e build/build.ninja ]; then
  echo "run: configuring the build" >&2
  cmake --preset release >/dev/null
fi
# Progress of a build; silence when there is nothing to do.
cmake --build build | sed -e '/Re-checking globbed directories/d' -e '/no work to do/d' >&2
scripts/stage.sh build

cd build/home/agent/bin
exec ./libzelinfo "$@"
