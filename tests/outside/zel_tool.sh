#!/usr/bin/env bash
# The tool zel as its users run it: help, every wrong command line, outputs that end early or cannot be written, terminals, repeated
# samples, other roots, JSON and CSV by other readers.
#   zel_tool.sh SOURCE BUILD
set -euo pipefail
source=$1
zel=$2/bin/zel
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export LC_ALL=C.UTF-8
unset NO_COLOR

command -v python3 >/dev/null || {
  echo "zel_tool: skipped, python3 is not installed"
  exit 77
}

failed=0
fail() {
  echo "zel_tool: $*" >&2
  failed=1
}
# expect STATUS ARGUMENT...: runs zel; its output is in out and err of the scratch directory.
expect() {
  local wanted=$1 status=0
  shift
  "$zel" "$@" >"$scratch/out" 2>"$scratch/err" || status=$?
  [ "$status" = "$wanted" ] || fail "zel $*: exit status $status, not $wanted: $(head -c 300 "$scratch/err")"
}
# says FILE TEXT: the text is in out or err.
says() { grep -qF -- "$2" "$scratch/$1" || fail "$1 does not say '$2' but: $(head -c 400 "$scratch/$1")"; }
quiet() { [ ! -s "$scratch/$1" ] || fail "$1 is not empty: $(head -c 300 "$scratch/$1")"; }
# refuses MESSAGE ARGUMENT...: status 2, the message on standard error, nothing on standard output.
refuses() {
  expect 2 "${@:2}"
  says err "$1"
  says err "try: zel "
  quiet out
}

help_and_version() {
  expect 0
  says out "usage: zel COMMAND"
  local command
  for command in show list hardware; do
    grep -qE "^  $command .* [a-z]" "$scratch/out" || fail "the table has no line for $command"
  done
  for command in show list hardware; do
    expect 0 "$command" --help
    says out "usage: zel $command"
    says out "examples"
    says out "exit status"
    quiet err
    [ "$(wc -L <"$scratch/out")" -le 80 ] || fail "the help of $command is $(wc -L <"$scratch/out") columns wide"
  done
  expect 0 --help
  expect 0 show -h
  expect 0 --version
  grep -qxE 'zel [0-9]+\.[0-9]+\.[0-9]+' "$scratch/out" || fail "--version: $(cat "$scratch/out")"
}

