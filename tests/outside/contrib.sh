#!/usr/bin/env bash
# What contrib/ has for Prometheus and Grafana: rules and the expressions of the dashboard parse, every alert fires and
# stays quiet when its test says so, every alert has one, every metric that they name exists, and
# the configurations of Prometheus in documents are such.
#   contrib.sh SOURCE BUILD
set -euo pipefail
source=$1
build=$2
export PYTHONDONTWRITEBYTECODE=1
contrib=$source/contrib
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "contrib: $*" >&2
  exit 1
}
for tool in promtool python3; do
  command -v $tool >/dev/null || { echo "contrib: skipped, $tool is not installed (Debian: prometheus, python3)" && exit 77; }
done

rules=("$contrib"/prometheus/host.rules.yml "$contrib"/prometheus/host.alerts.yml)
promtool check rules "${rules[@]}" >"$scratch/check" 2>&1 || fail "$(cat "$scratch/check")"

alerts=$(sed -n 's/^ *- alert: //p' "${rules[@]}" | sort)
[ "$(uniq -d <<<"$alerts")" = "" ] || fail "two alerts have one name"
tested=$(sed -n 's/.*alertname: \([A-Za-z]*\).*/\1/p' "$contrib"/prometheus/tests/*.yml | sort -u)
diff <(echo "$alerts") <(echo "$tested") >&2 || fail "alerts without a test, or tests without an alert"
for alert in $alerts; do
  grep -A 1 "alertname: $alert\$" "$contrib"/prometheus/tests/*.yml | grep -q exp_alerts || fail "no test has $alert firing"
done
promtool test rules "$contrib"/prometheus/tests/*.yml >"$scratch/test" 2>&1 || fail "$(cat "$scratch/test")"

python3 "$source/tests/outside/dashboard.py" check "$contrib/grafana/host.json"
python3 "$source/tests/outside/dashboard.py" rules "$contrib/grafana/host.json" >"$scratch/dashboard.yml"
promtool check rules "$scratch/dashboard.yml" >"$scratch/check" 2>&1 || fail "the dashboard: $(cat "$scratch/check")"
python3 "$source/tests/outside/metric_names.py" "$source" "$build" "${rules[@]}" "$contrib/grafana/host.json"
promtool check config "$contrib/prometheus/prometheus.yml" >"$scratch/check" 2>&1 || fail "$(cat "$scratch/check")"

# What documents show: the files that it names are the reader's own.
examples=0
for document in fleet serve; do
  python3 "$source/tests/outside/prometheus_examples.py" "$source/docs/$document.md" "$scratch" >"$scratch/examples"
  while read -r path agent; do
    promtool check config --syntax-only ${agent:+"$agent"} "$path" >"$scratch/check" 2>&1 || fail "docs/$document.md: $(cat "$scratch/check")"
    examples=$((examples + 1))
  done <"$scratch/examples"
done
[ $examples -ge 3 ] || fail "only $examples configurations of Prometheus in documents"
echo "contrib: $(wc -l <<<"$alerts") alerts, $(grep -c record: "${rules[0]}") recorded rules," \
  "$(grep -c record: "$scratch/dashboard.yml") expressions of the dashboard, $examples configurations in documents"
