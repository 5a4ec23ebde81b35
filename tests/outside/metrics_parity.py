# Runs the peer and `zel show` on the same hosts and compares what they say.
#   metrics_parity.py SOURCE ZEL PEER [ROOT...]
import fnmatch
import os
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import urllib.request

import listed_tree
import metric_text

FORMATS = ("openmetrics", "prometheus")
RECORDED = ("linux-6.18/t0", "linux-6.1.0/t0", "linux-5.10/t0", "linux-2.6.18/t0", "linux-2.4.20/t0")
WRITTEN = "parity/host.files"
ROUNDS = 6  # readings of this machine, each between two of the peer
DIFFERENCES_AT_MOST = 10
START_SECONDS = 10
EQUAL = 1e-9  # of a value: both sides print doubles, which they come to in different ways
# What moves by itself while both sides are read, or because they are, and by how much it may do so beyond the values
# that the peer has seen: a tenth, or this. Files that are open are those of both, too, which keep theirs open.
MOVING = {"node_memory_*": 0, "node_memory_Mapped_bytes": 32 << 20, "node_load*": 0.5, "node_procs_*": 8,
          "node_filesystem_*free*": 0, "node_filesystem_avail_bytes": 0, "node_sockstat_*": 8,
          "node_netstat_Tcp_CurrEstab": 8, "node_filefd_allocated": 512, "node_disk_io_now": 8,
          "node_entropy_available_bits": 0, "node_arp_entries": 1, "node_timex_*": 0, "node_nf_conntrack_entries": 8,
          "node_udp_queues": 4096, "node_cpu_scaling_frequency_hertz": 0, "node_hwmon_*": 0,
          "node_thermal_zone_temp": 0}
MOVING_SHARE = 0.1
# The kernel lets the idle times of a processor step back a little.
STEPPING_BACK = {"node_cpu_seconds_total": 0.1}
# The modes of processors as the columns of /proc/stat, and of guests.
MODES = ("user", "nice", "system", "idle", "iowait", "irq", "softirq", "steal")
GUESTS = {"user": 8, "nice": 9}
# What must be compared at the least: collectors of the peer that work, families and series. Without these numbers a
# peer that reads nothing, or a file that is no longer found, would agree with everything. Those of recorded hosts are
# what their files have; those of this machine hold for the smallest one that runs the tests: a container with one
# processor, one disk and the loopback interface.
FLOORS = {
    "this machine": (28, 215, 300), "/": (28, 215, 360),
    "linux-6.18/t0": (23, 174, 245), "linux-6.1.0/t0": (19, 77, 219), "linux-5.10/t0": (17, 62, 100),
    "linux-2.6.18/t0": (17, 47, 62), "linux-2.4.20/t0": (15, 9, 12),
    WRITTEN: (45, 643, 1529),
}
# Collectors of the peer that give nothing of a recorded host though its files are there: connections are counted in a
# file that was not recorded, and it does not know the table with which meminfo began then. Nothing else of ours may
# stand alone where a collector of the peer fails.
FAILED = {"linux-6.18/t0": "node_nf_conntrack_stat_", "linux-2.4.20/t0": "node_memory_"}


class Difference:
    """A pattern of families, with patterns of labels or without, and where it holds."""

    def __init__(self, text, place):
        self.family, _, labels = text.removesuffix("}").partition("{")
        self.labels = labels.split(",") if labels else []
        self.place = place

    def covers(self, family, labels, host, value):
        if not fnmatch.fnmatchcase(family, self.family) or not self.holds(family, labels, host, value):
            return False
        texts = [f'{name}="{value}"' for name, value in labels]
        return all(any(fnmatch.fnmatchcase(text, label) for text in texts) for label in self.labels)

    # `value` is what the peer has alone; None when it is not that.
    def holds(self, family, labels, host, value):
        return {"all": True, "recordings": host.recorded,
                "zeros": value == 0 and not host.kernel_has(family, dict(labels)),
                "negative": value is not None and value < 0}[self.place]


