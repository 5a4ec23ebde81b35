"""One Prometheus scrapes many hosts: recordings of this host and of other roots under other names, whose counters grow as
they did between their two moments. Says what that costs, and fails when a scrape does, or when a limit is passed.

  many_hosts.py SOURCE BUILD SCRATCH HOSTS INTERVAL SECONDS MEGABYTES
"""

import asyncio
import glob
import json
import os
import random
import re
import subprocess
import sys
import threading
import time

from process_kit import free_port
from prometheus_kit import Failure, Prometheus, eventually

ROOTS = ("linux-5.10", "linux-6.1.0", "linux-6.18")
RECORDED_APART = 5.0  # seconds between the two moments of a recording
TYPE = "application/openmetrics-text; version=1.0.0; charset=utf-8"
CLOCKS = ("node_time_seconds", "zel_sample_time_seconds")
LINE = re.compile(r"^([A-Za-z_:][\w:]*)(\{.*\})? (\S+)$")


class Recording:
    """The metrics of a root at two moments: which lines stay, and how the others move."""

    def __init__(self, before, now):
        later = dict(self.series(now))
        self.types = dict(re.findall(r"^# TYPE (\S+) (\S+)$", before, re.M))
        self.lines, self.moving = [], []
        for line in before.splitlines():
            match = LINE.match(line)
            old = float(match[3]) if match else 0
            new = later.get(match[1] + (match[2] or ""), old) if match else 0
            if new != old:
                self.moving.append((len(self.lines), match[1] + (match[2] or "") + " ", old, new, self.grows(match[1])))
            self.lines.append(line)
        self.samples = sum(1 for line in self.lines if not line.startswith("#"))

    @staticmethod
    def series(text):
        for line in text.splitlines():
            match = LINE.match(line)
            if match:
                yield match[1] + (match[2] or ""), float(match[3])

    def grows(self, name):
        return self.types.get(name.removesuffix("_total")) == "counter" or name in CLOCKS


class Host:
    """A recording under another name, at a pace and from a point of its own."""

    def __init__(self, number, recording):
        self.recording, self.random = recording, random.Random(number)
        self.pace = self.random.uniform(0.5, 2)
        self.ahead = self.random.uniform(0, 1e6)
        self.name = f"host-{number:03}"
        self.lines = [re.sub(r'nodename="[^"]*"', f'nodename="{self.name}"', line) for line in recording.lines]
        self.begin = time.monotonic()

    def text(self):
        passed = (time.monotonic() - self.begin) * self.pace + self.ahead
        for index, name, old, new, grows in self.recording.moving:
            part = passed / RECORDED_APART if grows else self.random.random()
            value = old + (new - old) * part
            if old.is_integer() and new.is_integer():
                value = int(value)
            self.lines[index] = f"{name}{value}"
        return "\n".join(self.lines) + "\n"


class Server(threading.Thread):
    """Answers /host-NNN/metrics of all hosts, on connections that stay open."""

    def __init__(self, hosts, port):
        super().__init__(daemon=True)
        self.hosts, self.port = {f"/{host.name}/metrics": host for host in hosts}, port

    def run(self):
        asyncio.run(self.serve())

    async def serve(self):
        server = await asyncio.start_server(self.connection, "127.0.0.1", self.port, backlog=1024)
        async with server:
            await server.serve_forever()

    async def connection(self, reader, writer):
        try:
            while True:
                request = (await reader.readuntil(b"\r\n\r\n")).decode()
                body = self.hosts[request.split()[1]].text().encode()
                head = f"HTTP/1.1 200 OK\r\nContent-Type: {TYPE}\r\nContent-Length: {len(body)}\r\n\r\n"
                writer.write(head.encode() + body)
                await writer.drain()
        except (asyncio.IncompleteReadError, ConnectionError):
            writer.close()


def shown(build, root=None):
    """The metrics of a host as zel gives them."""
    command = [f"{build}/bin/zel", "show", "--raw", "--format", "openmetrics", *(["--root", root] if root else [])]
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=True).stdout


def recordings(source, build):
    """This host, and the roots of the tests, each at two moments."""
    before = shown(build)
    time.sleep(RECORDED_APART)
    roots = (f"{source}/tests/fixtures/{root}" for root in ROOTS)
    return Recording(before, shown(build)), [Recording(shown(build, f"{root}/t0"), shown(build, f"{root}/t1"))
                                             for root in roots]


