#!/usr/bin/env bash
# The example receiver, spoken to byte by byte: it answers what it has stored and nothing else, stores nothing twice, and
# no agent holds up another.
#   receiver.sh SOURCE BUILD
set -euo pipefail
# shellcheck source=tests/outside/agent_kit.sh
. "$(dirname "$0")/agent_kit.sh"

# Connections are descriptors. say DESCRIPTOR NUMBER TEXT [SERIES]: sends a record.
say() { printf 'web1 %s %s cpu 1700000000 %s\n%s' "${4:-00000000000000aa}" "$2" "${#3}" "$3" >&"$1"; }
# expect_answer DESCRIPTOR NUMBER: the receiver answers this number, within five seconds.
expect_answer() {
  local answer=''
  read -r -t 5 -u "$1" answer || fail "no answer for record $2"
  [ "$answer" = "00000000000000aa $2" ] || fail "record $2 is answered with '$answer'"
}
# expect_end DESCRIPTOR WHAT: the receiver closes the connection without an answer.
expect_end() {
  local answer='' status=0
  read -r -t 5 -u "$1" answer || status=$?
  [ -z "$answer" ] || fail "$2 is answered with '$answer'"
  [ $status -le 128 ] || fail "$2 is neither answered nor refused"
}
stored_numbers() { received "$1" | cut -d ' ' -f 3 | paste -sd ' '; }

repeated_records() {
  start_receiver repeated 0
  exec 10<>"/dev/tcp/127.0.0.1/$port"
  for number in 5 3 4 5 6; do
    say 10 $number "text $number"
    expect_answer 10 $number
  done
  exec 10>&-
  [ "$(stored_numbers repeated)" = "5 6" ] || fail "stored are $(stored_numbers repeated), not 5 6"
}

output_is_full() {
  "$build/bin/receiver" 0 >/dev/full 2>"$scratch/full.err" &
  receiver=$!
  started+=("$receiver")
  eventually "port" grep -qs port "$scratch/full.err"
  exec 10<>"/dev/tcp/127.0.0.1/$(sed -n 's/^receiver: port //p' "$scratch/full.err")"
  say 10 1 text
  expect_end 10 "a record that cannot be stored"
  exec 10>&-
}

# The file may have 4 KB: what does not fit leaves nothing of itself.
file_is_full() {
  (ulimit -f 4 && exec "$build/bin/receiver" 0 >>"$scratch/limited.out" 2>"$scratch/limited.err") &
  receiver=$!
  started+=("$receiver")
  eventually "port" grep -qs port "$scratch/limited.err"
  local port
  port=$(sed -n 's/^receiver: port //p' "$scratch/limited.err")
  exec 10<>"/dev/tcp/127.0.0.1/$port"
  say 10 1 "$(printf '%02000d' 0)"
  expect_answer 10 1
  say 10 2 "$(printf '%03000d' 0)"
  expect_end 10 "a record that does not fit"
  exec 10<>"/dev/tcp/127.0.0.1/$port"
  say 10 2 small
  expect_answer 10 2
  exec 10>&-
  [ "$(stored_numbers limited)" = "1 2" ] || fail "stored are $(stored_numbers limited), not 1 2"
  [ "$(wc -l <"$scratch/limited.out")" = 4 ] || fail "the record that did not fit has left a part of itself"
}

agents_that_send_half_a_record() {
  start_receiver halves 0
  local holder
  for holder in $(seq 20 79); do
    eval "exec $holder<>/dev/tcp/127.0.0.1/$port"
    printf 'web1 00000000000000bb 1 cpu 1700000000 100\nhalf' >&"$holder"
  done
  exec 10<>"/dev/tcp/127.0.0.1/$port"
  say 10 1 whole
  expect_answer 10 1
  exec 10>&-
  for holder in $(seq 20 79); do
    eval "exec $holder>&-"
  done
  [ "$(stored_numbers halves)" = 1 ] || fail "a half record is stored"
}

