"""Compares the disks of `zel show` with /proc/diskstats, sysfs and iostat: host_disks.py ZEL BUSY_DISK"""

import json
import subprocess
import sys
import time

ZEL, BUSY = sys.argv[1], sys.argv[2]
SECONDS = 3
# The column of /proc/diskstats, and what one of its units is.
COLUMNS = {
    "reads_total": (3, 1), "reads_merged_total": (4, 1), "read_bytes_total": (5, 512), "read_seconds_total": (6, 1e-3),
    "writes_total": (7, 1), "writes_merged_total": (8, 1), "written_bytes_total": (9, 512),
    "write_seconds_total": (10, 1e-3), "io_seconds_total": (12, 1e-3), "weighted_io_seconds_total": (13, 1e-3),
    "discards_total": (14, 1), "discards_merged_total": (15, 1), "discarded_bytes_total": (16, 512),
    "discard_seconds_total": (17, 1e-3), "flushes_total": (18, 1), "flush_seconds_total": (19, 1e-3),
}
ATTRIBUTES = {
    "size_bytes": ("size", 512), "read_only": ("ro", 1), "rotational": ("queue/rotational", 1),
    "removable": ("removable", 1), "logical_block_bytes": ("queue/logical_block_size", 1),
    "physical_block_bytes": ("queue/physical_block_size", 1), "sequence": ("diskseq", 1),
}
# Of iostat: the field of zel, what one unit of iostat is in zel's, and by how much they may differ beside a tenth: the
# two programs do not look at the same microsecond.
RATES = {
    "r/s": ("reads_per_second", 1, 20), "rkB/s": ("read_bytes_per_second", 1024, 1 << 20),
    "rrqm/s": ("reads_merged_per_second", 1, 5), "rrqm": ("read_merged_ratio", 0.01, 0.02),
    "r_await": ("read_wait_seconds", 1e-3, 3e-4), "rareq-sz": ("read_request_bytes", 1024, 1024),
    "w/s": ("writes_per_second", 1, 20), "wkB/s": ("written_bytes_per_second", 1024, 1 << 20),
    "wrqm/s": ("writes_merged_per_second", 1, 5), "wrqm": ("write_merged_ratio", 0.01, 0.02),
    "w_await": ("write_wait_seconds", 1e-3, 3e-4), "wareq-sz": ("write_request_bytes", 1024, 1024),
    "d/s": ("discards_per_second", 1, 5), "dkB/s": ("discarded_bytes_per_second", 1024, 1 << 16),
    "f/s": ("flushes_per_second", 1, 5), "f_await": ("flush_wait_seconds", 1e-3, 3e-4),
    "aqu-sz": ("queue_length", 1, 0.1), "util": ("utilisation_ratio", 0.01, 0.04),
}


def diskstats():
    with open("/proc/diskstats", encoding="latin-1") as lines:
        return {fields[2]: fields for fields in map(str.split, lines)}


def zel(*arguments):
    run = subprocess.run([ZEL, "show", "disks", "--format", "json", *arguments], capture_output=True, check=True)
    return {disk["name"]: disk for disk in json.loads(run.stdout.splitlines()[-1])["disks"]}


def attribute(name, path):
    try:
        with open(f"/sys/class/block/{name.replace('/', '!')}/{path}", encoding="latin-1") as file:
            return file.read().strip()
    except OSError:
        return None


def compare_counters():
    before, disks, after = diskstats(), zel("--raw"), diskstats()
    wrong = 0
    print(f"counters: {len(disks)} disks, {len(before)} lines of /proc/diskstats before and after")
    print(f"{BUSY:28}{'before':>18}{'zel':>18}{'after':>18}")
    for name in before:
        for field, (column, unit) in COLUMNS.items():
            value = disks[name][field]
            if column >= len(before[name]):
                fits = value is None and disks[name]["absent"][field] == "unsupported"
                low = high = None
            else:
                low, high = int(before[name][column]) * unit, int(after[name][column]) * unit
                fits = value is not None and low - 1e-6 <= value <= high + 1e-6
            if not fits or name == BUSY:
                print(f"{field:28}{low!s:>18}{value!s:>18}{high!s:>18}{'' if fits else '   WRONG'}")
            wrong += not fits
    wrong += set(before) != set(disks)
    for name, disk in disks.items():
        partition = attribute(name, "partition") is not None
        for field, (path, unit) in ATTRIBUTES.items():
            text = None if partition and path not in ("size", "ro") else attribute(name, path)
            if partition and field == "sequence":
                continue
            if disk[field] != (None if text is None else int(text) * unit):
                print(f"WRONG {name} {field}: zel {disk[field]}, sysfs {text}")
                wrong += 1
        scheduler = None if partition else attribute(name, "queue/scheduler")
        if scheduler is not None and "[" in scheduler:
            scheduler = scheduler[scheduler.index("[") + 1:scheduler.index("]")]
        if disk["scheduler"] != (scheduler or None):
            print(f"WRONG {name} scheduler: zel {disk['scheduler']}, sysfs {scheduler}")
            wrong += 1
    return wrong


def compare_rates():
    iostat = subprocess.Popen(["iostat", "-d", "-x", "-o", "JSON", str(SECONDS), "2"], stdout=subprocess.PIPE)
    disks = zel("--rates", "--every", f"{SECONDS}s", "--count", "1")
    report = json.loads(iostat.communicate()[0])
    last = report["sysstat"]["hosts"][0]["statistics"][-1]["disk"]
    wrong = 0
    print(f"\nrates over {SECONDS} s: {len(last)} disks of iostat")
    print(f"{BUSY:12}{'iostat':>16}{'zel':>16}  (in the units of zel)")
    for theirs in last:
        ours = disks[theirs["disk_device"]]
        for key, (field, unit, slack) in RATES.items():
            if key not in theirs:
                continue
            expected, value = theirs[key] * unit, ours[field]
            fits = value is not None and abs(value - expected) <= slack + 0.1 * abs(expected)
            if theirs["disk_device"] == BUSY or not fits:
                shown = "none" if value is None else f"{value:.5g}"
                print(f"{key:12}{expected:>16.5g}{shown:>16}{'' if fits else '   WRONG ' + theirs['disk_device']}")
            wrong += not fits
    if not any(theirs["disk_device"] == BUSY and theirs["r/s"] > 10 and theirs["w/s"] > 10 for theirs in last):
        print(f"WRONG: iostat does not see the load on {BUSY}")
        wrong += 1
    return wrong


def main():
    if compare_counters():
        return 1
    # Other programs of the machine may start or end between the two programs' moments.
    for attempt in range(3):
        if compare_rates() == 0:
            return 0
        time.sleep(1)
    return 1


sys.exit(main())
