#!/usr/bin/env bash
# The configuration and the service as an administrator meets them: zel check, the files that a configuration names, what systemd is
# told, signals, the unit.
#   zel_service.sh SOURCE BUILD
set -euo pipefail
source=$1
zel=$2/bin/zel
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
chmod 755 "$scratch"
export LC_ALL=C.UTF-8

for tool in python3 openssl; do
  command -v "$tool" >/dev/null || {
    echo "zel_service: skipped, $tool is not installed"
    exit 77
  }
done
"$zel" serve --help | grep -q 'not built' && {
  echo "zel_service: skipped, this zel is built without its server"
  exit 77
}

failed=0
skipped=
fail() {
  echo "zel_service: $*" >&2
  failed=1
}
# check STATUS TEXT: what zel check makes of the configuration on standard input; its output is in out and err.
check() {
  local status=0
  cat >"$scratch/zel.toml"
  "$zel" check "$scratch/zel.toml" >"$scratch/out" 2>"$scratch/err" || status=$?
  [ "$status" = "$1" ] || fail "exit status $status, not $1, of: $(cat "$scratch/zel.toml") $(cat "$scratch/err")"
  [ "$status" = 0 ] || [ ! -s "$scratch/out" ] || fail "a plan in spite of errors: $(cat "$scratch/out")"
  cat "$scratch/out" "$scratch/err" >"$scratch/said"
  grep -qF -- "$2" "$scratch/said" || fail "it does not say '$2' but: $(cat "$scratch/said")"
}

plans() {
  "$zel" check "$source/packaging/zel.toml" >"$scratch/out" || fail "the example configuration is refused"
  grep -qF 'listens on 127.0.0.1:9100: only programs of this machine reach it' "$scratch/out" || fail "$(cat "$scratch/out")"
  grep -qF 'nothing leaves this machine' "$scratch/out" || fail "$(cat "$scratch/out")"
  check 0 'other machines reach it' <<<$'[serve]\nlisten = ":9100"\nlisten-unprotected = true'
  check 0 'samples cpu, disks of the host below /;' <<<$'[serve]\nareas = ["cpu", "disks"]\nroot = "/"'
  check 0 'command lines of processes are given to those who ask' <<<$'[serve]\ncommand-lines = true'
  check 0 'all sections, no process' <<<$'[metrics]\nsections = "all"\nprocesses = 0'
  check 0 'zel show is zel show --every 2s --format json' <<<$'[show]\nevery = "2s"\nformat = "json"'
}

errors() {
  check 1 "zel.toml:2:1: there is no key 'listn' in [serve]; did you mean listen?" <<<$'[serve]\nlistn = ":9100"'
  check 1 "zel.toml:1:2: there is no table [sevre]; did you mean serve?" <<<$'[sevre]'
  check 1 'zel.toml:2:14: sample-age is a text in quotes, not a whole number; did you mean "1s"?' <<<$'[serve]\nsample-age = 1'
  check 1 'zel.toml:2:14: sample-age 3s: the most is 2s' <<<$'[serve]\nsample-age = "3s"'
  check 1 'zel.toml:2:15: connections 0: a whole number from 1 to 8192' <<<$'[serve]\nconnections = 0'
  check 1 "zel.toml:2:10: listen 80: '80' is no address to listen on" <<<$'[serve]\nlisten = "80"'
  check 1 'zel.toml:2:7: no TOML: ' <<<$'[serve]\nlisten'
  check 1 'would show this host to everybody who reaches :9100' <<<$'[serve]\nlisten = ":9100"'
  check 1 "textfile-directory $scratch/none: No such file or directory" <<<"[metrics]
textfile-directory = '$scratch/none'"
  check 1 'No such file or directory' <<<$'[serve]\ntoken-file = "/none"'
  head -c 3000 /dev/urandom | check 1 'no TOML: '
  head -c 70000 /dev/zero | tr '\0' '\n' | check 1 'larger than any configuration'
  local status=0
  for wrong in "$scratch/none" "$scratch" "one two"; do
    status=0
    # shellcheck disable=SC2086 # two words are one FILE too many
    "$zel" check $wrong >"$scratch/out" 2>&1 || status=$?
    [ "$status" = "$([ "$wrong" = 'one two' ] && echo 2 || echo 1)" ] || fail "zel check $wrong: status $status"
  done
  mkfifo "$scratch/pipe"
  timeout 20 "$zel" check "$scratch/pipe" >"$scratch/out" 2>&1 || status=$?
  [ "$status" != 124 ] || fail "a pipe is waited for"
}

