"""Compares btrfs and XFS of `zel show` with the btrfs tool and with the files of XFS:
host_storage.py ZEL BTRFS_MOUNT XFS_MOUNT XFS_DEVICE"""

import json
import re
import subprocess
import sys

ZEL, BTRFS, XFS, XFS_DEVICE = sys.argv[1:]
ERRORS = {"write_io_errs": "write_errors_total", "read_io_errs": "read_errors_total",
          "flush_io_errs": "flush_errors_total", "corruption_errs": "corruption_errors_total",
          "generation_errs": "generation_errors_total"}
# Of some lines of XFS the fields in their order.
LINES = {"extent_alloc": ["allocated_extents_total", "allocated_blocks_total", "freed_extents_total", "freed_blocks_total"],
         "rw": ["write_calls_total", "read_calls_total"],
         "dir": ["directory_lookups_total", "directory_creates_total", "directory_removes_total", "directory_reads_total"],
         "xpc": ["delayed_bytes_total", "written_bytes_total", "read_bytes_total"]}
failures = 0


def expect(what, theirs, ours):
    global failures
    good = theirs == ours
    failures += not good
    print(f"{str(theirs):>20}{str(ours):>20}  {what}{'' if good else '   DIFFERS'}")


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def sample():
    return json.loads(output(ZEL, "show", "filesystems", "--raw", "--format", "json"))


def compare_btrfs(ours):
    shown = output("btrfs", "filesystem", "show", BTRFS)
    uuid = re.search(r"uuid: (\S+)", shown).group(1)
    whole = next(row for row in ours["btrfs"] if row["uuid"] == uuid)
    expect("label", re.search(r"Label: '(.*)'", shown).group(1), whole["label"])
    usage = output("btrfs", "filesystem", "usage", "-b", BTRFS)
    expect("global reserve", int(re.search(r"Global reserve:\s+(\d+)", usage).group(1)), whole["reserve_bytes"])
    profiles = {(row["type"], row["profile"]): row for row in ours["btrfs_profiles"] if row["uuid"] == uuid}
    found = re.findall(r"^(\w+),(\w+): Size:(\d+), Used:(\d+)", usage, re.MULTILINE)
    expect("profiles", len(found), len(profiles))
    for kind, profile, size, used in found:
        row = profiles[kind.lower(), profile.lower()]
        expect(f"{kind} {profile} size", int(size), row["total_bytes"])
        expect(f"{kind} {profile} used", int(used), row["used_bytes"])
    ratio = float(re.search(r"Data ratio:\s+([\d.]+)", usage).group(1))
    expect("ratio of data", ratio, next(row["allocation_ratio"] for key, row in profiles.items() if key[0] == "data"))
    compare_devices({row["device"]: row for row in ours["btrfs_devices"] if row["uuid"] == uuid}, usage)


def compare_devices(devices, usage):
    unused = dict(re.findall(r"^\s+/dev/(\S+)\s+(\d+)", usage.split("Unallocated:")[1], re.MULTILINE))
    expect("devices", len(unused), len(devices))
    counted = 0
    for name, value in unused.items():
        expect(f"{name} not allocated", int(value), devices[name]["unused_bytes"])
    for name, error, value in re.findall(r"^\[/dev/(\S+)\]\.(\w+)\s+(\d+)", output("btrfs", "device", "stats", BTRFS),
                                         re.MULTILINE):
        counted += int(value)
        expect(f"{name} {error}", int(value), devices[name][ERRORS[error]])
    expect("errors were counted", True, counted > 0)


def compare_xfs(ours):
    row = next(row for row in ours["xfs"] if row["device"] == XFS_DEVICE)
    with open(f"/sys/fs/xfs/{XFS_DEVICE}/stats/stats", encoding="ascii") as lines:
        numbers = {words[0]: list(map(int, words[1:])) for words in map(str.split, lines)}
    for line, fields in LINES.items():
        expect(f"{line}", numbers[line][:len(fields)], [row[field] for field in fields])
    expect("it was written to", True, row["written_bytes_total"] >= 5000000)


print(f"{'other':>20}{'zel':>20}  field")
taken = sample()
compare_btrfs(taken)
compare_xfs(taken)
sys.exit(failures != 0)