def configuration(source, hosts, port, interval):
    targets = "\n".join(
        f"      - targets: [ '127.0.0.1:{port}' ]\n"
        f"        labels: {{ instance: '{host.name}', __metrics_path__: '/{host.name}/metrics' }}" for host in hosts)
    return (f"global: {{ scrape_interval: {interval}s, scrape_timeout: {min(interval, 10)}s, "
            f"evaluation_interval: {interval}s }}\n"
            f"rule_files: [ '{source}/contrib/prometheus/host.*.yml' ]\n"
            f"scrape_configs:\n  - job_name: zel\n    static_configs:\n{targets}\n")


def check_scrapes(prometheus, hosts, seconds):
    """Every host was up in every scrape, with all its series."""
    up = dict((row["instance"], value) for row, value in prometheus.query(f"min_over_time(up[{seconds}s])"))
    down = [host.name for host in hosts if up.get(host.name) != 1]
    if down:
        raise Failure(f"{len(down)} hosts were not scraped each time: {down[:5]}")
    scraped = dict((row["instance"], value) for row, value in prometheus.query("scrape_samples_scraped"))
    short = [host.name for host in hosts if scraped[host.name] != host.recording.samples]
    if short:
        raise Failure(f"{len(short)} hosts lack series: {short[:5]}")
    failed = [rule["name"] for group in prometheus.ask("rules")["groups"] for rule in group["rules"]
              if rule["health"] != "ok"]
    if failed:
        raise Failure(f"rules do not evaluate: {failed}")


def block_sizes(prometheus):
    """Bytes and samples of what the store holds, written as blocks."""
    name = prometheus.ask("admin/tsdb/snapshot", method="POST")["name"]
    size = samples = 0
    for meta in glob.glob(f"{prometheus.store}/snapshots/{name}/*/meta.json"):
        with open(meta, encoding="utf-8") as file:
            samples += json.load(file)["stats"]["numSamples"]
        for directory, _, files in os.walk(os.path.dirname(meta)):
            size += sum(os.path.getsize(os.path.join(directory, file)) for file in files)
    return size, samples


def report(prometheus, hosts, seconds, used, megabytes):
    kinds = sorted({host.recording.samples for host in hosts})
    per_host = sum(host.recording.samples for host in hosts) / len(hosts)
    longest = prometheus.number(f"max(max_over_time(scrape_duration_seconds[{seconds}s]))")
    usual = prometheus.number(f"quantile(0.99, max_over_time(scrape_duration_seconds[{seconds}s]))")
    rules = sum(group["evaluationTime"] for group in prometheus.ask("rules")["groups"])
    series = prometheus.ask("status/tsdb")["headStats"]["numSeries"]
    resident, peak = prometheus.memory() / 1e6, prometheus.memory("VmHWM") / 1e6
    size, samples = block_sizes(prometheus)
    print(f"hosts: {len(hosts)}, with {kinds} series, {per_host:.0f} on average; {series} series in the head")
    print(f"scrapes: {longest * 1000:.0f} ms the longest, {usual * 1000:.0f} ms of 99 in 100 hosts, none failed")
    print(f"rules: {rules:.2f} s for one evaluation of all")
    print(f"prometheus: {resident:.0f} MB, at most {peak:.0f} MB, {resident * 1e6 / series:.0f} bytes per series, "
          f"{used / seconds:.3f} processors")
    print(f"store: {samples} samples, {size / samples:.2f} bytes each with their index")
    if peak > megabytes:
        raise Failure(f"Prometheus used {peak:.0f} MB, more than {megabytes}")


def run(source, build, scratch, count, interval, seconds, megabytes):
    this, others = recordings(source, build)
    hosts = [Host(number, this if number % 4 else others[number // 4 % len(others)]) for number in range(count)]
    port = free_port()
    Server(hosts, port).start()
    os.environ["GOMEMLIMIT"] = f"{megabytes}MiB"
    prometheus = Prometheus(scratch, configuration(source, hosts, port, interval), ["--web.enable-admin-api"])
    try:
        prometheus.start()
        eventually("scrape of every host", lambda: prometheus.number("count(up == 1)") == count, interval + 30)
        before, begin = prometheus.processor_seconds(), time.monotonic()
        time.sleep(seconds)
        used, passed = prometheus.processor_seconds() - before, time.monotonic() - begin
        check_scrapes(prometheus, hosts, seconds)
        report(prometheus, hosts, round(passed), used, megabytes)
    finally:
        prometheus.stop()


def main():
    source, build, scratch, *numbers = sys.argv[1:]
    try:
        run(source, build, scratch, *map(int, numbers))
    except Failure as failure:
        print(f"many_hosts: {failure}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