# Every command of the examples in a help is one that zel takes.
examples_run() {
  local command line
  "$zel" hardware --format json >"$scratch/hardware.json"
  for command in show list hardware; do
    "$zel" "$command" --help | sed -n '/^examples/,/^exit/s/^  \(zel .*\)/\1/p' >"$scratch/examples"
    [ -s "$scratch/examples" ] || fail "$command has no examples"
    while read -r line; do
      line=${line%%>*}
      line=${line//--root \/host/--root \/}
      line=${line//--since hardware.json/--since $scratch/hardware.json}
      line=$(sed -E 's/--every [0-9a-z]+//; s/--count [0-9]+//' <<<"$line")
      # shellcheck disable=SC2086 # words of the example
      expect 0 ${line#zel }
    done <"$scratch/examples"
  done
}

wrong_command_lines() {
  refuses "there is no command 'shwo'; did you mean show? (commands: show, list, hardware, serve, check)" shwo
  refuses "there is no command 'xyzzy' (commands: show, list, hardware, serve, check)" xyzzy
  refuses "there is no option '--verson'; did you mean --version?" --verson
  refuses "there is no area 'disk'; did you mean disks? (areas: cpu, load, " show disk
  refuses "there is no area ''" show ''
  refuses "there is no area 'foo'" list cpu foo
  refuses "there is no option '--evry'; did you mean --every?" show --evry 1s
  refuses "there is no option '-x'" show load -x
  refuses "there is no option '--count'" list --count=3
  refuses "--every needs a value: --every TIME" show --every
  refuses "--root needs a value: --root DIR" show --root
  refuses "--raw takes no value" show --raw=no
  refuses "--every -1s: a duration is not negative" show --every -1s
  refuses "--every 0s: the least is 10ms" show --every 0s
  refuses "--every 5: the unit is missing; did you mean 5s?" show --every 5
  refuses "--every soon: a duration is a whole number with its unit" show --every soon
  refuses "--every 25h: the most is 24h" show --every 25h
  refuses "--deadline 1h: the most is 10m" show --deadline 1h
  refuses "--deadline -2s: a duration is not negative" show --deadline=-2s
  refuses "--count 0: a count is a whole number from 1 to " show --count 0
  refuses "--count -3: a count" show --count -3
  refuses "--count many: a count" show --count many
  refuses "--count 2x: a count" show --count 2x
  refuses "there is no format 'jsn'; did you mean json? (formats: table, json, csv, openmetrics, prometheus, line)" show --format jsn
  refuses "there is no format 'openmetric'; did you mean openmetrics?" show --format openmetric
  refuses "there is no format 'line' (formats: table, json, csv)" list --format line
  refuses "--rates: openmetrics and prometheus have counters" show --format openmetrics --rates
  refuses "--wide is for tables" show --format prometheus --wide
  refuses "--every and --count: openmetrics and prometheus are one page" show --format openmetrics --count 2
  refuses "--every and --count: openmetrics and prometheus are one page" show --format prometheus --every 1s
  expect 0 show load --format openmetrics --count 1
  [ "$(grep -c '^# EOF' "$scratch/out")" = 1 ] || fail "a page with --count 1 does not end once"
  refuses "--wide and --all are for tables: json, csv and line always have every field" show --format line --all
  refuses "--rates and --raw exclude each other" show --rates --raw
  refuses "--wide and --all are for tables" show --format json --all
  refuses "--rates and --absent exclude each other" list --rates --absent
  refuses "--root and --deadline are for --absent" list --root /
  refuses "--root $scratch/none: No such file or directory" list --absent --root "$scratch/none"
  refuses "--deadline 1h: the most is 10m" list --absent --deadline 1h
  refuses "--root $scratch/none: No such file or directory; a root is a directory that holds proc" show --root "$scratch/none"
  touch "$scratch/file"
  refuses "--root $scratch/file: Not a directory" show --root "$scratch/file"
  LC_ALL=C refuses "there is no area 'a?[2Jb'" show $'a\e[2Jb'
}

output_ends() {
  expect 0 show load --raw
  local status=0
  "$zel" show --raw interrupts | head -n 1 >/dev/null || status=$?
  [ $status = 0 ] || fail "a reader that goes away gives status $status"
  "$zel" show --every 20ms load 2>"$scratch/err" | head -n 5 >/dev/null || status=$?
  [ $status = 0 ] || fail "a reader that goes away ends repeated samples with status $status"
  quiet err
  for arguments in "show load" "show load --format json" "list" "--version" "--help"; do
    status=0
    # shellcheck disable=SC2086 # several words
    "$zel" $arguments >/dev/full 2>"$scratch/err" || status=$?
    [ $status = 1 ] || fail "zel $arguments on a full device: status $status"
    says err "zel: standard output: No space left on device"
  done
  status=0
  "$zel" show load >&- 2>"$scratch/err" || status=$?
  [ $status = 1 ] || fail "a closed output: status $status"
  says err "zel: standard output: Bad file descriptor"
  "$zel" show load >"$scratch/out" 2>&- </dev/null || fail "a closed standard error: status $?"
  says out "LOAD"
}

# on_terminal COLUMNS ARGUMENT...: what a terminal of this width gets, carriage returns and messages left out.
on_terminal() {
  python3 "$source/tests/outside/zel_terminal.py" "$1" "$zel" "${@:2}" | tr -d '\r' | sed '/^zel: /d'
}
widest() { sed 's/\x1b\[[0-9;]*[mK]//g; s/^measuring for 1s//' | wc -L; }

terminals() {
  local width escape=$'\033'
  for width in 60 80 120; do
    TERM=xterm on_terminal $width show --raw >"$scratch/terminal"
    [ "$(widest <"$scratch/terminal")" -le $width ] || fail "lines of $(widest <"$scratch/terminal") columns on a terminal of $width"
    grep -q "$escape\[1mMEMORY$escape\[0m" "$scratch/terminal" || fail "no colours on a terminal"
  done
  TERM=xterm on_terminal 80 show cpu >"$scratch/terminal"
  grep -q "measuring for 1s$escape\[K" "$scratch/terminal" || fail "no progress on a terminal, or it stays: $(head -c 100 "$scratch/terminal")"
  NO_COLOR=1 TERM=xterm on_terminal 80 show load >"$scratch/terminal"
  ! grep -q "$escape" "$scratch/terminal" || fail "colours with NO_COLOR"
  TERM=dumb on_terminal 80 show cpu >"$scratch/terminal"
  ! grep -q "$escape" "$scratch/terminal" || fail "escapes on a dumb terminal"
  ! grep -q measuring "$scratch/terminal" || fail "progress on a dumb terminal"
  TERM=xterm "$zel" show cpu >"$scratch/out" 2>"$scratch/err"
  ! grep -q "$escape" "$scratch/out" || fail "colours in a file"
  quiet err
  TERM=xterm on_terminal 60 show --raw --wide interrupts >"$scratch/terminal"
  [ "$(widest <"$scratch/terminal")" -gt 60 ] || fail "--wide keeps to the width"
}

interruption() {
  local status=0
  INTERRUPT_AFTER=LOAD TERM=xterm on_terminal 80 show load --every 200ms >"$scratch/terminal" || status=$?
  [ $status = 130 ] || fail "Ctrl-C: status $status"
  status=0
  INTERRUPT_AFTER="first measuring" TERM=xterm on_terminal 80 show cpu --every 1h >"$scratch/terminal" || status=$?
  [ $status = 130 ] || fail "Ctrl-C while the first interval passes: status $status"
  timeout -s TERM 1 "$zel" show load --every 100ms >"$scratch/out" 2>&1 || status=$?
  [ $status = 124 ] || fail "SIGTERM: status $status"
}

# Rates: a sample, an interval, the first output; then one each second, however long a sample takes.
pacing() {
  local started ended
  started=$(date +%s%N)
  "$zel" show cpu --rates --every 1s --count 3 --format json >"$scratch/out"
  ended=$(date +%s%N)
  python3 - "$scratch/out" $(((ended - started) / 1000000)) <<'END' || fail "pacing"
import json, sys
samples = [json.loads(line) for line in open(sys.argv[1])]
assert len(samples) == 3, len(samples)
times = [sample["time_seconds"] for sample in samples]
for earlier, later in zip(times, times[1:]):
    assert abs(later - earlier - 1) < 0.25, times
for sample in samples:
    assert abs(sample["interval_seconds"] - 1) < 0.25, sample["interval_seconds"]
    shares = sample["cpu"]
    assert shares["busy_ratio"] is not None, shares
    modes = ["user", "nice", "system", "idle", "iowait", "irq", "softirq", "steal", "guest", "guest_nice"]
    assert abs(sum(shares[mode + "_ratio"] or 0 for mode in modes) - 1) < 1e-9, shares
assert 2900 < int(sys.argv[2]) < 4500, sys.argv[2]
END
  "$zel" show load --count 3 --format json >"$scratch/out"
  python3 - "$scratch/out" <<'END' || fail "--count without --every is not a second apart"
import json, sys
times = [json.loads(line)["time_seconds"] for line in open(sys.argv[1])]
assert len(times) == 3 and all(abs(b - a - 1) < 0.25 for a, b in zip(times, times[1:])), times
END
  started=$(date +%s%N)
  "$zel" show --raw --count 1 >/dev/null
  ended=$(date +%s%N)
  [ $((ended - started)) -lt 900000000 ] || fail "--raw waits"
}

json_and_csv() {
  local arguments
  for arguments in "show" "show --rates --every 50ms --count 2" "show processes disks" "list" "list --rates"; do
    # shellcheck disable=SC2086 # several words
    "$zel" $arguments --format json >"$scratch/out"
    while read -r line; do
      python3 -m json.tool <<<"$line" >/dev/null || fail "zel $arguments: no JSON"
    done < <(head -n 20 "$scratch/out")
    # shellcheck disable=SC2086
    "$zel" $arguments --format csv >"$scratch/csv"
    python3 - "$scratch/csv" <<'END' || fail "zel $arguments: no CSV"
import csv, sys
text = open(sys.argv[1], newline="").read()
assert text.replace("\r\n", "").find("\n") < 0, "a line that does not end with CR LF"
header = None
for row in csv.reader(text.splitlines(keepends=True), strict=True):
    if not row:
        header = None
    elif header is None:
        header = row
        assert header[0] in ("section", "area") and all(header), header
    else:
        assert len(row) == len(header), (header, row)
END
  done
  # One section alone: one header for all samples.
  "$zel" show load --format csv --every 20ms --count 3 >"$scratch/csv"
  [ "$(grep -c '^section,' "$scratch/csv") $(wc -l <"$scratch/csv")" = "1 4" ] || fail "one section: $(cut -c 1-60 "$scratch/csv")"
}

# The names of zel list are the keys of the sample.
names_agree() {
  "$zel" list --format json >"$scratch/list"
  "$zel" show --format json >"$scratch/out" 2>/dev/null
  python3 - "$scratch/list" "$scratch/out" <<'END' || fail "zel list and zel show disagree"
import json, sys
families = {}
for line in open(sys.argv[1]):
    family = json.loads(line)
    families.setdefault(family["section"], []).append(family["name"])
sample = json.loads(open(sys.argv[2]).read())
for section, names in families.items():
    rows = sample[section] if isinstance(sample[section], list) else [sample[section]]
    for row in rows:
        assert [key for key in row if key != "absent"] == names, (section, list(row))
        assert {key for key, value in row.items() if value is None} == set(row.get("absent", {})), (section, row)
END
}

other_roots() {
  local root
  for root in "$source"/tests/fixtures/*/t0; do
    expect 0 show --root "$root" --format json
    python3 -m json.tool "$scratch/out" >/dev/null || fail "$root: no JSON"
    expect 0 show --root "$root" --raw
    [ "$(wc -l <"$scratch/out")" -gt 3 ] || fail "$root: hardly a table: $(cat "$scratch/out")"
  done
  # A relative root is one of the directory that zel is started in.
  (cd "$source/tests/fixtures" && "$zel" show --root ./linux-6.1.0/t0 load --format csv) >"$scratch/out"
  local wanted
  wanted=$(cut -d ' ' -f 1 "$source/tests/fixtures/linux-6.1.0/t0/proc/loadavg")
  [ "$(python3 -c 'import csv, sys; print(float(list(csv.DictReader(open(sys.argv[1])))[0]["load1"]))' "$scratch/out")" = \
    "$(python3 -c "print(float('$wanted'))")" ] || fail "a relative root: $(cat "$scratch/out")"

  # A root without its files: the area that was named fails, with file and reason, once.
  mkdir "$scratch/root"
  expect 1 show load --root "$scratch/root" --every 20ms --count 3
  [ "$(grep -cxF "zel: load: $scratch/root/proc/loadavg: No such file or directory (ENOENT)" "$scratch/err")" = 1 ] || fail "errors: $(cat "$scratch/err")"
  expect 1 show --root "$scratch/root" --raw
  says err "zel: memory: $scratch/root/proc/meminfo: No such file or directory (ENOENT)"
  mkdir "$scratch/root/proc"
  cp /proc/loadavg "$scratch/root/proc/"
  # What a host does not have is no failure where nobody named it.
  expect 0 show --root "$scratch/root" --raw
  ! grep -q "^zel: \(memory\|gpus\):" "$scratch/err" || fail "what nobody named is a failure: $(cat "$scratch/err")"
  expect 1 show memory --root "$scratch/root" --raw
  says err "zel: memory: $scratch/root/proc/meminfo: No such file or directory (ENOENT)"
  expect 0 show load --root "$scratch/root"
  quiet err
  expect 1 show load memory --root "$scratch/root" --format json
  python3 - "$scratch/out" <<'END' || fail "the error of an area in JSON"
import errno, json, sys
areas = json.load(open(sys.argv[1]))["areas"]
assert areas["memory"]["error"]["errno"] == errno.ENOENT and "meminfo" in areas["memory"]["error"]["file"], areas
assert "error" not in areas["load"], areas
END
}

# What a host lacks: every family that the sample of the same root has no value of, with its reason, and none besides.
absent_families() {
  local root="$source/tests/fixtures/linux-6.1.0/t0"
  expect 0 list --absent
  says out "ABSENT"
  quiet err
  expect 0 list --absent --root "$root" --format csv
  head -n 1 "$scratch/out" | grep -qxF $'area,section,name,reason,given_by,source,file,errno,error\r' || fail "CSV: $(head -n 1 "$scratch/out")"
  expect 0 list --absent --root "$root" --format json
  cp "$scratch/out" "$scratch/lacks"
  "$zel" list --format json >"$scratch/list"
  expect 0 show --root "$root" --format json
  python3 - "$scratch/list" "$scratch/out" "$scratch/lacks" <<'END' || fail "zel list --absent and zel show disagree"
import json, sys
families, sample, lacks = ([json.loads(line) for line in open(name)] for name in sys.argv[1:])
expected = set()
for family in families:
    section, name = family["section"], family["name"]
    if family["kind"] == "label" or not sample[0]["areas"].get(family["area"]):
        continue
    rows = sample[0][section] if isinstance(sample[0][section], list) else [sample[0][section]]
    reasons = {row["absent"][name] if row[name] is None else "" for row in rows}
    if not reasons & {"", "not_yet", "not_asked"}:
        expected.add((section, name))
found = {(lack["section"], lack["name"]) for lack in lacks}
assert found == expected, found ^ expected
assert len(lacks) == len(found) > 100
for lack in lacks:
    assert lack["reason"] in ("unsupported", "denied", "vanished", "timed_out", "malformed"), lack
END
  # A file that another user may not read says which right gives it.
  [ "$(id -u)" = 0 ] && command -v setpriv >/dev/null || return 0
  mkdir -p "$scratch/shut/proc"
  cp /proc/loadavg "$scratch/shut/proc/"
  chmod 600 "$scratch/shut/proc/loadavg"
  chmod 755 "$scratch" "$scratch/shut"
  cp "$zel" "$scratch/zel"
  setpriv --reuid=65534 --regid=65534 --clear-groups "$scratch/zel" list --absent load --root "$scratch/shut" >"$scratch/out" 2>"$scratch/err"
  says out "$scratch/shut/proc/loadavg: Permission denied (EACCES)"
  grep -qE '^  load +denied +root' "$scratch/out" || fail "a denied area: $(cat "$scratch/out")"
}

# A process whose name and command line would steer a terminal.
hostile_names() {
  mkdir -p "$scratch/hostile/proc"
  printf ' 1:  7 \033[2J\302\233 evil\342\200\256\n' | sed '1i\           CPU0' >"$scratch/hostile/proc/interrupts"
  printf 'cpu  1 1 1 1 1 1 1 1 1 1\nintr 1\nctxt 1\nbtime 1\nprocesses 1\nprocs_running 1\nprocs_blocked 0\n' >"$scratch/hostile/proc/stat"
  expect 0 show interrupts --root "$scratch/hostile" --raw
  says out "evil"
  ! grep -q $'\033\|\302\233\|\342\200\256' "$scratch/out" || fail "a name steers the terminal"
  expect 0 show interrupts --root "$scratch/hostile" --format json
  ! grep -q $'\033\|\302\233\|\342\200\256' "$scratch/out" || fail "a name steers the terminal through JSON"
  expect 0 show interrupts --root "$scratch/hostile" --format csv
  ! grep -q $'\033\|\302\233\|\342\200\256' "$scratch/out" || fail "a name steers the terminal through CSV"
  hostile_metrics openmetrics
  hostile_metrics prometheus
}
# The formats have no escapes for such bytes: a file gets them as they are, a terminal does not.
hostile_metrics() {
  expect 0 show interrupts --all --root "$scratch/hostile" --format "$1"
  grep -q $'\033' "$scratch/out" || fail "$1: a file does not get a name as it is"
  TERM=xterm on_terminal 80 show interrupts --all --root "$scratch/hostile" --format "$1" >"$scratch/terminal"
  says terminal "evil"
  ! grep -q $'\033\|\302\233\|\342\200\256' "$scratch/terminal" || fail "a name steers the terminal through $1"
  [ "$(grep -c . "$scratch/terminal")" = "$(grep -c . "$scratch/out")" ] || fail "$1: a terminal gets other lines than a file"
}

# hardware: parts, what changed since an earlier run, files that are none of one.
hardware() {
  refuses "there is no part 'pic'; did you mean pci? (parts: machine, processors, memory, " hardware pic
  refuses "there is no format 'csv' (formats: table, json)" hardware --format csv
  refuses "--since needs a value: --since FILE" hardware --since
  refuses "--deadline 1h: the most is 10m" hardware --deadline 1h
  refuses "--wide and --all are for tables" hardware --format json --all
  refuses "--root $scratch/none: No such file or directory" hardware --root "$scratch/none"
  expect 0 hardware processors
  says out "PROCESSORS"
  quiet err
  expect 0 hardware processors --all
  says out "threads_per_core"
  expect 0 hardware processors machine --format json
  cp "$scratch/out" "$scratch/before"
  expect 0 hardware processors machine --since "$scratch/before"
  quiet out
  quiet err
  python3 - "$scratch/before" "$scratch/edited" <<'END'
import json, sys
inventory = json.load(open(sys.argv[1]))
package = inventory["processor_packages"][0]
package["threads"] += 1
inventory["processor_packages"].append(dict(package, package=99))
inventory["machine"]["host_name"] = "another\x1b[2J"
json.dump(inventory, open(sys.argv[2], "w"))
END
  expect 0 hardware processors --since "$scratch/edited"
  says out "~ processor package 0 threads: "
  says out "- processor package 99 ("
  [ "$(wc -l <"$scratch/out")" = 2 ] || fail "changes: $(cat "$scratch/out")"
  expect 0 hardware machine --since "$scratch/edited"
  says err "is of another host: another"
  ! grep -q $'\033' "$scratch/out" "$scratch/err" || fail "a name steers the terminal through --since"
  expect 0 hardware processors --since - --format json <"$scratch/edited"
  python3 - "$scratch/out" <<'END' || fail "changes in JSON"
import json, sys
changes = json.load(open(sys.argv[1]))["changes"]
assert [change["change"] for change in changes] == ["changed", "went"], changes
END
  expect 1 hardware pci --since "$scratch/before"
  says err "pci is not compared: $scratch/before does not have it"
  expect 1 hardware --since "$scratch/none"
  says err "zel: hardware: --since $scratch/none: No such file or directory"
  expect 1 hardware --since /dev/zero
  says err "is larger than any inventory"
  "$zel" show load --format json >"$scratch/sample"
  local file
  for file in /etc/passwd "$scratch/sample" /dev/null; do
    expect 1 hardware --since "$file"
    says err "make one with zel hardware --format json"
    quiet out
  done
  expect 1 hardware processors --root "$scratch/root"
  says err "zel: processors: $scratch/root/proc/cpuinfo: No such file or directory (ENOENT)"
}

help_and_version
examples_run
wrong_command_lines
output_ends
terminals
interruption
pacing
json_and_csv
names_agree
other_roots
absent_families
hostile_names
hardware
exit $failed
