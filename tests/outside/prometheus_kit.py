"""Starts and asks programs that serve HTTP on loopback: zel serve, Prometheus, the peer exporter."""

import json
import os
import signal
import subprocess
import time
import urllib.error
import urllib.parse
import urllib.request

import process_kit

PATIENCE = 30  # seconds until a program answers, or an expectation comes true


class Failure(Exception):
    """What was expected, and what was found."""


def fetch(url, accept=None, timeout=10):
    request = urllib.request.Request(url, headers={"Accept": accept} if accept else {})
    with urllib.request.urlopen(request, timeout=timeout) as answer:
        return answer.read().decode()


def eventually(what, condition, patience=PATIENCE):
    """The first value of condition() that is true."""
    end = time.monotonic() + patience
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise Failure(f"no {what} within {patience} seconds")
        time.sleep(0.1)


def answers(url):
    try:
        fetch(url, timeout=2)
        return True
    except (OSError, urllib.error.URLError):
        return False


class Program:
    """A program that runs until stop(); what it says goes to a file."""

    def __init__(self, name, command, url, scratch):
        self.name, self.command, self.url = name, command, url
        self.log = os.path.join(scratch, f"{name}.log")
        self.process = None

    def start(self):
        with open(self.log, "ab") as log:
            self.process = subprocess.Popen(self.command, stdout=log, stderr=log)
        eventually(f"answer of {self.name}", self.is_ready)
        return self

    def is_ready(self):
        if self.process.poll() is not None:
            raise Failure(f"{self.name} ended with {self.process.returncode}: {self.said()}")
        return answers(self.url)

    def stop(self, how=signal.SIGTERM):
        if self.process and self.process.poll() is None:
            self.process.send_signal(how)
            self.process.wait(PATIENCE)
        return self.process.returncode if self.process else None

    def said(self):
        with open(self.log, encoding="utf-8", errors="replace") as log:
            return log.read()[-2000:]

    def memory(self, field="VmRSS"):
        return process_kit.memory(self.process.pid, field)

    def processor_seconds(self):
        return process_kit.processor_seconds(self.process.pid)


class Prometheus(Program):
    """Debian's Prometheus, with a configuration and a store in the scratch directory."""

    def __init__(self, scratch, configuration, options=()):
        self.port = process_kit.free_port()
        self.api = f"http://127.0.0.1:{self.port}"
        self.store = os.path.join(scratch, "store")
        path = os.path.join(scratch, "prometheus.yml")
        with open(path, "w", encoding="utf-8") as file:
            file.write(configuration)
        super().__init__("prometheus", [
            "prometheus", f"--config.file={path}", f"--storage.tsdb.path={self.store}",
            f"--web.listen-address=127.0.0.1:{self.port}", "--log.level=warn", *options,
        ], f"{self.api}/-/ready", scratch)

    def ask(self, path, method="GET", **parameters):
        query = urllib.parse.urlencode(parameters)
        request = urllib.request.Request(f"{self.api}/api/v1/{path}?{query}", method=method)
        try:
            with urllib.request.urlopen(request, timeout=60) as answer:
                return json.load(answer)["data"]
        except urllib.error.HTTPError as error:
            raise Failure(f"{path} {parameters}: {error.read().decode()}") from error

    def query(self, expression, at=None):
        """The rows of an instant vector or of a range: [(labels, value or values)]."""
        data = self.ask("query", query=expression, **({"time": f"{at:.3f}"} if at else {}))
        rows = data["result"]
        if data["resultType"] == "matrix":
            return [(row["metric"], [(at, float(value)) for at, value in row["values"]]) for row in rows]
        if data["resultType"] == "scalar":
            return [({}, float(rows[1]))]
        return [(row["metric"], float(row["value"][1])) for row in rows]

    def number(self, expression, at=None):
        rows = self.query(expression, at)
        return rows[0][1] if rows else None
