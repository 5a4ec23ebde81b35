# Shared by the scripts that run the example agent and its receiver; read with "source". Sets source, build and scratch
# from the arguments SOURCE BUILD, and ends every process that was started when the script ends.
# shellcheck shell=bash disable=SC2034
source=$1
build=$2
scratch=$(mktemp -d)
started=()
# A scenario puts a clock of its own before the libraries of a program, sanitized ones too.
export ASAN_OPTIONS=verify_asan_link_order=0${ASAN_OPTIONS:+:$ASAN_OPTIONS}

cleanup() {
  local process
  for process in "${started[@]}"; do
    kill -9 "$process" 2>/dev/null || true
    wait "$process" 2>/dev/null || true
  done
  rm -rf "$scratch"
}
trap cleanup EXIT

fail() {
  echo "$(basename "$0" .sh): $*" >&2
  tail -n 5 "$scratch"/*.err >&2
  exit 1
}

# eventually WHAT COMMAND...: waits until the command succeeds, for 30 seconds.
eventually() {
  local what=$1
  shift
  for _ in $(seq 300); do
    ! "$@" || return 0
    sleep 0.1
  done
  fail "no $what within 30 seconds"
}

# stage_home NAME: a home with its kit, in $home.
stage_home() {
  local stage=$scratch/$1
  mkdir -p "$stage/bin"
  cp "$build"/bin/{ShCmd,libinvinfo,libzelinfo,agent} "$stage/bin/"
  "$source/scripts/stage.sh" "$stage"
  home=$stage/home/agent
}

# start_receiver NAME PORT [OPTION...]: its process in $receiver, its port in $port. The output is NAME.out, appended to.
start_receiver() {
  local name=$1
  shift
  "$build/bin/receiver" "$@" >>"$scratch/$name.out" 2>"$scratch/$name.err" &
  receiver=$!
  started+=("$receiver")
  eventually "port of receiver $name" grep -qs port "$scratch/$name.err"
  port=$(sed -n 's/^receiver: port //p' "$scratch/$name.err")
}

# start_agent NAME [OPTION...]: in $home, its process in $agent.
start_agent() {
  local name=$1
  shift
  (cd "$home/bin" && exec ./agent --to "127.0.0.1:$port" --cycle 1 "$@") 2>"$scratch/$name.err" &
  agent=$!
  started+=("$agent")
}

stop_agent() {
  kill -TERM "$agent"
  wait "$agent" || fail "the agent ended with status $?"
}

kill_quietly() { { kill -9 "$1" && wait "$1"; } 2>/dev/null || true; }

# The lines of the records that a receiver has stored: HOST SERIES NUMBER NAME SECONDS BYTES.
received() { grep -aE '^[^ ]+ [0-9a-f]{16} [0-9]+ [a-z.]+ [0-9]+ [0-9]+$' "$scratch/$1.out"; }
has_received() { [ "$(received "$1" | wc -l)" -ge "$2" ]; }

buffers() { find "$home/buffer" -name '*-BUF_*.buf'; }
kept() { buffers | xargs -r cat | grep -ac $'\x03\x1f]$' || true; }
keeps() { [ "$(kept)" -ge "$1" ]; }
keeps_nothing() { [ -z "$(buffers)" ]; }

# The number that the agent says at its end.
last_number() { sed -n 's/^agent: host .* the last record has number \([0-9]*\)$/\1/p' "$scratch/$1.err"; }

# expect_numbers LAST: standard input has record lines with the numbers 1 to LAST, in order; one may come again.
expect_numbers() {
  awk -v wanted="$1" '
    $3 > last + 1 { print "number " last " is followed by " $3; wrong = 1; exit 1 }
    $3 == last + 1 { last = $3 }
    END { if (!wrong && last != wanted) { print "the last number is " last ", not " wanted; exit 1 } }'
}
