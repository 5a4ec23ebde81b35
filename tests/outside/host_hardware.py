"""Compares `zel hardware` with lspci, lscpu and ethtool: host_hardware.py ZEL"""

import json
import os
import re
import shutil
import subprocess
import sys

ZEL = sys.argv[1]
os.environ["PATH"] += ":/usr/sbin:/sbin"
FACTORS = {"": 1, "B": 1, "K": 1024, "KiB": 1024, "M": 1024**2, "MiB": 1024**2, "G": 1024**3, "GiB": 1024**3}


class Comparison:
    """Counts what is the same, and prints what is not."""

    def __init__(self, program):
        self.program, self.same, self.wrong = program, 0, 0

    def check(self, what, ours, theirs):
        if ours == theirs:
            self.same += 1
            return
        self.wrong += 1
        print(f"{what}: zel says {ours!r}, {self.program} {theirs!r}")

    def end(self):
        print(f"{self.program}: {self.same} values the same, {self.wrong} not")
        return self.wrong == 0


def output(*command):
    run = subprocess.run(command, capture_output=True, check=False)
    return run.stdout.decode("utf-8", "replace") if run.returncode == 0 else None


def zel(*parts):
    return json.loads(subprocess.run([ZEL, "hardware", *parts, "--format", "json"], capture_output=True,
                                     check=True).stdout)


def name_and_id(text):
    """'Intel Corporation [8086]': the name, none when it is 'Device', and the number."""
    match = re.fullmatch(r"(.*?) ?\[([0-9a-f]{4})\]", text)
    name = match.group(1)
    return (None if name in ("", "Device", "Vendor", "Class", "Unknown vendor") else name), match.group(2)


def lspci():
    """lspci by address; a driver may be named in two lines, of which the first counts."""
    text = output("lspci", "-D", "-vmm", "-nn", "-k")
    devices = {}
    for block in (text or "").strip().split("\n\n"):
        pairs = [line.split(":\t", 1) for line in block.splitlines() if ":\t" in line]
        fields = {}
        for key, value in pairs:
            fields.setdefault(key, value)
        if "Slot" in fields:
            devices[fields["Slot"]] = fields
    return devices


def compare_pci():
    if shutil.which("lspci") is None or not os.path.isdir("/sys/bus/pci/devices"):
        return None
    theirs, ours = lspci(), {device["address"]: device for device in zel("pci")["pci_devices"]}
    comparison = Comparison("lspci")
    comparison.check("devices", sorted(ours), sorted(theirs))
    for address in sorted(set(ours) & set(theirs)):
        compare_device(comparison, address, ours[address], theirs[address])
    return comparison


def compare_device(comparison, address, our, their):
    pairs = {"Vendor": "vendor", "Device": "device", "SVendor": "subsystem_vendor", "SDevice": "subsystem"}
    for key, field in pairs.items():
        name, number = name_and_id(their[key]) if key in their else (None, None)
        comparison.check(f"{address} {field}_id", our[field + "_id"], number and "0x" + number)
        comparison.check(f"{address} {field}_name", our[field + "_name"], name)
    name, number = name_and_id(their["Class"])
    # lspci shows the class that the device states, which is cut by the kernel to three bytes.
    stated = our["class_id"][2:6]
    if name != "Unassigned class":
        comparison.check(f"{address} class", stated, number)
    comparison.check(f"{address} class_name", our["class_name"], name)
    comparison.check(f"{address} revision", our["revision"][2:], their.get("Rev", "00"))
    comparison.check(f"{address} driver", our["driver"], their.get("Driver"))
    if "PhySlot" in their:
        comparison.check(f"{address} slot", our["slot"], their["PhySlot"])
    if "NUMANode" in their:
        comparison.check(f"{address} node", our["node"], int(their["NUMANode"]))
    if "IOMMUGroup" in their:
        comparison.check(f"{address} iommu_group", our["iommu_group"], int(their["IOMMUGroup"]))


def lscpu_fields():
    """The fields of lscpu -J, which nests them since 2.38."""
    def walk(entries):
        for entry in entries:
            yield entry["field"].rstrip(":"), entry["data"]
            yield from walk(entry.get("children", []))

    return dict(walk(json.loads(output("lscpu", "-J") or '{"lscpu": []}')["lscpu"]))


def numbers(text):
    """'0-3,8' as a list of numbers."""
    result = []
    for part in filter(None, text.split(",")):
        first, _, last = part.partition("-")
        result += range(int(first), int(last or first) + 1)
    return result


def compare_processors():
    if shutil.which("lscpu") is None:
        return None
    theirs, ours = lscpu_fields(), zel("processors")
    packages, comparison = ours["processor_packages"], Comparison("lscpu")
    first = packages[0]
    online = sorted(number for package in packages for number in numbers(package["online_processors"]))
    comparison.check("processors", sum(package["threads"] for package in packages),
                     len(numbers(theirs["On-line CPU(s) list"])))
    comparison.check("online", online, numbers(theirs["On-line CPU(s) list"]))
    comparison.check("offline", first["offline_processors"], theirs.get("Off-line CPU(s) list"))
    if "Socket(s)" in theirs:
        comparison.check("packages", len(packages), int(theirs["Socket(s)"]))
    comparison.check("threads of a core", first["threads_per_core"], int(theirs["Thread(s) per core"]))
    if "Core(s) per socket" in theirs:
        comparison.check("cores", first["cores"], int(theirs["Core(s) per socket"]))
    texts = {"Vendor ID": "vendor", "Model name": "model"}
    counts = {"CPU family": "family", "Model": "model_number", "Stepping": "stepping"}
    if first["model"] is not None:  # lscpu has names of its own for what names nothing
        for key, field in texts.items():
            comparison.check(field, first[field], theirs.get(key))
        for key, field in counts.items():
            if theirs.get(key, "").isdigit():
                comparison.check(field, first[field], int(theirs[key]))
    compare_abilities(comparison, first, theirs)
    compare_caches(comparison, ours["processor_caches"], theirs)
    compare_nodes(comparison, ours["processor_nodes"], theirs)
    for row in ours["processor_vulnerabilities"]:
        key = "Vulnerability " + row["name"].replace("_", " ").capitalize()
        if key in theirs:  # it writes ':' as it likes
            comparison.check(row["name"], re.sub("[:;]", "", row["state"]), re.sub("[:;]", "", theirs[key]))
    return comparison


