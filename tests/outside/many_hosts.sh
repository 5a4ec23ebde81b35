#!/usr/bin/env bash
# One Prometheus scrapes many hosts, recordings under other names, within its limits: 20 hosts for some seconds; 500 for five
# minutes with ZEL_LONG=1, which takes 2 GB of memory.
#   many_hosts.sh SOURCE BUILD
set -euo pipefail
source=$1
build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

skip() {
  echo "many_hosts: skipped, $*"
  exit 77
}
for tool in prometheus python3; do
  command -v $tool >/dev/null || skip "$tool is not installed (Debian: prometheus, python3)"
done
size=(20 3 9 500)
[ -z "${ZEL_LONG:-}" ] || size=(500 15 300 2048)
PYTHONDONTWRITEBYTECODE=1 python3 "$source/tests/outside/many_hosts.py" "$source" "$build" "$scratch" "${size[@]}"
