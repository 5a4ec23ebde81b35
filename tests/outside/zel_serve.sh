#!/usr/bin/env bash
# `zel serve` as its clients meet it: curl, zstd, a JSON reader, TLS with certificates that change, hostile clients, many at once.
#   zel_serve.sh SOURCE BUILD          ZEL_LONG=1: the load for a minute instead of three seconds
# shellcheck disable=SC2317 # comes_true calls what its arguments name
set -euo pipefail
source=$1
zel=$2/bin/zel
for program in curl openssl zstd python3; do
  command -v $program >/dev/null || {
    echo "zel_serve: skipped, $program is not installed"
    exit 77
  }
done
"$zel" serve --help | grep -q 'not built' && {
  echo "zel_serve: skipped, this zel is built without its server"
  exit 77
}
scratch=$(mktemp -d)
server=
patience=30 # seconds that a busy machine may take for what is quick
trap 'kill $server 2>/dev/null || true; rm -rf "$scratch"' EXIT
export LC_ALL=C.UTF-8
printf '' >"$scratch/empty.toml"
failed=0
fail() {
  echo "zel_serve: $*" >&2
  failed=1
}

# comes_true COMMAND...: waits until it succeeds.
comes_true() {
  local until=$((SECONDS + patience))
  until "$@"; do
    [ $SECONDS -lt $until ] || return 1
    sleep 0.1
  done
}
is_serving() {
  at=$(sed -n 's|.*serving https*://\(.*\)/metrics|\1|p' "$scratch/log")
  [ -n "$at" ]
}
# serve ARGUMENT...: starts it on a free port; its process is `server`, its place `at`.
serve() {
  "$zel" serve --config "$scratch/empty.toml" --listen 127.0.0.1:0 "$@" 2>"$scratch/log" &
  server=$!
  started
}
started() {
  comes_true is_serving || {
    fail "it does not start: $(cat "$scratch/log")"
    exit 1
  }
}
# reload TEXT: asks it to read its files again, and waits until it has said TEXT about that once more.
reload() {
  local before
  before=$(grep -c "$1" "$scratch/log" || true)
  kill -HUP $server
  comes_true says_more "$before" "$1" || fail "no '$1' after a reload: $(cat "$scratch/log")"
}
says_more() { [ "$(grep -c "$2" "$scratch/log" || true)" -gt "$1" ]; }
# ends STATUS: asks it to end; it does, soon and with the status.
ends() {
  local status=0 begun=$SECONDS
  kill -TERM $server
  wait $server || status=$?
  [ $status -eq "$1" ] || fail "it ended with $status: $(cat "$scratch/log")"
  [ $((SECONDS - begun)) -le $patience ] || fail "it took $((SECONDS - begun)) s to end"
}
# code WANTED ARGUMENT...: the status that curl gets.
code() {
  local wanted=$1 got
  shift
  got=$(curl -sS -o "$scratch/body" -D "$scratch/head" -w '%{http_code}' "$@" 2>"$scratch/curl") || true
  [ "$got" = "$wanted" ] || fail "curl $*: $got, not $wanted: $(head -c 200 "$scratch/body" "$scratch/curl")"
}
names() { sed -nE 's/^# TYPE ([^ ]+) .*/\1/p' | sort -u; }

answers() {
  code 200 "http://$at/metrics"
  names <"$scratch/body" >"$scratch/plain"
  grep -qx node_load1 "$scratch/plain" || fail "there is no node_load1"
  code 200 -H 'Accept-Encoding: gzip' "http://$at/metrics"
  gzip -dc "$scratch/body" | names | diff -q - "$scratch/plain" >/dev/null || fail "gzip gives other families"
  code 200 -H 'Accept-Encoding: zstd' "http://$at/metrics"
  zstd -qdc "$scratch/body" | names | diff -q - "$scratch/plain" >/dev/null || fail "zstd gives other families"
  code 200 --compressed -H 'Accept: application/openmetrics-text' "http://$at/metrics"
  [ "$(tail -n 1 "$scratch/body")" = "# EOF" ] || fail "OpenMetrics has no end"
  code 200 --head "http://$at/metrics"
  grep -qi '^content-length: [1-9]' "$scratch/head" || fail "HEAD has no length"
  code 200 "http://$at/api/v1/sample?rates=true"
  python3 -c 'import json,sys; sample=json.load(sys.stdin); assert sample["load"]["load1"] is not None; sample["interval_seconds"]' \
    <"$scratch/body" || fail "the sample is no JSON with what it should have"
  code 200 "http://$at/"
  code 200 "http://$at/healthz"
  code 406 -H 'Accept: image/png' "http://$at/metrics"
  code 405 -X DELETE "http://$at/metrics"
  code 413 -d 'a body' -X GET "http://$at/metrics"
  code 421 -H 'Host: evil.example' "http://$at/metrics"
  code 200 -H 'Host: localhost' "http://$at/metrics"
}

