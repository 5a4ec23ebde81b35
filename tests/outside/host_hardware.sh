#!/usr/bin/env bash
# The inventory of `zel hardware` beside lspci, lscpu and ethtool on this host, value by value. Prints what was compared;
# skipped (77), with the reason, where nothing could be.
#   tests/outside/host_hardware.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel

skip() {
  echo "skipped: $1"
  exit 77
}

[ -x "$zel" ] || skip "there is no $zel"
command -v python3 >/dev/null || skip "python3 is not installed"
export LC_ALL=C
exec python3 "$source/tests/outside/host_hardware.py" "$zel"