def compare_abilities(comparison, package, theirs):
    words = set(theirs.get("Flags", "").split())
    for flag in (package["flags"] or "").split():
        comparison.check(f"flag {flag}", flag in words, True)
    comparison.check("virtualisation", {"vmx": "VT-x", "svm": "AMD-V"}.get(package["virtualisation"]),
                     theirs.get("Virtualization"))
    sizes = re.match(r"(\d+) bits physical, (\d+) bits virtual", theirs.get("Address sizes", ""))
    if sizes:
        comparison.check("address bits", [package["physical_address_bits"], package["virtual_address_bits"]],
                         [int(size) for size in sizes.groups()])
    for field, key in (("highest_hertz", "CPU max MHz"), ("lowest_hertz", "CPU min MHz")):
        if key in theirs:
            comparison.check(field, package[field], float(theirs[key]) * 1e6)


def compare_caches(comparison, caches, theirs):
    for key, text in theirs.items():
        match = re.fullmatch(r"(L\d[di]?) cache", key)
        size = re.fullmatch(r"([0-9.]+) (\S+) \((\d+) instances?\)", text or "")
        if not match or not size:
            continue
        rows = [cache for cache in caches if cache["name"] == match.group(1)]
        comparison.check(f"{match.group(1)} count", sum(row["count"] for row in rows), int(size.group(3)))
        ours, wanted = sum(row["all_bytes"] for row in rows), float(size.group(1)) * FACTORS[size.group(2)]
        comparison.check(f"{match.group(1)} size", abs(ours - wanted) <= wanted / 100, True)  # it rounds


def compare_nodes(comparison, nodes, theirs):
    comparison.check("nodes", len(nodes), int(theirs.get("NUMA node(s)", 0)))
    for node in nodes:
        text = theirs.get(f"NUMA node{node['node']} CPU(s)")
        if text is not None:
            comparison.check(f"node {node['node']}", numbers(node["processors"] or ""), numbers(text))


def ethtool(*arguments):
    text = output("ethtool", *arguments) or ""
    pairs = (line.split(":", 1) for line in text.splitlines() if ":" in line)
    return {key.strip(): value.strip() for key, value in pairs}


def compare_network():
    cards = zel("network")["network_cards"]
    if shutil.which("ethtool") is None or not cards:
        return None
    comparison = Comparison("ethtool")
    for card in cards:
        name = card["name"]
        driver, link, permanent = ethtool("-i", name), ethtool(name), ethtool("-P", name)
        if not driver:
            continue
        comparison.check(f"{name} driver", card["driver"], driver["driver"])
        if card["driver_version"] is not None:
            comparison.check(f"{name} version", card["driver_version"], driver["version"])
        comparison.check(f"{name} firmware", card["firmware"] or "", driver["firmware-version"].replace("N/A", ""))
        if re.match(r"[0-9a-f]{4}:", driver["bus-info"]):
            comparison.check(f"{name} device", card["device"], driver["bus-info"])
        compare_link(comparison, card, link)
        if re.match("[0-9a-f]{2}:", permanent.get("Permanent address", "")):
            comparison.check(f"{name} permanent", card["permanent_address"], permanent["Permanent address"])
    return comparison if comparison.same + comparison.wrong > 0 else None


def compare_link(comparison, card, link):
    name, ports = card["name"], {"Twisted Pair": "twisted pair", "FIBRE": "fibre", "Direct Attach Copper": "direct attach",
                                 "None": "none", "Other": "other", "MII": "MII", "AUI": "AUI", "BNC": "BNC"}
    speed = re.match(r"(\d+)Mb/s", link.get("Speed", ""))
    comparison.check(f"{name} speed", card["speed_bytes_per_second"], float(speed.group(1)) * 125000 if speed else None)
    if "Port" in link:
        comparison.check(f"{name} port", card["port_type"], ports.get(link["Port"]))
    if "Auto-negotiation" in link:
        comparison.check(f"{name} autonegotiation", card["autonegotiation"], link["Auto-negotiation"])
    duplex = link.get("Duplex", "Unknown")
    comparison.check(f"{name} duplex", card["duplex"], None if duplex.startswith("Unknown") else duplex.lower())


def main():
    results = [compare_pci(), compare_processors(), compare_network()]
    done = [comparison for comparison in results if comparison is not None]
    if not done:
        print("skipped: none of lspci, lscpu and ethtool can say anything here")
        sys.exit(77)
    sys.exit(0 if all([comparison.end() for comparison in done]) else 1)


main()