class Host:
    """What is compared: a root directory, and which numbers its kernel gives in /proc/stat."""

    def __init__(self, root):
        self.recorded = root != "/"
        self.stat = {}
        try:
            with open(os.path.join(root, "proc/stat"), errors="replace") as stat:
                self.stat = {words[0]: len(words) - 1 for words in map(str.split, stat) if words}
        except OSError:
            pass

    def kernel_has(self, family, labels):
        columns = self.stat.get("cpu" + labels.get("cpu", "?"), 0)
        if family == "node_cpu_seconds_total":
            return labels["mode"] in MODES and MODES.index(labels["mode"]) < columns
        if family == "node_cpu_guest_seconds_total":
            return GUESTS.get(labels["mode"], columns) < columns
        return family.removeprefix("node_") in self.stat


def read_differences(path):
    """The table of docs/metrics-names.md."""
    with open(path) as document:
        lines = document.read().split("<!-- differences -->")[1].splitlines()
    rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in lines if line.startswith("| `")]
    if not 0 < len(rows) <= DIFFERENCES_AT_MOST:
        sys.exit(f"metrics_parity: {len(rows)} differences on purpose, 1 to {DIFFERENCES_AT_MOST} are allowed")
    return [Difference(text, row[1]) for row in rows for text in re.findall(r"`([^`]+)`", row[0])]


class Peer:
    """The peer, on the files below a root directory; "/" is this machine."""

    def __init__(self, program, root, log):
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            self.address = f"127.0.0.1:{free.getsockname()[1]}"
        self.root = "" if root == "/" else root
        command = [program, f"--web.listen-address={self.address}"]
        if root != "/":
            command += [f"--path.procfs={root}/proc", f"--path.sysfs={root}/sys", f"--path.rootfs={root}",
                        f"--path.udev.data={root}/run/udev/data", "--no-collector.netdev.netlink"]
        self.process = subprocess.Popen(command, stdout=log, stderr=log)
        end = time.monotonic() + START_SECONDS
        while True:
            try:
                self.read()
                return
            except OSError:
                if self.process.poll() is not None or time.monotonic() > end:
                    self.stop()
                    raise SystemExit(f"metrics_parity: {program} does not answer on {root}; see {log.name}")
                time.sleep(0.02)

    # Some labels are paths, which begin with the root directory: ours do not.
    def read(self):
        with urllib.request.urlopen(f"http://{self.address}/metrics", timeout=START_SECONDS) as reply:
            text = reply.read().decode()
        return metric_text.read(text.replace(f'"{self.root}/', '"/') if self.root else text)

    def stop(self):
        self.process.kill()
        self.process.wait()


class Comparison:
    def __init__(self, name, differences, host):
        self.name, self.differences, self.host = name, differences, host
        self.collectors = self.families = self.series = self.different = 0
        self.failures = []

    def fail(self, text):
        self.failures.append(f"{self.name}: {text}")

    def covered(self, family, labels, value=None):
        return any(difference.covers(family, labels, self.host, value) for difference in self.differences)

    def compare(self, rounds, kind):
        """`rounds`: each what the peer said before, what we said, what the peer said after."""
        self.families = self.series = self.different = 0
        success = rounds[-1][2]["node_scrape_collector_success"].series
        self.collectors = sum(good == 1 for good in success.values())
        before, ours, _ = rounds[-1]
        for name, family in before.items():
            self.compare_family(name, family, rounds, kind)
        for name, family in ours.items():
            if name.startswith("node_") and name not in before and not name.startswith(FAILED.get(self.name, " ")):
                for labels in family.series:
                    if not self.covered(name, labels):
                        self.fail(f"{kind}: {name}{shown(labels)} is ours only")
        self.check_floors(kind)

    def check_floors(self, kind):
        found = (self.collectors, self.families, self.series)
        for what, least, number in zip(("collectors", "families", "series"), FLOORS.get(self.name, ()), found):
            if number < least:
                self.fail(f"{kind}: {number} {what} are compared, {least} are the least")

    def compare_family(self, name, family, rounds, kind):
        ours = rounds[-1][1].get(name)
        self.families += ours is not None
        if ours is not None and ours.kind != family.kind:
            self.fail(f"{kind}: {name} is {ours.kind}, of the peer {family.kind}")
        our_series = ours.series if ours else {}
        for labels in family.series.keys() - our_series.keys():
            if self.covered(name, labels, family.series[labels]):
                self.different += 1
            elif all(name in taken and labels in taken[name].series for _, _, taken in rounds):
                self.fail(f"{kind}: {name}{shown(labels)} is the peer's only")
        for labels in our_series.keys() & family.series.keys():
            self.compare_series(name, labels, rounds, kind)
        for labels in our_series.keys() - family.series.keys():
            if not self.covered(name, labels) and all(labels not in taken[name].series for taken, _, _ in rounds
                                                      if name in taken):
                self.fail(f"{kind}: {name}{shown(labels)} is ours only")

    def compare_series(self, name, labels, rounds, kind):
        self.series += 1
        spans = []
        for before, ours, after in rounds:
            values = [taken[name].series[labels] for taken in (before, ours, after)
                      if name in taken and labels in taken[name].series]
            if len(values) == 3:
                spans.append(values)
        if not spans:
            self.fail(f"{kind}: {name}{shown(labels)} was in no reading of the peer before and after ours")
            return
        if any(is_between(value, before, after, STEPPING_BACK.get(name, 0)) for before, value, after in spans):
            return
        lowest = min(min(before, after) for before, _, after in spans)
        highest = max(max(before, after) for before, _, after in spans)
        margin = moving_margin(name, max(abs(lowest), abs(highest)))
        if margin and not self.host.recorded and any(is_between(value, lowest, highest, margin) for _, value, _ in spans):
            return
        if self.covered(name, labels):
            self.different += 1
            return
        self.fail(f"{kind}: {name}{shown(labels)} is {spans[-1][1]!r}, of the peer {spans[-1][0]!r} to {spans[-1][2]!r}")


