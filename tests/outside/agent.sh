#!/usr/bin/env bash
# The example agent in a staged home, against a receiver that dies, comes back, hangs or cannot store: every record
# arrives, in order, and sampling goes on.
#   agent.sh SOURCE BUILD
set -euo pipefail
# shellcheck source=tests/outside/agent_kit.sh
. "$(dirname "$0")/agent_kit.sh"

# The first receiver ends between storing a record and answering it; the agent is ended while nobody listens and started
# again; the second receiver is killed; the third one takes the rest. The record that was not answered must come again,
# and the numbers go on over both runs without a gap.
receivers_die_and_come_back() {
  stage_home dying
  start_receiver first 0 --deaf 15
  start_agent run1
  wait "$receiver" || fail "the first receiver ended with status $?"
  eventually "kept records" keeps 15
  stop_agent
  grep -q "^agent: 127.0.0.1:$port: " "$scratch/run1.err" || fail "the agent does not say that nobody listens"

  start_agent run2
  eventually "records of both runs" keeps $(($(kept) + 10))
  start_receiver second "$port"
  eventually "record at the second receiver" has_received second 40
  kill_quietly "$receiver"
  eventually "kept records" keeps 5
  start_receiver third "$port"
  eventually "delivery of all that was kept" keeps_nothing
  eventually "record at the third receiver" has_received third 15
  stop_agent
  keeps_nothing || fail "records are still kept: $(buffers)"

  [ "$(received first | tail -n 1)" = "$(received second | head -n 1)" ] || fail "the unanswered record did not come again"
  local problem
  problem=$({ received first && received second && received third; } | expect_numbers "$(last_number run2)") || fail "$problem"
  [ "$(last_number run1)" -ge 29 ] || fail "the first run had $(last_number run1) records"
  [ "$({ received first && received second && received third; } | cut -d ' ' -f 1 | sort -u)" = "$(uname -n)" ] ||
    fail "records without the name of the host"
  kill_quietly "$receiver"
}

# Three kept files whose names and times say the contrary of their numbers, one of them with a torn end, and one file
# that holds no record. All whole records arrive in the order of their numbers before any new one.
kept_files_are_damaged() {
  stage_home damaged
  local f=$'\003\037^' m=$'\003\037]'
  printf '1700000000%sh 0 1 cpu 5 3%sone%s%s\n' "$f" "$f" "$f" "$m" >"$home/buffer/20260103-BUF_2.buf"
  printf '1700000000%sh 0 2 cpu 5 9%shalf of a te' "$f" "$f" >>"$home/buffer/20260103-BUF_2.buf"
  printf '1700000000%sh 0 3 cpu 5 5%sthree%s%s\n' "$f" "$f" "$f" "$m" >"$home/buffer/20260102-BUF_1.buf"
  printf '1700000000%sh 0 4 cpu 5 4%sfour%s%s\n' "$f" "$f" "$f" "$m" >"$home/buffer/20260101-BUF_9.buf"
  head -c 3000 /dev/zero >"$home/buffer/20251231-BUF_1.buf"
  touch -d '2026-01-01' "$home/buffer/20260101-BUF_9.buf"
  touch -d '2025-01-01' "$home/buffer/20251231-BUF_1.buf"

  start_receiver damaged 0
  start_agent damaged_run
  eventually "new record" has_received_new damaged
  stop_agent
  local texts
  texts=$(grep -aE '^(h 0 [0-9]+ cpu 5 [0-9]+|  one|  three|  four)$' "$scratch/damaged.out")
  [ "$texts" = $'h 0 1 cpu 5 3\n  one\nh 0 3 cpu 5 5\n  three\nh 0 4 cpu 5 4\n  four' ] || fail "the kept records arrived as: $texts"
  grep -aqE '^h 0 1 ' <(head -n 1 "$scratch/damaged.out") || fail "a new record came before the kept ones"
  [ "$(find "$home/buffer" -name 'damaged_*' | wc -l)" = 2 ] || fail "not two files are set aside: $(ls "$home/buffer")"
  [ "$(grep -c 'it is now ../buffer/damaged_' "$scratch/damaged_run.err")" = 2 ] || fail "the agent does not say what it set aside"
  kill_quietly "$receiver"
}
has_received_new() { has_received "$1" 3; }

