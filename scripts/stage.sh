#!/usr/bin/env bash
# Lays out the home that the driver runs in: BUILD/home, with the driver, and the example agent when it is built, in its
# working directory agent/bin.
#   scripts/stage.sh BUILD
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:?usage: scripts/stage.sh BUILD}
home=$build/home

mkdir -p "$home"/utils/ETC "$home"/agent/aproc/shell "$home"/agent/aproc/inv "$home"/agent/buffer
cp -ru "$root/runtime/utils" "$root/runtime/agent" "$root/runtime/README.md" "$home/"
cp -u "$build/bin/ShCmd" "$home/utils/ETC/"
cp -u "$build/bin/libinvinfo" "$build/bin/libzelinfo" "$home/agent/bin/"
[ ! -e "$build/bin/agent" ] || cp -u "$build/bin/agent" "$home/agent/bin/"
# A home that others may write is not trusted; the checkout may be one that a group writes.
chmod -R go-w "$home"