def moving_margin(name, value):
    margins = [margin for pattern, margin in MOVING.items() if fnmatch.fnmatchcase(name, pattern)]
    return max(margins + [MOVING_SHARE * value]) if margins else 0


def shown(labels):
    return "{" + ",".join(f'{name}="{value}"' for name, value in sorted(labels)) + "}"


def is_between(value, one, other, slack):
    slack += EQUAL * max(abs(one), abs(other))
    return min(one, other) - slack <= value <= max(one, other) + slack


def our_metrics(zel, root, kind):
    command = [zel, "show", "--format", kind] + ([] if root == "/" else ["--root", root])
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode != 0:
        raise SystemExit(f"metrics_parity: {' '.join(command)} gives {done.returncode}: {done.stderr}")
    return metric_text.read(done.stdout)


def compare_host(zel, program, root, name, differences, log):
    comparison = Comparison(name, differences, Host(root))
    peer = Peer(program, root, log)
    try:
        for kind in FORMATS:
            rounds, before = [], peer.read()
            for _ in range(ROUNDS if root == "/" else 1):
                ours = our_metrics(zel, root, kind)
                after = peer.read()
                rounds.append((before, ours, after))
                before = after
            comparison.compare(rounds, kind)
    finally:
        peer.stop()
    print(f"{name}: {comparison.collectors} collectors, {comparison.families} families, {comparison.series} series "
          f"compared, {comparison.different} of the peer differ on purpose, {len(comparison.failures)} otherwise")
    return comparison.failures


# The peer does not start without these directories.
def complete(root):
    for top in ("proc", "sys"):
        os.makedirs(os.path.join(root, top), exist_ok=True)
    return root


def hosts(source, scratch):
    fixtures = os.path.join(source, "tests/fixtures")
    yield "this machine", "/"
    for name in RECORDED:
        copy = os.path.join(scratch, name)
        shutil.copytree(os.path.join(fixtures, name), copy, symlinks=True)
        yield name, complete(copy)
    written = os.path.join(scratch, "written")
    listed_tree.build(os.path.join(fixtures, WRITTEN), written)
    yield WRITTEN, complete(written)


def main(source, zel, program, *roots):
    differences = read_differences(os.path.join(source, "docs/metrics-names.md"))
    failures = []
    with tempfile.TemporaryDirectory() as scratch, open(os.path.join(scratch, "peer.log"), "w") as log:
        for name, root in [(root, root) for root in roots] or hosts(source, scratch):
            failures += compare_host(zel, program, root, name, differences, log)
    for failure in failures:
        print(f"metrics_parity: {failure}", file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
