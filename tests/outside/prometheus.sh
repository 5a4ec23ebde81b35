#!/usr/bin/env bash
# Debian's Prometheus scrapes `zel serve`: its rates are ours, the rules and the dashboard of contrib/ have results, and a
# restart of either side loses nothing but the gap. Twelve seconds of scraping; a minute with ZEL_LONG=1.
#   prometheus.sh SOURCE BUILD
set -euo pipefail
source=$1
build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

skip() {
  echo "prometheus: skipped, $*"
  exit 77
}
for tool in prometheus promtool python3; do
  command -v $tool >/dev/null || skip "$tool is not installed (Debian: prometheus, python3)"
done
"$build/bin/zel" serve --help | grep -q 'not built' && skip "this zel is built without its server (Debian: libmicrohttpd-dev)"
seconds=12
[ -z "${ZEL_LONG:-}" ] || seconds=60
PYTHONDONTWRITEBYTECODE=1 python3 "$source/tests/outside/prometheus.py" "$source" "$build" "$scratch" $seconds
