#!/usr/bin/env bash
# Compares the metrics of this tree with those of Debian's prometheus-node-exporter, family by family, label by label and
# value by value: of this machine, of the recorded hosts and of one that is written by hand. What differs on purpose is
# listed in docs/metrics-names.md.
#   metrics_parity.sh SOURCE BUILD            what a test runs
#   metrics_parity.sh SOURCE BUILD ROOT...    these roots only; "/" is this machine
set -euo pipefail
source=$1
build=$2
shift 2
peer=prometheus-node-exporter

skip() {
  echo "metrics_parity: skipped, $*"
  exit 77
}
[ -x "$build/bin/zel" ] || skip "$build/bin/zel is not built"
command -v python3 >/dev/null || skip "python3 is not installed (Debian: apt-get install python3)"
command -v $peer >/dev/null || skip "$peer is not installed (Debian: apt-get install prometheus-node-exporter)"

exec python3 "$source/tests/outside/metrics_parity.py" "$source" "$build/bin/zel" $peer "$@"