secrets() {
  local name
  for name in one two; do
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj "/CN=$name" -keyout "$scratch/$name.key" \
      -out "$scratch/$name.pem" 2>/dev/null
  done
  openssl rand -hex 32 >"$scratch/token"
  chmod 600 "$scratch"/*.key "$scratch/token"
  # A trusted way: the directory is that of root or of this user alone.
  local tls="[serve]
certificate = '$scratch/one.pem'
key = '$scratch/one.key'"
  check 0 'encrypts with TLS' <<<"$tls"
  check 0 'asks for the token of' <<<"[serve]
token-file = '$scratch/token'"
  [ "$(id -u)" -ne 0 ] || check 0 'token: zel.service has a user of its own' <<<"[serve]
token-file = '$scratch/token'"
  check 1 'one.pem with key' <<<"${tls/one.key/two.key}"
  check 1 'certificate' <<<"${tls/one.pem/token}"
  check 1 'TLS needs both a certificate and its key' <<<"${tls/key*/}"
  check 0 '/run/credentials/zel.service/token is there only for the service' <<<$'[serve]
listen = ":9100"
token-file = "/run/credentials/zel.service/token"'
  expired
  chmod 644 "$scratch/token"
  check 1 'everybody may read it' <<<"[serve]
token-file = '$scratch/token'"
  printf '[serve]\n' >"$scratch/open.toml"
  chmod 666 "$scratch/open.toml"
  "$zel" check "$scratch/open.toml" 2>&1 | grep -qF 'users other than its owner may change it' || fail "rights are not remarked"
}

# A certificate whose time is over: valid for the first day of 2020.
expired() {
  openssl req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=old -keyout "$scratch/old.key" -out "$scratch/old.csr" 2>/dev/null
  mkdir -p "$scratch/ca"
  : >"$scratch/ca/index"
  echo 01 >"$scratch/ca/serial"
  printf '[ca]\ndefault_ca = d\n[d]\ndatabase = %s\nserial = %s\nnew_certs_dir = %s\ndefault_md = sha256\npolicy = p\n[p]\ncommonName = supplied\n' \
    "$scratch/ca/index" "$scratch/ca/serial" "$scratch/ca" >"$scratch/ca/conf"
  openssl ca -batch -config "$scratch/ca/conf" -selfsign -keyfile "$scratch/old.key" -in "$scratch/old.csr" -out "$scratch/old.pem" \
    -startdate 20200101000000Z -enddate 20200102000000Z 2>/dev/null
  chmod 600 "$scratch/old.key"
  check 1 'old.pem: its time is over' <<<"[serve]
certificate = '$scratch/old.pem'
key = '$scratch/old.key'"
}

# The command line wins over the file, and a broken default file leaves a host that can be looked at.
command_line_wins() {
  printf '[show]\nformat = "json"\nwide = true\n' >"$scratch/zel.toml"
  "$zel" show load --config "$scratch/zel.toml" | python3 -m json.tool >/dev/null || fail "the format of the file is not taken"
  "$zel" show load --raw --config "$scratch/zel.toml" --format csv | grep -q '^section,' || fail "the command line does not win"
}

unit() {
  local score text
  command -v systemd-analyze >/dev/null || {
    skipped="the unit is not analysed: systemd-analyze is not installed (Debian: systemd)"
    return
  }
  text=$(systemd-analyze security --offline=yes "$source/packaging/systemd/zel.service" 2>&1) || true
  score=$(sed -n 's/.*level for zel.service: \([0-9.]*\).*/\1/p' <<<"$text")
  if [ -z "$score" ]; then
    fail "systemd-analyze gives no level of exposure: $text"
  else
    echo "zel.service: exposure $score"
    awk -v score="$score" 'BEGIN { exit !(score <= 2.5) }' || fail "the unit is exposed: $score"
  fi
  ! systemd-analyze verify "$source/packaging/systemd/zel.service" 2>&1 | grep -E 'Unknown|Failed to parse|Invalid' >&2 || fail "the unit is wrong"
}

plans
errors
secrets
command_line_wins
unit
python3 "$source/tests/outside/zel_service.py" "$zel" "$scratch" "$source/packaging/systemd/zel.service" || failed=1
python3 "$source/tests/outside/serve_reloads.py" "$zel" "$scratch" || failed=1
[ $failed -eq 0 ] || exit 1
[ -z "$skipped" ] || {
  echo "zel_service: all but this passes: $skipped"
  exit 77
}
