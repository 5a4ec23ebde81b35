#!/usr/bin/env bash
# The processes of `zel show` beside an independent reading of /proc, beside ps and beside pidstat, over the same time.
# Prints a table of each; skipped (77), with the reason, where a program is missing.
#   tests/outside/host_processes.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel
busy=()

skip() {
  echo "skipped: $1"
  exit 77
}
cleanUp() {
  [ ${#busy[@]} -eq 0 ] || kill "${busy[@]}" 2>/dev/null
}
trap cleanUp EXIT

[ -x "$zel" ] || skip "there is no $zel"
for program in python3 ps pidstat; do
  command -v $program >/dev/null || skip "$program is not installed"
done

# Something to see: one that computes, one that writes, one with a name that misleads.
(while :; do :; done) &
busy+=($!)
(while :; do head -c 1000000 /dev/zero >/tmp/zel_host_processes.$BASHPID; sleep 0.1; done) &
busy+=($!)
(exec -a 'one) R 1 (two' sleep 60) &
busy+=($!)
trap 'cleanUp; rm -f /tmp/zel_host_processes.*' EXIT

python3 "$source/tests/outside/host_processes.py" "$zel" "${busy[0]}"
