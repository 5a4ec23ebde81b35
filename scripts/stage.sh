#!/usr/bin/env bash
# Lays out the home that the driver runs in: BUILD/home, with the driver in its working directory agent/bin.
#   scripts/stage.sh BUILD
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:?usage: scripts/stage.sh BUILD}
home=$build/home

mkdir -p "$home"/utils/ETC "$home"/utils/INSTALL "$home"/agent/bin/shell/LINUX \
  "$home"/agent/aproc/shell "$home"/agent/aproc/inv "$home"/agent/buffer
cp -u "$build/bin/libzelinfo" "$home/agent/bin/"
if [ -d "$root/runtime/home" ]; then
  cp -ru "$root/runtime/home/." "$home/"
fi
