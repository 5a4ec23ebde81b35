# An independent reading of /proc, and the comparison of `zel show` with it and with mpstat, vmstat, free and uptime.
#   host_core.py copy ROOT JSON      host_core.py live DIRECTORY
import json
import os
import sys

TICKS = os.sysconf("SC_CLK_TCK")
MODES = "user nice system idle iowait irq softirq steal guest guest_nice".split()
failures = 0
compared = 0


def check(what, found, expected, tolerance=0.0):
    global failures, compared
    compared += 1
    if found is None or abs(found - expected) > tolerance:
        failures += 1
        print(f"host_core: {what}: zel has {found}, expected {expected} (within {tolerance})", file=sys.stderr)


def lines(root, name):
    path = os.path.join(root, "proc", name)
    if not os.path.exists(path):
        return []
    with open(path) as file:
        return file.read().splitlines()


def copy_cpu(root, sample):
    processors = {row["cpu"]: row for row in sample["processors"]}
    for words in (line.split() for line in lines(root, "stat") if line.startswith("cpu")):
        row = sample["cpu"] if words[0] == "cpu" else processors.pop(int(words[0][3:]))
        for mode, ticks in zip(MODES, words[1:]):
            check(f"{words[0]} {mode}", row[mode + "_seconds_total"], int(ticks) / TICKS)
    check("processors that nobody has", len(processors), 0)


def copy_load(root, sample):
    words = lines(root, "loadavg")[0].split()
    running, entities = words[3].split("/")
    expected = dict(load1=words[0], load5=words[1], load15=words[2], runnable=running, entities=entities,
                    last_pid=words[4])
    for name, value in expected.items():
        check(name, sample["load"][name], float(value))


def copy_pressure(root, sample):
    for row in sample["pressure"]:
        for line in lines(root, "pressure/" + row["resource"]):
            kind, *pairs = line.split()
            values = dict(pair.split("=") for pair in pairs)
            for span in ("10", "60", "300"):
                check(f"{row['resource']} {kind} {span}", row[f"{kind}_average_{span}_ratio"],
                      float(values["avg" + span]) / 100, 1e-12)
            check(f"{row['resource']} {kind}", row[kind + "_seconds_total"], int(values["total"]) / 1e6, 1e-6)


# The values of a table are compared as a set: names differ, numbers do not.
def copy_memory(root, sample):
    values = []
    for line in lines(root, "meminfo"):
        words = line.split()
        values.append(int(words[1]) * (1024 if words[2:] == ["kB"] else 1))
    memory = {name: value for name, value in sample["memory"].items() if isinstance(value, int)}
    unknown = memory.pop("unknown_lines")
    check("unknown names of meminfo", unknown, 0)
    check("numbers of meminfo", int(sorted(memory.values()) == sorted(values)), 1)
    for name, key in dict(total="MemTotal", free="MemFree", cached="Cached", dirty="Dirty", anonymous="AnonPages",
                          slab="Slab", committed="Committed_AS", swap_total="SwapTotal").items():
        line = next(line for line in lines(root, "meminfo") if line.startswith(key + ":"))
        check(key, memory[name + "_bytes"], int(line.split()[1]) * 1024)


def copy_vm(root, sample):
    vm = sample["vm"]
    unknown = 0
    for key, value in (line.split() for line in lines(root, "vmstat")):
        if key in vm or key + "_total" in vm:
            check(key, vm.get(key, vm.get(key + "_total")), int(value))
        else:
            unknown += 1
    check("unknown names of vmstat", vm["unknown_lines"], unknown)


