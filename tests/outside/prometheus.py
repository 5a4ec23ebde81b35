"""A real Prometheus scrapes `zel serve`: rates, rules, dashboard, restarts of both sides, and the text itself.

  prometheus.py SOURCE BUILD SCRATCH SECONDS
"""

import json
import os
import re
import shutil
import subprocess
import sys
import time

import dashboard
from process_kit import free_port
from prometheus_kit import PATIENCE, Failure, Program, Prometheus, eventually, fetch

INTERVAL = 3  # seconds from scrape to scrape, which one may take
SAMPLE_AGE = 2  # less than that: each scrape has a sample of its own

# Counters of /api/v1/sample and the series that they are in: section, labels of both, field, family, factor.
COUNTERS = [
    ("processors", {"cpu": "cpu"}, "user_seconds_total", "node_cpu_seconds_total{mode='user'}"),
    ("processors", {"cpu": "cpu"}, "system_seconds_total", "node_cpu_seconds_total{mode='system'}"),
    ("processors", {"cpu": "cpu"}, "idle_seconds_total", "node_cpu_seconds_total{mode='idle'}"),
    ("activity", {}, "context_switches_total", "node_context_switches_total"),
    ("activity", {}, "interrupts_total", "node_intr_total"),
    ("activity", {}, "forks_total", "node_forks_total"),
    ("disks", {"device": "name"}, "reads_total", "node_disk_reads_completed_total"),
    ("disks", {"device": "name"}, "written_bytes_total", "node_disk_written_bytes_total"),
    ("interfaces", {"device": "name"}, "receive_bytes_total", "node_network_receive_bytes_total"),
    ("interfaces", {"device": "name"}, "transmit_packets_total", "node_network_transmit_packets_total"),
]
# Of the processors, by their shares of all the time: field and mode.
SHARES = {"idle_ratio": "idle", "system_ratio": "system"}
# Our rates of the same: section, labels, field, family.
RATES = [
    ("activity", {}, "context_switches_per_second", "node_context_switches_total"),
    ("activity", {}, "interrupts_per_second", "node_intr_total"),
    ("activity", {}, "forks_per_second", "node_forks_total"),
    ("disks", {"device": "name"}, "reads_per_second", "node_disk_reads_completed_total"),
    ("disks", {"device": "name"}, "written_bytes_per_second", "node_disk_written_bytes_total"),
    ("interfaces", {"device": "name"}, "receive_bytes_per_second", "node_network_receive_bytes_total"),
    ("interfaces", {"device": "name"}, "transmit_packets_per_second", "node_network_transmit_packets_total"),
]
AREAS = {"activity": "interrupts", "disks": "disks", "interfaces": "interfaces"}  # whose time their rates go by
# Series that every device has from its first scrape to its last, and what tells devices apart.
DEVICES = "{__name__=~'node_cpu_seconds_total|node_disk_(reads_completed|written_bytes)_total|node_network_(receive|transmit)_bytes_total'}"
CONFIGURATION = """
global: { scrape_interval: %ds, scrape_timeout: %ds, evaluation_interval: 1s }
rule_files: [ "rules/*.yml" ]
scrape_configs:
  - job_name: zel
    static_configs: [ { targets: [ "127.0.0.1:%d" ] } ]
"""