# Several records in one piece are answered one by one.
records_in_one_piece() {
  start_receiver piece 0
  exec 10<>"/dev/tcp/127.0.0.1/$port"
  { say 1 1 one && say 1 2 two && say 1 3 three; } >"$scratch/pieces"
  cat "$scratch/pieces" >&10
  expect_answer 10 1
  expect_answer 10 2
  expect_answer 10 3
  exec 10>&-
}

# After a restart onto the same file.
restarted() {
  start_receiver restarted 0
  exec 10<>"/dev/tcp/127.0.0.1/$port"
  say 10 1 one
  expect_answer 10 1
  say 10 2 $'two\003\037|web1 00000000000000aa 9 cpu 1700000000 3'
  expect_answer 10 2
  say 10 7 other 00000000000000bb
  read -r -t 5 -u 10 _ || fail "no answer for the other series"
  exec 10>&-
  kill_quietly "$receiver"
  printf 'web1 00000000000000aa 3 cpu 1700000000 5\n  th' >>"$scratch/restarted.out" # cut by a crash
  start_receiver restarted 0
  exec 10<>"/dev/tcp/127.0.0.1/$port"
  say 10 2 again
  expect_answer 10 2
  say 10 3 three
  expect_answer 10 3
  exec 10>&-
  if [ "$(stored_numbers restarted)" != "1 2 7 3" ] || [ "$(wc -l <"$scratch/restarted.out")" != 9 ]; then
    fail "stored are $(stored_numbers restarted), not 1 2 7 3"
  fi
}

no_records() {
  start_receiver junk 0
  local line
  for line in garbage 'web1 aa 1 cpu 1700000000' 'web1 aa 1 cpu 1700000000 99999999999' 'web1 aa x cpu 1 1' 'web1 aa -1 cpu 1 1' \
    'web1 aa +1 cpu 1 1' 'web1 aa 18446744073709551616 cpu 1 1' 'web1 aa 1 cpu -1 1' 'web1 aa 1 cpu 1 -1' 'web1 aa 1 cpu 1 1 ' "$(printf '%0600d' 0)"; do
    exec 10<>"/dev/tcp/127.0.0.1/$port"
    printf '%s\n' "$line" >&10
    expect_end 10 "'${line:0:40}'"
    exec 10>&-
  done
  [ ! -s "$scratch/junk.out" ] || fail "something was stored"
}

control_bytes() {
  start_receiver control 0
  exec 10<>"/dev/tcp/127.0.0.1/$port"
  say 10 1 $'a\nweb9 00000000000000cc 1 cpu 1700000000 3\n  \033[2J\x7f\003\037|row\003\037~value'
  expect_answer 10 1
  LC_ALL=C say 10 2 $'\x9b2J\xc2\x9b2J \xe2\x82\xac\xe2\x82'
  expect_answer 10 2
  exec 10>&-
  local expected='web1 00000000000000aa 1 cpu 1700000000 64
  a web9 00000000000000cc 1 cpu 1700000000 3    [2J 
  row value'
  [ "$(head -n 3 "$scratch/control.out")" = "$expected" ] || fail "stored is: $(cat -v "$scratch/control.out")"
  # The second record: a lone 9B, the same as UTF-8 writes it, a letter that stays, and one that is cut.
  [ "$(tail -n 1 "$scratch/control.out")" = $'   2J  2J \xe2\x82\xac\xe2 ' ] ||
    fail "stored is: $(cat -v "$scratch/control.out")"
}

loopback_only() {
  start_receiver loopback 0
  local hex
  hex=$(printf '%04X' "$port")
  grep -q ": 0100007F:$hex 00000000:0000 0A" /proc/net/tcp || fail "the receiver does not listen on 127.0.0.1"
  ! grep -q ": 0*:$hex " /proc/net/tcp6 || fail "the receiver listens on every address"
}

for scenario in repeated_records output_is_full file_is_full agents_that_send_half_a_record records_in_one_piece \
  no_records control_bytes restarted loopback_only; do
  $scenario
  echo "receiver: $scenario"
  kill_quietly "$receiver"
done
