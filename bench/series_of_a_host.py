"""How many series a host gives, and each of its parts: the table of docs/fleet.md.

  series_of_a_host.py ZEL [ROOT]      ROOT: a directory, or a list of files as tests/fixtures/parity/host.files
"""

import collections
import gzip
import os
import re
import subprocess
import sys
import tempfile

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/outside"))
import listed_tree

SERIES = re.compile(r"^([A-Za-z_:]\w*)(?:\{(.*)\})? \S+$")
# What a series belongs to: the first row whose family and labels match. The labels name the part.
PARTS = (
    ("process of the top", r"zel_processes_", ("pid",)),
    ("control group", r"zel_cgroups_", ("cgroup", "path")),
    ("NFS mount", r"zel_nfs_(mounts|operations)_", ("device", "mountpoint")),
    ("filesystem", r"node_(filesystem|xfs|btrfs)_", ("mountpoint", "device", "uuid")),
    ("disk", r"node_disk_|node_md_", ("device",)),
    ("interface", r"node_(network|arp)_|zel_(interfaces|bonds|bond_ports)_", ("device", "interface")),
    ("chip, zone or supply", r"node_(hwmon|thermal|power_supply|rapl|cooling)|zel_(sensor|thermal|power)",
     ("chip", "zone", "name", "power_supply", "path")),
    ("processor", r"node_(cpu|schedstat|softnet)_|zel_cpu_", ("cpu", "processor")),
)


def part_of(name, labels):
    for part, families, wanted in PARTS:
        named = next((labels[label] for label in wanted if label in labels), None)
        if named is not None and re.match(families, name):
            return part, named
    return "host", ""


def main(zel, root=None):
    with tempfile.TemporaryDirectory() as scratch:
        if root and not os.path.isdir(root):
            listed_tree.build(root, scratch)
            root = scratch
        command = [zel, "show", "--raw", "--format", "openmetrics", *(["--root", root] if root else [])]
        text = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=True).stdout
    count = collections.Counter()
    for line in text.splitlines():
        found = SERIES.match(line)
        if found:
            count[part_of(found[1], dict(re.findall(r'(\w+)="((?:[^"\\]|\\.)*)"', found[2] or "")))] += 1
    packed = len(gzip.compress(text.encode()))
    print(f"{sum(count.values())} series, {len(text.encode()) / 1000:.0f} KB, {packed / 1000:.0f} KB with gzip")
    print("| for each | how many | series |\n|---|---|---|")
    for part in ["host", *(each[0] for each in reversed(PARTS))]:
        numbers = sorted(number for (of, _), number in count.items() if of == part)
        if numbers:
            span = f"{numbers[0]}" if numbers[0] == numbers[-1] else f"{numbers[0]} to {numbers[-1]}"
            print(f"| {part} | {len(numbers)} | {span} |")


if __name__ == "__main__":
    main(*sys.argv[1:])
