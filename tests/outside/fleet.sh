#!/usr/bin/env bash
# Fifty example agents on one receiver that stalls: all of them go on sampling, and every record of each arrives in order.
#   fleet.sh SOURCE BUILD
set -euo pipefail
# shellcheck source=tests/outside/agent_kit.sh
. "$(dirname "$0")/agent_kit.sh"

agents=50
cycle=3
stall=12

# Homes without a kit: what scripts feed is missing, everything else is sampled.
start_fleet_agent() {
  home=$scratch/fleet/$1/agent
  mkdir -p "$home/bin" "$home/buffer"
  (cd "$home/bin" && exec "$build/bin/agent" --to "127.0.0.1:$port" --cycle $cycle --host "host$1") 2>"$scratch/agent$1.err" &
  started+=($!)
  fleet+=($!)
}
hosts_received() { [ "$(received fleet | cut -d ' ' -f 1 | sort -u | wc -l)" -ge "$1" ]; }
nobody_keeps_anything() { [ -z "$(find "$scratch/fleet" -name '*-BUF_*.buf')" ]; }
everybody_keeps_something() { [ "$(find "$scratch/fleet" -name '*-BUF_*.buf' | wc -l)" = $agents ]; }

start_receiver fleet 0
fleet=()
for number in $(seq $agents); do
  start_fleet_agent "$number"
done
eventually "record of every agent" hosts_received $agents
kill -STOP "$receiver"
sleep $stall
eventually "kept records of every agent" everybody_keeps_something
kill -CONT "$receiver"
eventually "delivery of all that was kept" nobody_keeps_anything
kill -TERM "${fleet[@]}"
for process in "${fleet[@]}"; do
  wait "$process" || fail "an agent ended with status $?"
done

# Every record arrived, in order, and the samples went on while the receiver stalled.
for number in $(seq $agents); do
  last=$(last_number "agent$number")
  [ "$last" -gt 0 ] || fail "agent $number has no records"
  problem=$(received fleet | grep "^host$number " | expect_numbers "$last") || fail "host$number: $problem"
done
longest=$(received fleet | awk '
  $4 == "load" { if (time[$1] && $5 - time[$1] > longest) longest = $5 - time[$1]; time[$1] = $5 }
  END { print longest + 0 }')
# Two cycles, because a pass that begins late by a whole cycle starts a new beat; one second because times are whole
# seconds, and two because fifty agents share the processors. A stall that held up the samples would last longer.
[ "$longest" -le $((2 * cycle + 3)) ] || fail "an agent gave no sample for $longest seconds"
echo "fleet: $agents agents, $(received fleet | wc -l) records, at most $longest seconds between two samples of $cycle seconds"
