#!/usr/bin/env bash
# Builds the driver, or the example agent, and runs it in a staged home; or the tool zel, where you are.
#   ./run.sh [option [cycle [count]]]                         without an option: the usage text
#   ./run.sh --agent [--to HOST:PORT] [--cycle SECONDS] [--host NAME]
#                                                             the example of examples/agent, until Ctrl-C
#   ./run.sh --zel [COMMAND [argument...]]                    the tool, in the directory that you are in
set -euo pipefail
caller=$PWD
cd "$(dirname "$0")"
root=$PWD

program=libzelinfo
case ${1:-} in
--agent | --zel)
  program=${1#--}
  shift
  ;;
esac

scripts/setup.sh build
if [ ! -e build/build.ninja ]; then
  echo "run: configuring the build" >&2
  cmake --preset release >/dev/null
fi
if [ "$program" = agent ]; then
  cmake -DZEL_BUILD_EXAMPLES=ON build >/dev/null
fi
# Progress of a build; silence when there is nothing to do.
cmake --build build | sed -e '/Re-checking globbed directories/d' -e '/no work to do/d' >&2
if [ "$program" = zel ]; then
  cd "$caller"
  exec "$root/build/bin/zel" "$@"
fi
scripts/stage.sh build

cd build/home/agent/bin
exec "./$program" "$@"