class Proof:
    def __init__(self, source, build, scratch, seconds):
        self.source, self.scratch, self.seconds = source, scratch, seconds
        port = free_port()
        self.url = f"http://127.0.0.1:{port}"
        self.zel = Program("zel", [f"{build}/bin/zel", "serve", "--listen", f"127.0.0.1:{port}", "--sample-age",
                                   f"{SAMPLE_AGE}s"], f"{self.url}/healthz", scratch)
        self.rules()
        self.prometheus = Prometheus(scratch, CONFIGURATION % (INTERVAL, INTERVAL, port))

    def rules(self):
        """The rules of contrib/, which here do not wait before they fire."""
        target = os.path.join(self.scratch, "rules")
        os.makedirs(target)
        for name in ("host.rules.yml", "host.alerts.yml"):
            with open(f"{self.source}/contrib/prometheus/{name}", encoding="utf-8") as file:
                text = re.sub(r"^( +for: ).*$", r"\g<1>1s", file.read(), flags=re.M)
            with open(f"{target}/{name}", "w", encoding="utf-8") as file:
                file.write(text)

    # --- The text ----------------------------------------------------------------------------------------------------

    def check_text(self):
        """promtool has no remark, but on names that it does not like in the peer either."""
        remarks = lint(fetch(f"{self.url}/metrics", accept="text/plain;version=0.0.4"))
        peers = lint(self.peer_text()) if shutil.which("prometheus-node-exporter") else set()
        ours = {remark for remark in remarks - peers if not is_name_of_peer(remark)}
        if ours:
            raise Failure("promtool check metrics: " + "; ".join(sorted(ours)))
        print(f"promtool: {len(remarks)} remarks, all on names of the peer")

    def peer_text(self):
        port = free_port()
        url = f"http://127.0.0.1:{port}/metrics"
        peer = Program("peer", ["prometheus-node-exporter", f"--web.listen-address=127.0.0.1:{port}"], url,
                       self.scratch)
        try:
            peer.start()
            return fetch(url)
        finally:
            peer.stop()

    # --- Rates -------------------------------------------------------------------------------------------------------

    def moment(self, after=0.0):
        """A sample that the server also gave to a scrape, and the time of that scrape, which is later than `after`."""
        def shared():
            sample = json.loads(fetch(f"{self.url}/api/v1/sample"))
            rows = self.prometheus.query("zel_sample_time_seconds[30s]")
            for at, value in rows[0][1] if rows else []:
                if at > after and abs(value - sample["time_seconds"]) < 1e-6:
                    return at, sample
            time.sleep(0.2)
            return None
        return eventually("sample that a scrape has as well", shared)

    def check_rates(self, first, last, what):
        """increase and rate over the scrapes of the two samples, against the samples themselves."""
        (begin, before), (end, now) = first, last
        window = round((end - begin) * 1000)
        compared = 0
        for section, labels, field, family in COUNTERS:
            rows = by_labels(self.prometheus.query(f"rate({family}[{window}ms])", at=end))
            for old, new in pairs(before[section], now[section], labels.values()):
                if old[field] is None or new[field] is None:
                    continue
                expected = (new[field] - old[field]) / (end - begin)
                found = values_of(rows, labels, new)
                if not found and is_left_out(family, new):
                    continue
                compared += 1
                if len(found) != 1 or abs(found[0] - expected) > 1e-6 * max(1, expected):
                    raise Failure(f"{what}: rate of {family} of {new.get('name', '')} is {found}, not {expected}")
        if compared < 12:
            raise Failure(f"{what}: only {compared} rates were compared")
        print(f"{what}: {compared} rates over {end - begin:.1f} s are those of the samples")

    def adjacent(self):
        """A sample, the rates from it to the next, and the times of the scrapes that have both."""
        def found():
            begin, before = self.moment()
            scrape = eventually("next scrape", lambda: self.scrape_after(begin))
            rates = json.loads(fetch(f"{self.url}/api/v1/sample?rates=true"))
            is_of_scrape = abs(rates["time_seconds"] - scrape[1]) < 1e-6
            begun = rates["time_seconds"] - rates["interval_seconds"]
            # The two clocks of a sample are read one after the other.
            return (begin, scrape[0], before, rates) if is_of_scrape and abs(begun - before["time_seconds"]) < 0.5 else None
        return eventually("rates between two scrapes", found, 2 * PATIENCE)

    def scrape_after(self, begin):
        """Time and sample of the first scrape that is later."""
        rows = self.prometheus.query("zel_sample_time_seconds[30s]")
        return next((row for row in (rows[0][1] if rows else []) if row[0] > begin), None)

    def check_own_rates(self):
        """The rates of the tool, over the time between the readings of their area, against those of Prometheus."""
        begin, end, before, now = self.adjacent()
        window = f"[{round((end - begin) * 1000)}ms]"
        compared = 0
        for section, labels, field, family in RATES:
            rows = by_labels(self.prometheus.query(f"rate({family}{window})", at=end))
            area = AREAS[section]
            passed = now["areas"][area]["monotonic_seconds"] - before["areas"][area]["monotonic_seconds"]
            for row in rows_of(now[section]):
                found = values_of(rows, labels, row)
                if row[field] is None or len(found) != 1:
                    continue
                compared += 1
                grown, expected = row[field] * passed, found[0] * (end - begin)
                if abs(grown - expected) > 1e-4 * max(1, expected):
                    raise Failure(f"{field} of {row.get('name', section)}: grown by {grown}, in Prometheus by {expected}")
        compared += self.check_own_shares(window, end, now)
        if compared < 5:
            raise Failure(f"only {compared} rates of the tool were compared")
        print(f"own rates: {compared} over {end - begin:.1f} s are those of Prometheus")

    def check_own_shares(self, window, end, now):
        """Of the processors whose counters did not fall, as those of waiting may."""
        fallen = {row["cpu"] for row, value in self.prometheus.query(f"resets(node_cpu_seconds_total{window})", at=end)
                  if value}
        compared = 0
        for field, mode in SHARES.items():
            rows = by_labels(self.prometheus.query(
                f"sum by (cpu) (rate(node_cpu_seconds_total{{mode='{mode}'}}{window}))"
                f" / sum by (cpu) (rate(node_cpu_seconds_total{window}))", at=end))
            for row in now["processors"]:
                found = values_of(rows, {"cpu": "cpu"}, row)
                if row[field] is None or len(found) != 1 or str(row["cpu"]) in fallen:
                    continue
                compared += 1
                if abs(row[field] - found[0]) > 1e-4:
                    raise Failure(f"{field} of processor {row['cpu']} is {row[field]}, in Prometheus {found[0]}")
        return compared

    # --- Rules and dashboard -----------------------------------------------------------------------------------------

    def names(self):
        return set(self.prometheus.ask("label/__name__/values"))

    def check_rules(self):
        groups = self.prometheus.ask("rules")["groups"]
        present, results = self.names(), 0
        for rule in (rule for group in groups for rule in group["rules"]):
            if rule["health"] != "ok" or rule.get("lastError"):
                raise Failure(f"rule {rule['name']}: {rule['health']} {rule.get('lastError')}")
            if rule["type"] == "recording" and must_have_result(rule["query"], present):
                results += 1
                if not self.prometheus.query(rule["name"]):
                    raise Failure(f"{rule['name']} has no result")
        if results < 10:
            raise Failure(f"only {results} recorded rules must have a result here")
        print(f"rules: {sum(len(group['rules']) for group in groups)} evaluate, {results} recorded have results")

    def check_dashboard(self):
        board = dashboard.load(f"{self.source}/contrib/grafana/host.json")
        values = {"$instance": self.url.removeprefix("http://"), "$__rate_interval": "15s"}
        present, shown, quiet = self.names(), 0, set()
        for title, text in dashboard.expressions(board, values):
            rows = self.prometheus.query(text)
            if must_have_result(text, present):
                shown += 1
                if not rows:
                    raise Failure(f"panel {title}: no result of {text}")
            quiet |= dashboard.metrics_of(text) - present
        if shown < 40:
            raise Failure(f"only {shown} expressions of the dashboard must have a result here")
        print(f"dashboard: {shown} expressions have results; this host has no {', '.join(sorted(quiet)) or 'lack'}")

    # --- Restarts ----------------------------------------------------------------------------------------------------

    def firing(self, name):
        return [alert for alert in self.prometheus.ask("alerts")["alerts"]
                if alert["labels"]["alertname"] == name and alert["state"] == "firing"]

    def check_restart_of_zel(self, first):
        series = series_of_devices(self.prometheus.query(DEVICES))
        if self.zel.stop() != 0:
            raise Failure(f"zel serve ended with {self.zel.process.returncode}: {self.zel.said()}")
        eventually("up of 0", lambda: self.prometheus.number("up") == 0)
        eventually("alert that the host is down", lambda: self.firing("HostDown"))
        self.zel.start()
        started = time.time()
        eventually("up of 1", lambda: self.prometheus.number("up") == 1)
        eventually("end of the alert", lambda: not self.firing("HostDown"))
        again = series_of_devices(self.prometheus.query(DEVICES))
        both = series.keys() & again.keys()
        other = [device for device in both if series[device] != again[device]]
        if other or not any(device[0] for device in both):
            raise Failure(f"a restart of zel makes other series of {other}, of {sorted(both)}")
        self.check_rates(first, self.moment(started), "over a restart of zel")

    def check_restart_of_prometheus(self, first):
        at = first[0]
        before = self.prometheus.query("{job='zel',__name__=~'node_.*'}", at=at)
        stopped = time.time()
        self.prometheus.stop()
        self.prometheus.start()
        started = time.time()
        last = self.moment(started)
        eventually("scrapes after the restart", lambda: self.prometheus.number("up", at=time.time()) == 1)
        if key(self.prometheus.query("{job='zel',__name__=~'node_.*'}", at=at)) != key(before):
            raise Failure("a restart of Prometheus loses what it had")
        times = [moment for moment, _ in self.prometheus.query("up[5m]")[0][1]]
        gaps = [(b - a, a) for a, b in zip(times, times[1:]) if b - a > 3 * INTERVAL]
        if any(begin + length < stopped or begin > started for length, begin in gaps):
            raise Failure(f"gaps beside the restart: {gaps}, which was from {stopped} to {started}")
        self.check_rates(first, last, "over a restart of Prometheus")

    def run(self):
        try:
            self.zel.start()
            self.check_text()
            self.prometheus.start()
            eventually("up of 1", lambda: self.prometheus.number("up") == 1)
            first = self.moment()
            time.sleep(max(0.0, first[0] + self.seconds - time.time()))
            self.check_rates(first, self.moment(), "scraped")
            if self.prometheus.number(f"min_over_time(up[{self.seconds}s])") != 1:
                raise Failure("a scrape failed")
            self.check_own_rates()
            self.check_rules()
            self.check_dashboard()
            self.check_restart_of_zel(first)
            self.check_restart_of_prometheus(first)
            print(f"zel serve: {self.zel.memory() / 1e6:.1f} MB, {self.zel.processor_seconds():.2f} s of processor time")
        finally:
            self.prometheus.stop()
            self.zel.stop()


