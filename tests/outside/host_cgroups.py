# An independent reading of the control groups of version 2, and the comparison of `zel show cgroups` with it: every
# counter lies between its values before and after, every gauge near them, and the cgroups are the same.
#   host_cgroups.py ZEL TREE OWN      host_cgroups.py cgtop TABLE JSON
import json
import os
import subprocess
import sys

SECONDS = 2
failures = 0
compared = 0


def check(what, right, text):
    global failures, compared
    compared += 1
    if not right:
        failures += 1
        print(f"host_cgroups: {what}: {text}", file=sys.stderr)


def words(path):
    try:
        with open(path) as file:
            return file.read().split("\n")
    except OSError:
        return []


# The counters of one cgroup by the names of the schema, from the kernel's own keys.
KEYS = {
    "cpu.stat": {"usage_usec": ("cpu_usage_seconds_total", 1e-6), "user_usec": ("cpu_user_seconds_total", 1e-6),
                 "system_usec": ("cpu_system_seconds_total", 1e-6), "nr_periods": ("cpu_periods_total", 1),
                 "nr_throttled": ("cpu_throttled_periods_total", 1),
                 "throttled_usec": ("cpu_throttled_seconds_total", 1e-6)},
    "memory.stat": {"pgfault": ("page_faults_total", 1), "pgmajfault": ("major_page_faults_total", 1)},
    "memory.events": {"oom_kill": ("oom_kills_total", 1), "max": ("memory_max_events_total", 1)},
    "pids.events": {"max": ("pids_limit_hits_total", 1)},
}
IO = {"rbytes": "io_read_bytes_total", "wbytes": "io_written_bytes_total", "rios": "io_reads_total",
      "wios": "io_writes_total"}
LIMITS = {"memory.max": "memory_max_bytes", "memory.high": "memory_high_bytes", "pids.max": "pids_max",
          "cpu.weight": "cpu_weight"}
STATES = {"populated": "populated", "frozen": "frozen"}


def read_counters(directory):
    found = {}
    for name, keys in KEYS.items():
        for pair in (line.split() for line in words(f"{directory}/{name}")):
            if len(pair) == 2 and pair[0] in keys:
                field, factor = keys[pair[0]]
                found[field] = int(pair[1]) * factor
    for resource in ("cpu", "memory", "io"):
        for line in words(f"{directory}/{resource}.pressure"):
            if "total=" in line:
                found[f"{resource}_{line.split()[0]}_seconds_total"] = int(line.split("total=")[1]) / 1e6
    if os.path.exists(f"{directory}/io.stat"):
        for field in IO.values():
            found[field] = 0
        for line in words(f"{directory}/io.stat"):
            for pair in (word.split("=") for word in line.split() if "=" in word):
                if pair[0] in IO:
                    found[IO[pair[0]]] += int(pair[1])
    return found


def read_fixed(directory):
    found = {"inode": os.stat(directory).st_ino}
    for name, field in LIMITS.items():
        text = words(f"{directory}/{name}")
        if text:
            found[field] = None if text[0] == "max" else int(text[0])
    for pair in (line.split() for line in words(f"{directory}/cgroup.events")):
        if len(pair) == 2 and pair[0] in STATES:
            found[STATES[pair[0]]] = int(pair[1])
    return found


def read_tree(tree):
    groups = {}
    for directory, _, _ in os.walk(tree):
        try:
            path = directory[len(tree):] or "/"
            groups[path] = (read_counters(directory), read_fixed(directory))
        except OSError:
            pass
    return groups


def compare(before, now, after):
    rows = {row["path"]: row for row in now["cgroups"]}
    lasting = before.keys() & after.keys()
    check("cgroups that lasted", lasting <= rows.keys(), f"zel lacks {sorted(lasting - rows.keys())[:5]}")
    known = before.keys() | after.keys()
    check("cgroups of zel", rows.keys() <= known, f"nobody else saw {sorted(rows.keys() - known)[:5]}")
    check("their number", now["cgroup_totals"]["cgroups"] == len(rows), now["cgroup_totals"])
    for path in lasting & rows.keys():
        first, last = before[path], after[path]
        for field, low in first[0].items():
            high, found = last[0].get(field), rows[path].get(field)
            check(f"{path} {field}", found is not None and high is not None and low - 1e-6 <= found <= high + 1e-6,
                  f"zel has {found}, expected {low} to {high}")
        for field, value in first[1].items():
            if last[1].get(field) == value:
                check(f"{path} {field}", rows[path].get(field) == value, f"zel has {rows[path].get(field)}, not {value}")


def live(zel, tree, own):
    before = read_tree(tree)
    raw = json.loads(subprocess.check_output([zel, "show", "cgroups", "--raw", "--format", "json"]))
    compare(before, raw, read_tree(tree))
    print(f"  {len(raw['cgroups'])} cgroups, {compared} values")
    if not own:
        return
    name = own[len(tree):]
    process = subprocess.Popen([zel, "show", "cgroups", "--rates", "--format", "json", "--every", f"{SECONDS}s",
                                "--count", "1"], stdout=subprocess.PIPE)
    first = read_counters(own + "/busy")["cpu_usage_seconds_total"]
    clock = os.times().elapsed
    os.rmdir(own + "/goes")
    os.mkdir(own + "/comes")
    rates = json.loads(process.communicate()[0])
    seconds = os.times().elapsed - clock
    share = (read_counters(own + "/busy")["cpu_usage_seconds_total"] - first) / seconds
    rows = {row["path"]: row for row in rates["cgroups"]}
    check("the one that went", name + "/goes" not in rows, "zel has it")
    check("the one that came", name + "/comes" in rows, "zel lacks it")
    found = rows[name + "/busy"]["cpu_usage_ratio"]
    print(f"  busy cgroup: zel {found:.3f}, by its file {share:.3f} processors")
    check("processor time of the busy one", abs(found - share) < 0.3, f"zel has {found}, expected {share}")


# Sample: system.slice/ssh.service 1 0.3 6631424 - -   without heading; the root is "/"
def cgtop(table, path):
    with open(path) as file:
        rows = {row["path"]: row for row in json.load(file)["cgroups"]}
    for line in open(table):
        columns = line.split()
        row = rows.get("/" + columns[0].strip("/")) if len(columns) >= 4 else None
        if row is None or row["path"] == "/" or columns[3] == "-" or row["memory_current_bytes"] is None:
            continue
        expected = int(columns[3])
        check(f"{row['path']} memory", abs(row["memory_current_bytes"] - expected) <= max(16 << 20, expected / 4),
              f"zel has {row['memory_current_bytes']}, systemd-cgtop {expected}")


if sys.argv[1] == "cgtop":
    cgtop(sys.argv[2], sys.argv[3])
else:
    live(sys.argv[1], sys.argv[2], sys.argv[3])
print(f"  {compared} values compared, {failures} differ")
sys.exit(1 if failures or not compared else 0)