# The clock goes back a day while the receiver is away.
clock_is_set_back() {
  stage_home clock
  g++ -std=c++20 -shared -fPIC -O1 "$source/tests/outside/clock_back.cpp" -o "$scratch/clock_back.so"
  start_receiver before 0
  LD_PRELOAD=$scratch/clock_back.so ZEL_TEST_CLOCK_BACK=$scratch/back start_agent clock_run
  eventually "record before the clock is set back" has_received before 20
  kill_quietly "$receiver"
  eventually "kept records" keeps 10
  touch "$scratch/back"
  eventually "records of both days" keeps $(($(kept) + 20))
  start_receiver after "$port"
  eventually "delivery of all that was kept" keeps_nothing
  stop_agent
  local problem
  problem=$({ received before && received after; } | expect_numbers "$(last_number clock_run)") || fail "$problem"
  [ "$(received after | awk '{ if ($5 < last) back = 1; last = $5 } END { print back + 0 }')" = 1 ] ||
    fail "the records do not show that the clock was set back"
  kill_quietly "$receiver"
}

# A receiver that takes connections and gives no answers does not hold the samples up; a killed agent gives no number
# twice.
receiver_is_silent() {
  stage_home silent
  start_receiver silent 0
  start_agent silent_run
  eventually "record" has_received silent 30
  kill -STOP "$receiver"
  sleep 8
  kill_quietly "$agent"
  kill -CONT "$receiver"
  start_agent silent_rerun
  eventually "delivery of all that was kept" keeps_nothing
  eventually "record of the second run" has_received silent $(($(received silent | wc -l) + 40))
  stop_agent
  local problem
  # The samples of the first eight seconds and those of the second run; between them the agent was started again.
  problem=$(received silent | awk '
    $3 <= last { print "number " $3 " comes after " last; exit 1 }
    { jump = $3 - last; last = $3 }
    jump > 1000 && ++restarts > 1 { print "a second gap before number " $3; exit 1 }
    $4 == "load" && jump <= 1000 && time && $5 - time > 4 { print "no sample from " time " to " $5; exit 1 }
    $4 == "load" { time = $5 }
    END { if (restarts != 1) print "the numbers do not show the kill" }') || fail "$problem"
  [ -z "$problem" ] || fail "$problem"
  kill_quietly "$receiver"
}

# A receiver whose output is full answers nothing, and nothing is lost.
receiver_cannot_store() {
  stage_home full
  "$build/bin/receiver" 0 >/dev/full 2>"$scratch/full.err" &
  receiver=$!
  started+=("$receiver")
  eventually "port" grep -qs port "$scratch/full.err"
  port=$(sed -n 's/^receiver: port //p' "$scratch/full.err")
  start_agent full_run
  eventually "kept records" keeps 30
  kill_quietly "$receiver"
  start_receiver room "$port"
  eventually "delivery of all that was kept" keeps_nothing
  stop_agent
  local problem
  problem=$(received room | expect_numbers "$(last_number full_run)") || fail "$problem"
  kill_quietly "$receiver"
}

# A process whose title holds a whole record, with its line feeds, and an escape that clears a terminal.
title_forges_a_record() {
  stage_home forged
  start_receiver forged 0
  start_agent forged_run
  (exec -a $'innocent\nweb9 0123456789abcdef 1 cpu 1700000000 3\n  \033[2Jforged' sleep 60) &
  started+=($!)
  eventually "process record with the title" grep -aq 'innocent web9' "$scratch/forged.out"
  stop_agent
  ! grep -aq '^web9' "$scratch/forged.out" || fail "the title has forged a record"
  ! grep -aqP '[\x00-\x09\x0b-\x1f\x7f]' "$scratch/forged.out" || fail "control bytes reach the terminal"
  kill_quietly "$receiver"
}

# Two agents would give the same numbers.
one_agent_to_a_home() {
  stage_home single
  start_receiver single 0
  ulimit -Sn 256
  start_agent single_run
  eventually "record" has_received single 5
  awk '/^Max open files/ { exit !($4 > 256 || $4 == $5) }' "/proc/$agent/limits" || fail "the agent has not raised its limit"
  local status=0
  (cd "$home/bin" && ./agent --to "127.0.0.1:$port") 2>"$scratch/double.err" || status=$?
  [ $status = 1 ] || fail "a second agent starts in the same home"
  grep -q 'another agent' "$scratch/double.err" || fail "the second agent does not say why it ends"
  stop_agent
  kill_quietly "$receiver"
}

for scenario in receivers_die_and_come_back kept_files_are_damaged clock_is_set_back receiver_is_silent \
  receiver_cannot_store title_forges_a_record one_agent_to_a_home; do
  started_at=$SECONDS
  $scenario
  echo "agent: $scenario: $((SECONDS - started_at)) s"
done
