#!/usr/bin/env bash
# Compares the metrics of this tree with those of Debian's prometheus-node-exporter, family by family, label by label
# and value by value: of this machine, of the same with mounts and interfaces made for it, of recorded hosts and of one
# that is written by hand; then the pages of zel serve with those of zel show, and text files with what the peer makes
# of them. What differs on purpose is listed in docs/metrics-names.md.
#   metrics_parity.sh SOURCE BUILD            what a test runs
#   metrics_parity.sh SOURCE BUILD ROOT...    these roots only; "/" is this machine
set -euo pipefail
source=$1
build=$2
shift 2
peer=prometheus-node-exporter
compare=(python3 "$source/tests/outside/metrics_parity.py" "$source" "$build/bin/zel" "$peer")

skip() {
  echo "metrics_parity: skipped, $*"
  exit 77
}
[ -x "$build/bin/zel" ] || skip "$build/bin/zel is not built"
command -v python3 >/dev/null || skip "python3 is not installed (Debian: apt-get install python3)"
command -v $peer >/dev/null || skip "$peer is not installed (Debian: apt-get install prometheus-node-exporter)"

[ $# -eq 0 ] || exec "${compare[@]}" "$@"
status=0
"${compare[@]}" || status=1
if "$build/bin/zel" serve --help | grep -q 'not built'; then
  echo "metrics_parity: pages of zel serve were not compared: it is not built"
else
  python3 "$source/tests/outside/metrics_served.py" "$build/bin/zel" $peer || status=1
fi

namespaces=(unshare --mount --propagation private --net --pid --fork --mount-proc)
if ! "${namespaces[@]}" mount -t sysfs none /sys 2>/dev/null; then
  echo "metrics_parity: no mounts and interfaces were made: that takes root"
  exit $status
fi
scene=$(mktemp -d)
trap 'rmdir "$scene"' EXIT
"${namespaces[@]}" "$source/tests/outside/metrics_scene.sh" "$scene" "${compare[@]}" / || status=1
exit $status
