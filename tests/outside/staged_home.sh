#!/usr/bin/env bash
# Stages a home from what the repository tracks, as ./run.sh does in a fresh clone, and runs the driver in it.
#   staged_home.sh SOURCE BUILD
set -euo pipefail
source=$1
build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Only tracked files: a directory that git does not keep must not be relied on.
git -C "$source" ls-files -z runtime scripts | tar -C "$source" --null -T - -cf - | tar -C "$scratch" -xf -
mkdir -p "$scratch/build/bin"
cp "$build"/bin/{ShCmd,libinvinfo,libzelinfo} "$scratch/build/bin/"
"$scratch/scripts/stage.sh" "$scratch/build"

cd "$scratch/build/home/agent/bin"
for directory in ../aproc/shell ../aproc/inv ../buffer; do
  test -d "$directory"
done
test -f ../../README.md
../../utils/ETC/ShCmd 30 ./libzelinfo 2 0 3 2>&1 | tee /dev/stderr | grep -c ' 1Min: ' | grep -qx 3