def lint(text):
    checked = subprocess.run(["promtool", "check", "metrics"], input=text, capture_output=True, text=True, check=False)
    remarks = {line for line in (checked.stdout + checked.stderr).splitlines() if line}
    if checked.returncode not in (0, 3):  # 3: parsed, with remarks
        raise Failure(f"promtool check metrics: {remarks}")
    return remarks


def is_name_of_peer(remark):
    """promtool wants other names than the peer has, whose families carry those of the kernel."""
    return bool(re.match(r"node_(memory|netstat|entropy|sockstat)_\w+ (metric names should be written in 'snake_case'"
                         r"|use base unit)", remark))


def by_labels(rows):
    return {tuple(sorted(labels.items())): value for labels, value in rows}


def values_of(rows, labels, wanted):
    """Those of the series whose labels have the values of the row; `labels` gives their names in both."""
    return [value for row, value in rows.items()
            if all(dict(row).get(ours) == str(wanted[theirs]) for ours, theirs in labels.items())]


def series_of_devices(rows):
    """The label sets of each processor and device."""
    devices = {}
    for labels, _ in rows:
        devices.setdefault((labels.get("cpu", ""), labels.get("device", "")), set()).add(tuple(sorted(labels.items())))
    return devices


def rows_of(section):
    return section if isinstance(section, list) else [section]


def pairs(before, now, labels):
    """The rows of two samples that are of one thing."""
    old = {tuple(row[label] for label in labels): row for row in rows_of(before)}
    for row in rows_of(now):
        identity = tuple(row[label] for label in labels)
        if identity in old:
            yield old[identity], row


def is_left_out(family, row):
    """What the peer does not show: the loopback interface, and disks that are loops, memory or partitions."""
    if family.startswith("node_disk_"):
        return re.match(r"(ram|loop|fd)\d", row["name"]) or row.get("parent")
    return family.startswith("node_network_") and row["name"] == "lo"


def must_have_result(expression, present):
    """What compares may be empty; all else has a result as soon as all its metrics are there."""
    names = dashboard.metrics_of(expression) | set(re.findall(r"\binstance\w*:[\w:]+", expression))
    return not re.search(r"[<>]|==", expression) and names <= present


def key(rows):
    return sorted((tuple(sorted(labels.items())), value) for labels, value in rows)


def main():
    source, build, scratch, seconds = sys.argv[1:]
    try:
        Proof(source, build, scratch, int(seconds)).run()
    except Failure as failure:
        print(f"prometheus: {failure}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