has_events() { [ "$(grep -c '^id: ' "$scratch/events")" -ge "$1" ]; }
streams() {
  local status=0
  : >"$scratch/events"
  curl -sSN "http://$at/api/v1/stream?every=500ms&areas=load" >"$scratch/events" 2>"$scratch/curl" &
  local client=$!
  comes_true has_events 3 || fail "a stream gives no events"
  code 200 "http://$at/metrics" # nobody waits for a stream
  ends 0
  wait $client || status=$?
  [ $status -eq 0 ] || fail "the stream did not end as streams do: $(cat "$scratch/curl")"
  python3 - "$scratch/events" <<'PYTHON' || fail "the stream is not what it should be: $(head -c 300 "$scratch/events")"
import json, sys
events = open(sys.argv[1], encoding="utf-8").read().split("\n\n")
assert events[0] == "retry: 2000", events[0]
samples = [event.split("\n") for event in events if event.startswith("id: ")]
assert len(samples) >= 3, len(samples)
numbers = [int(lines[0][4:]) for lines in samples]
assert numbers == sorted(set(numbers)), numbers
for lines in samples:
    assert lines[1].startswith("data: ") and "load" in json.loads(lines[1][6:]), lines[1][:80]
PYTHON
}

# shows TARGET PID: whether the answer has the process; a sample within the age limit may be older than that. A stream has no
# end: its first four lines are the time to try again, a blank, and the first event.
shows() {
  curl -sSN --max-time "$patience" "http://$at$1" 2>/dev/null | head -n 4 >"$scratch/body" || true
  grep -q "\"pid\":$2," "$scratch/body"
}
# A secret on somebody's command line.
secrets() {
  sleep 98765.4321 &
  local secret=$! target
  for target in /api/v1/sample '/api/v1/sample?areas=processes&rates=true' '/api/v1/stream?every=500ms&areas=processes'; do
    comes_true shows "$target" $secret || fail "$target does not show the process"
    ! grep -q 98765.4321 "$scratch/body" || fail "$target shows a command line"
  done
  kill $secret
}

certificate() {
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout "$scratch/$1.key" -out "$scratch/$1.crt" \
    -days 2 -subj /CN=localhost -addext subjectAltName=DNS:localhost,IP:127.0.0.1 2>/dev/null
}

protection() {
  certificate one
  certificate two
  cp "$scratch/one.crt" "$scratch/server.crt"
  (umask 077 && cp "$scratch/one.key" "$scratch/server.key" && openssl rand -hex 32 >"$scratch/token")
  chmod 600 "$scratch/server.key"
  serve --certificate "$scratch/server.crt" --key "$scratch/server.key" --token-file "$scratch/token"
  local token
  token=$(cat "$scratch/token")
  code 401 --cacert "$scratch/one.crt" "https://$at/metrics"
  code 401 --cacert "$scratch/one.crt" -H "Authorization: Bearer ${token}0" "https://$at/metrics"
  code 200 --cacert "$scratch/one.crt" -H "Authorization: Bearer $token" "https://$at/metrics"
  code 200 --cacert "$scratch/one.crt" "https://$at/healthz"
  code 000 --tls-max 1.1 --cacert "$scratch/one.crt" "https://$at/healthz"
  code 000 "http://$at/healthz"
  cp "$scratch/two.crt" "$scratch/server.crt" # without its key: refused
  reload refused
  code 200 --cacert "$scratch/one.crt" "https://$at/healthz"
  cp "$scratch/two.key" "$scratch/server.key"
  reload 'is taken'
  code 200 --cacert "$scratch/two.crt" "https://$at/healthz"
  code 000 --cacert "$scratch/one.crt" "https://$at/healthz"
  ends 0
  if "$zel" serve --config "$scratch/empty.toml" --listen 0.0.0.0:0 2>"$scratch/log"; then
    fail "it listens to everybody without a token"
  fi
  grep -q 'show this host to everybody' "$scratch/log" || fail "it does not say why: $(cat "$scratch/log")"
}

# More connections than it has descriptors for; most ask nothing. It goes on, and does not turn in a circle meanwhile.
crowd() {
  (ulimit -n 64 && exec "$zel" serve --config "$scratch/empty.toml" --listen 127.0.0.1:0 2>"$scratch/log") &
  server=$!
  started
  PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$source/tests/outside python3 - "$at" $server <<'PYTHON' || fail "a crowd of connections"
import socket, sys, time
from process_kit import processor_seconds
host, port = sys.argv[1].rsplit(":", 1)
crowd = [socket.create_connection((host, int(port))) for _ in range(150)]
before, begun = processor_seconds(sys.argv[2]), time.monotonic()
time.sleep(2)
share = (processor_seconds(sys.argv[2]) - before) / (time.monotonic() - begun)
assert share < 0.5, share  # who turns in a circle takes all that he can get
for one in crowd:
    one.close()
PYTHON
  comes_true curl -sS -o /dev/null --max-time 5 "http://$at/metrics" 2>/dev/null || fail "it answers nobody after the crowd"
  code 200 "http://$at/metrics"
  ends 0
}

load() {
  local seconds=3
  [ -z "${ZEL_LONG:-}" ] || seconds=60
  "$source/bench/serve_load.py" "$at" $server --seconds $seconds >"$scratch/load" 2>&1 || fail "load: $(cat "$scratch/load")"
  cat "$scratch/load"
  awk '/^memory/ { found = 1; if ($9 - $5 > 4096) exit 1 } END { exit !found }' "$scratch/load" || fail "memory grew: $(cat "$scratch/load")"
}

serve
answers
secrets
load
streams
protection
crowd
[ $failed -eq 0 ] && echo "zel_serve: as it should be"
exit $failed
