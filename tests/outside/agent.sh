#!/usr/bin/env bash
# The example agent in a staged home, against a receiver that dies and comes back: every record arrives, in order.
#   agent.sh SOURCE BUILD
#
# The first receiver ends between storing a record and answering it; the agent is ended while nobody listens and started
# again; the second receiver is killed; the third one takes the rest. Delivery is at least once: the record that was not
# answered must come again, the numbers of a run may repeat but never skip, and all records of the first run must come
# before those of the second.
set -euo pipefail
source=$1
build=$2
scratch=$(mktemp -d)
started=()
cleanup() {
  for process in "${started[@]}"; do
    kill -9 "$process" 2>/dev/null || true
    wait "$process" 2>/dev/null || true
  done
  rm -rf "$scratch"
}
trap cleanup EXIT

fail() {
  echo "agent: $*" >&2
  tail -n 5 "$scratch"/*.err >&2
  exit 1
}

# eventually WHAT COMMAND...: waits until the command succeeds.
eventually() {
  local what=$1
  shift
  for _ in $(seq 300); do
    ! "$@" || return 0
    sleep 0.1
  done
  fail "no $what within 30 seconds"
}

mkdir -p "$scratch/build/bin"
cp "$build"/bin/{ShCmd,libinvinfo,libzelinfo,agent} "$scratch/build/bin/"
"$source/scripts/stage.sh" "$scratch/build"
home=$scratch/build/home/agent

# start_receiver NAME PORT [OPTION...]: its process in $receiver.
start_receiver() {
  local name=$1
  shift
  "$build/bin/receiver" "$@" >"$scratch/$name.out" 2>"$scratch/$name.err" &
  receiver=$!
  started+=("$receiver")
  eventually "port of receiver $name" grep -qs port "$scratch/$name.err"
}
start_agent() {
  (cd "$home/bin" && exec ./agent --to "127.0.0.1:$port" --cycle 1) 2>"$scratch/$1.err" &
  agent=$!
  started+=("$agent")
}
stop_agent() {
  kill -TERM "$agent"
  wait "$agent" || fail "the agent ended with status $?"
}

received() { grep -aE '^[0-9]+ [0-9]+ [a-z.]+ [0-9]+ [0-9]+$' "$scratch/$1.out"; }
has_received() { [ "$(received "$1" | wc -l)" -ge "$2" ]; }
kept() { cat "$home"/buffer/*-BUF_*.buf 2>/dev/null | grep -ac $'\x03\x1f]$' || true; }
keeps() { [ "$(kept)" -ge "$1" ]; }
keeps_nothing() { [ -z "$(ls "$home/buffer")" ]; }
# What the agent says at its end: run, number of its records.
said() { sed -n 's/^agent: run \([0-9]*\) ends after \([0-9]*\) records$/\1 \2/p' "$scratch/$1.err"; }

start_receiver first 0 --deaf 15
port=$(sed -n 's/^receiver: port //p' "$scratch/first.err")
start_agent run1
wait "$receiver" || fail "the first receiver ended with status $?"
eventually "kept records" keeps 15
stop_agent
grep -q "^agent: 127.0.0.1:$port: " "$scratch/run1.err" || fail "the agent does not say that nobody listens"
# A kill in the middle of a write leaves a record without its end.
buffers=("$home"/buffer/*-BUF_*.buf)
printf '1700000000\003\037^1 1 cut 1700000000\003\037^half of a te' >>"${buffers[-1]}"

start_agent run2
eventually "records of both runs" keeps $(($(kept) + 10))
start_receiver second "$port"
eventually "record at the second receiver" has_received second 40
{ kill -9 "$receiver" && wait "$receiver"; } 2>/dev/null || true
eventually "kept records" keeps 5
start_receiver third "$port"
eventually "delivery of all that was kept" keeps_nothing
eventually "record at the third receiver" has_received third 15
stop_agent
keeps_nothing || fail "records are still kept: $(ls "$home/buffer")"

[ "$(received first | tail -n 1)" = "$(received second | head -n 1)" ] || fail "the unanswered record did not come again"
{ received first; received second; received third; } | awk '
  $1 != run { if ($1 in last) wrong = "run " $1 " comes again after run " run; run = $1; runs[++count] = run; last[run] = 0 }
  $2 > last[run] + 1 { wrong = "run " run ": " last[run] " is followed by " $2 }
  $2 <= last[run] { ++repeats }
  $2 == last[run] + 1 { last[run] = $2 }
  END {
    if (wrong != "") { print wrong; exit 1 }
    for (i = 1; i <= count; ++i) print runs[i], last[runs[i]]
    print repeats " repeated" > "/dev/stderr"
  }' >"$scratch/arrived" || fail "$(cat "$scratch/arrived")"
{ said run1; said run2; } >"$scratch/taken"
diff "$scratch/taken" "$scratch/arrived" >&2 || fail "what arrived is not what was taken"
echo "agent: every record of both runs arrived in order: $(tr '\n' ' ' <"$scratch/arrived")"
