#!/usr/bin/env bash
# The metrics of this host as the readers of both formats take them: promtool has no remark beyond those on the names that
# other exporters gave; the reader of OpenMetrics that Prometheus' own Python client has takes the page; both formats have
# the same series; lines of the line protocol have its form.
#   metrics_text.sh SOURCE BUILD
set -euo pipefail
zel=$2/bin/zel
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

skip() {
  echo "metrics_text: skipped, $*"
  exit 77
}
[ -x "$zel" ] || skip "$zel is not built"
command -v promtool >/dev/null || skip "promtool is not installed (Debian: apt-get install prometheus)"
/usr/bin/python3 -c 'import prometheus_client' 2>/dev/null ||
  skip "prometheus_client is not installed (Debian: apt-get install python3-prometheus-client)"

failed=0
fail() {
  echo "metrics_text: $*" >&2
  failed=1
}

# Names that dashboards know cannot be changed: capital letters and bits are theirs. "sec" is the kernel's secondary.
known="^zel_vm_nr_sec_page_table_pages metric names should not contain abbreviated units$|^node_[A-Za-z0-9_]+ (metric names should be written in 'snake_case' not 'camelCase'|use base unit \"bytes\" instead of \"bits\")$"

for more in "" --all; do
  # shellcheck disable=SC2086 # no word or one
  "$zel" show --format prometheus $more >"$scratch/page" 2>"$scratch/err" || fail "zel show: $(head -c 300 "$scratch/err")"
  promtool check metrics <"$scratch/page" >"$scratch/remarks" 2>&1 || true
  grep -vE "$known" "$scratch/remarks" >"$scratch/ours" && fail "promtool${more:+ ($more)}: $(head -n 20 "$scratch/ours")"
  # shellcheck disable=SC2086
  "$zel" show --format openmetrics $more >"$scratch/open" 2>"$scratch/err" || fail "zel show: $(head -c 300 "$scratch/err")"
  /usr/bin/python3 - "$scratch/page" "$scratch/open" <<'END' || fail "the formats ${more:+($more)}"
import sys
from prometheus_client.openmetrics.parser import text_string_to_metric_families as read_open
from prometheus_client.parser import text_string_to_metric_families as read_text

# What comes and goes between two samples: processes, and reasons.
MOVING = ("zel_processes_", "zel_absent")

def series(families):
    found = {(sample.name, tuple(sorted(sample.labels.items()))) for family in families for sample in family.samples}
    assert len(found) == sum(len(family.samples) for family in families), "a series twice"
    return {(name, labels) for name, labels in found if not name.startswith(MOVING)}

text = list(read_text(open(sys.argv[1], newline="").read()))
opened = list(read_open(open(sys.argv[2], newline="").read()))
assert len(text) > 100, len(text)
difference = series(text) ^ series(opened)
assert len(difference) < 20, sorted(difference)[:10]
END
done

"$zel" show --format line >"$scratch/lines" 2>"$scratch/err" || fail "zel show: $(head -c 300 "$scratch/err")"
python3 - "$scratch/lines" "$(uname -n)" <<'END' || fail "line protocol"
import re, sys
token = r"(?:[^\\,= \n]|\\.)+"
value = r'(?:-?\d+i|-?\d+(?:\.\d+)?(?:e[-+]?\d+)?|"(?:[^"\\]|\\.)*")'
line = re.compile(rf"({token})((?:,{token}={token})*) {token}={value}(?:,{token}={value})* (\d+)")
lines = open(sys.argv[1], newline="").read().split("\n")
assert lines.pop() == "" and len(lines) > 40, len(lines)
matches = [line.fullmatch(text) or sys.exit("no line: " + text[:200]) for text in lines]
assert len({match[3] for match in matches}) == 1, "several times"
assert all(match[2].startswith(",host=" + sys.argv[2]) for match in matches), matches[0][0]
assert len({(match[1], match[2]) for match in matches}) == len(matches), "a point twice"
END
exit $failed