def copy_interrupts(root, sample):
    for name, section, label in (("interrupts", "interrupts", "interrupt"), ("softirqs", "softirqs", "softirq")):
        heading, *rows = lines(root, name)
        columns = len(heading.split())
        found = {row[label]: row["count_total"] for row in sample[section]}
        check(name, len(found), len(rows))
        for line in rows:
            key, rest = line.split(":", 1)
            numbers = []
            for word in rest.split()[:columns]:
                if not word.isdigit():
                    break
                numbers.append(int(word))
            check(f"{name} {key.strip()}", found.get(key.strip()), sum(numbers))
    keys = dict(intr="interrupts_total", ctxt="context_switches_total", processes="forks_total",
                procs_running="running", procs_blocked="blocked", softirq="softirqs_total", btime="boot_time_seconds")
    for line in lines(root, "stat"):
        words = line.split()
        if words[0] in keys:
            check(words[0], sample["activity"][keys[words[0]]], int(words[1]))


def copy_identity(root, sample):
    uptime, idle = lines(root, "uptime")[0].split()
    check("uptime", sample["identity"]["uptime_seconds"], float(uptime))
    check("idle", sample["identity"]["idle_seconds_total"], float(idle))


def copy(root, path):
    with open(path) as file:
        sample = json.load(file)
    for part in (copy_cpu, copy_load, copy_pressure, copy_memory, copy_vm, copy_interrupts, copy_identity):
        part(root, sample)


# Both sides measure for four seconds, but do not start in the same moment.
SHARE = 0.1
RATE = 0.3


def live_mpstat(directory, rates):
    with open(os.path.join(directory, "mpstat")) as file:
        rows = [line.split() for line in file if line.startswith("Average:")]
    names = {"%usr": "user", "%nice": "nice", "%sys": "system", "%iowait": "iowait", "%irq": "irq", "%soft": "softirq",
             "%steal": "steal", "%guest": "guest", "%gnice": "guest_nice", "%idle": "idle"}
    heading = rows[0]
    processors = {str(row["cpu"]): row for row in rates["processors"]}
    processors["all"] = rates["cpu"]
    for row in rows[1:]:
        for column, mode in names.items():
            expected = float(row[heading.index(column)]) / 100
            found = processors[row[1]][mode + "_ratio"]
            print(f"  cpu {row[1]:>3} {mode:10} zel {found:6.3f}   mpstat {expected:6.3f}")
            check(f"cpu {row[1]} {mode}", found, expected, SHARE)


def live_vmstat(directory, rates):
    with open(os.path.join(directory, "vmstat")) as file:
        heading, *rows = [line.split() for line in file if "-" not in line]
    last = rows[-1]
    for column, name in (("in", "interrupts_per_second"), ("cs", "context_switches_per_second")):
        expected = float(last[heading.index(column)])
        found = rates["activity"][name]
        print(f"  {name:28} zel {found:10.1f}   vmstat {expected:10.1f}")
        check(name, found, expected, max(100, RATE * expected))


def live_free(directory, now):
    with open(os.path.join(directory, "free")) as file:
        heading, memory, swap = (line.split() for line in file)
    used = dict(zip(heading, memory[1:]))
    slack = 64 << 20
    check("total memory", now["memory"]["total_bytes"], int(used["total"]))
    check("free memory", now["memory"]["free_bytes"], int(used["free"]), slack)
    check("available memory", now["memory"]["available_bytes"], int(used["available"]), slack)
    check("shared memory", now["memory"]["shared_bytes"], int(used["shared"]), slack)
    check("swap", now["memory"]["swap_total_bytes"], int(swap[1]))


def live_uptime(directory, now):
    with open(os.path.join(directory, "uptime")) as file:
        averages = file.read().split("load average:")[1].split(",")
    for name, value in zip(("load1", "load5", "load15"), averages):
        check(name, now["load"][name], float(value), 0.5 + 0.1 * float(value))


def live(directory):
    with open(os.path.join(directory, "rates.json")) as file:
        rates = json.load(file)
    with open(os.path.join(directory, "now.json")) as file:
        now = json.load(file)
    live_mpstat(directory, rates)
    live_vmstat(directory, rates)
    live_free(directory, now)
    live_uptime(directory, now)


if sys.argv[1] == "copy":
    copy(sys.argv[2], sys.argv[3])
else:
    live(sys.argv[2])
print(f"  {compared} numbers compared, {failures} differ")
sys.exit(1 if failures or not compared else 0)
