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
from prometheus_kit import Failure, Program, Prometheus, eventually, fetch, free_port

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
CONFIGURATION = """
global: { scrape_interval: 1s, scrape_timeout: 1s, evaluation_interval: 1s }
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
        self.zel = Program("zel", [f"{build}/bin/zel", "serve", "--listen", f"127.0.0.1:{port}", "--sample-age", "2s"],
                           f"{self.url}/healthz", scratch)
        self.rules()
        self.prometheus = Prometheus(scratch, CONFIGURATION % port)

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
            rows = self.prometheus.query("zel_sample_time_seconds[10s]")
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
            rows = {tuple(sorted(row.items())): value
                    for row, value in self.prometheus.query(f"rate({family}[{window}ms])", at=end)}
            for old, new in pairs(before[section], now[section], labels.values()):
                if old[field] is None or new[field] is None:
                    continue
                expected = (new[field] - old[field]) / (end - begin)
                found = [value for row, value in rows.items()
                         if all(dict(row).get(ours) == str(new[theirs]) for ours, theirs in labels.items())]
                if not found and is_left_out(family, new):
                    continue
                compared += 1
                if len(found) != 1 or abs(found[0] - expected) > 1e-6 * max(1, expected):
                    raise Failure(f"{what}: rate of {family} of {new.get('name', '')} is {found}, not {expected}")
        if compared < 12:
            raise Failure(f"{what}: only {compared} rates were compared")
        print(f"{what}: {compared} rates over {end - begin:.1f} s are those of the samples")

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
        values = {"$instance": self.url.removeprefix("http://"), "$__rate_interval": "10s"}
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
        series = self.prometheus.number("count(last_over_time({__name__=~'node_(cpu|disk|network)_.*'}[1m]))")
        if self.zel.stop() != 0:
            raise Failure(f"zel serve ended with {self.zel.process.returncode}: {self.zel.said()}")
        eventually("up of 0", lambda: self.prometheus.number("up") == 0)
        eventually("alert that the host is down", lambda: self.firing("HostDown"))
        self.zel.start()
        started = time.time()
        eventually("up of 1", lambda: self.prometheus.number("up") == 1)
        eventually("end of the alert", lambda: not self.firing("HostDown"))
        again = self.prometheus.number("count(last_over_time({__name__=~'node_(cpu|disk|network)_.*'}[1m]))")
        if again != series:
            raise Failure(f"a restart of zel makes {again} series of {series}")
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
        gaps = [(b - a, a) for a, b in zip(times, times[1:]) if b - a > 2.5]
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
