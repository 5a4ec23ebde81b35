# Compares the processes of `zel show processes` with /proc as read here, with ps and with pidstat.
#   host_processes.py ZEL PID-OF-A-BUSY-PROCESS
#
# /proc and ps are read before and after the sample. What both readings agree on must be what the sample says, and a
# counter must lie between the two. A state may change and change back between the readings, so what is wrong has to be
# wrong in each of some tries. Exits with 1 then, or when too little could be compared.
import json
import os
import subprocess
import sys

TICKS = os.sysconf("SC_CLK_TCK")
PAGE = os.sysconf("SC_PAGE_SIZE")
KERNEL_THREAD = 0x00200000
LEAST_COMPARED = 0.8  # of the processes in each column of /proc
INTERVAL = 3  # seconds, of the rates
TRIES = 3
RATE_TOLERANCE = 0.10  # of a processor: the two intervals do not begin at the same moment


def read(path):
    with open(path, "rb") as file:
        return file.read()


def read_process(pid):
    text = read(f"/proc/{pid}/stat").decode("utf-8", "replace")
    name = text[text.index("(") + 1 : text.rindex(")")]
    word = text[text.rindex(")") + 2 :].split()
    seconds = lambda column: int(word[column]) / TICKS
    is_thread = bool(int(word[6]) & KERNEL_THREAD)
    values = {
        "name": name, "state": word[0], "parent_pid": int(word[1]), "process_group": int(word[2]),
        "session": int(word[3]), "terminal": int(word[4]) or None, "minor_faults_total": int(word[7]),
        "children_minor_faults_total": int(word[8]), "major_faults_total": int(word[9]),
        "children_major_faults_total": int(word[10]), "user_seconds_total": seconds(11),
        "system_seconds_total": seconds(12), "children_user_seconds_total": seconds(13),
        "children_system_seconds_total": seconds(14), "priority": int(word[15]), "nice": int(word[16]),
        "threads": int(word[17]), "start_seconds": seconds(19), "processor": int(word[36]),
        "realtime_priority": int(word[37]), "policy": int(word[38]), "guest_seconds_total": seconds(40),
        "kernel_thread": int(is_thread), "user_id": os.stat(f"/proc/{pid}").st_uid,
    }
    pages = [int(page) for page in read(f"/proc/{pid}/statm").split()]
    for place, key in enumerate(["virtual_bytes", "resident_bytes", "shared_bytes", "text_bytes", None, "data_bytes"]):
        if key:
            values[key] = None if is_thread else pages[place] * PAGE
    # The field separators of the arguments are blanks in a sample; a long line is cut.
    line = read(f"/proc/{pid}/cmdline")[:4096].rstrip(b"\0").replace(b"\0", b" ").decode("utf-8", "replace")
    values["command_line"] = line or None
    try:
        io = dict(entry.split(": ") for entry in read(f"/proc/{pid}/io").decode().splitlines())
    except PermissionError:
        io = {}
    for key, name in {"rchar": "read_characters_total", "wchar": "written_characters_total", "syscr": "read_calls_total",
                      "syscw": "write_calls_total", "read_bytes": "read_bytes_total",
                      "write_bytes": "written_bytes_total",
                      "cancelled_write_bytes": "cancelled_write_bytes_total"}.items():
        values[name] = int(io[key]) if key in io else None
    try:
        values["descriptors"] = len(os.listdir(f"/proc/{pid}/fd"))
    except PermissionError:
        pass
    return values


def read_all():
    processes = {}
    for name in os.listdir("/proc"):
        if name.isdigit():
            try:
                processes[int(name)] = read_process(int(name))
            except (FileNotFoundError, ProcessLookupError):
                pass  # it ended
    return processes


def read_ps():
    columns = ["pid", "ppid", "pgid", "sid", "uid", "user:64", "ni", "nlwp", "rss", "vsz", "stat", "comm:64"]
    text = subprocess.run(["ps", "-e", "-ww", "-o", ",".join(columns)], capture_output=True, check=True).stdout
    processes = {}
    for line in text.decode("utf-8", "replace").splitlines()[1:]:
        word = line.split(None, len(columns) - 1)
        processes[int(word[0])] = {
            "parent_pid": int(word[1]), "process_group": int(word[2]), "session": int(word[3]),
            "user_id": int(word[4]), "user": word[5], "nice": None if word[6] == "-" else int(word[6]),
            "threads": int(word[7]), "resident_bytes": int(word[8]) * 1024, "virtual_bytes": int(word[9]) * 1024,
            "state": word[10][0],
        }
    return processes


def show(zel, *options):
    text = subprocess.run([zel, "show", "processes", "--format", "json", *options], capture_output=True, check=True)
    return json.loads(text.stdout.decode().splitlines()[-1])


def is_between(before, value, after):
    return value is not None and before - 1e-9 <= value <= after + 1e-9


# Gives how many values were compared and how many were wrong, by column.
def compare(sample, before, after, wrong_ones):
    compared, wrong = {}, {}
    for process in sample["processes"]:
        old, new = before.get(process["pid"]), after.get(process["pid"])
        if process["pid"] == os.getpid():
            continue  # it does something else while the sample is taken
        if old is None or new is None or old.get("start_seconds") != new.get("start_seconds"):
            continue
        for column in old.keys() & new.keys():
            value, first, last = process[column], old[column], new[column]
            counts = column.endswith("_total") and first is not None and last is not None
            if first != last and not counts:
                continue
            if first is None and column == "nice":  # ps shows none for a real-time process
                continue
            is_memory_of_thread = value is None and process["kernel_thread"] == 1 and column.endswith("_bytes")
            right = is_between(first, value, last) if counts else value == first or (is_memory_of_thread and first == 0)
            compared[column] = compared.get(column, 0) + 1
            wrong[column] = wrong.get(column, 0) + (0 if right else 1)
            if not right:
                print(f"{process['pid']} {process['name']}: {column} {value!r}, read {first!r} to {last!r}")
                wrong_ones.append(f"{process['pid']} {process['name']}: {column}")
    return compared, wrong


def print_table(title, compared, wrong):
    print(f"\n{title}\n{'column':34} {'compared':>9} {'wrong':>6}")
    for column in sorted(compared):
        print(f"{column:34} {compared[column]:9} {wrong[column]:6}")


def beside_readings(zel, read_them, title):
    wrong_ones = []
    before = read_them()
    sample = show(zel, "--raw", "--count", "1")
    after = read_them()
    compared, wrong = compare(sample, before, after, wrong_ones)
    print_table(title, compared, wrong)
    lasting = len([process for process in sample["processes"]
                   if process["pid"] in before.keys() & after.keys()])
    print(f"{len(sample['processes'])} processes in the sample, {lasting} of them in both readings")
    failures = wrong_ones
    missing = [pid for pid in before.keys() & after.keys() if pid not in {each["pid"] for each in sample["processes"]}]
    failures += [f"{pid} is not in the sample" for pid in missing]
    for column in ("parent_pid", "threads", "state", "resident_bytes"):
        if compared.get(column, 0) < LEAST_COMPARED * lasting:
            failures.append(f"{column}: only {compared.get(column, 0)} of {lasting} could be compared")
    return failures


def beside_pidstat(zel, busy):
    pidstat = subprocess.Popen(["pidstat", "-u", "-h", "-p", busy, str(INTERVAL), "1"], stdout=subprocess.PIPE,
                               env={**os.environ, "LC_ALL": "C", "S_TIME_FORMAT": "ISO"})
    sample = show(zel, "--rates", "--every", f"{INTERVAL}s", "--count", "1")
    lines = [line.split() for line in pidstat.communicate()[0].decode().splitlines()]
    heads = next(line for line in lines if line and line[0] == "#")[1:]
    values = dict(zip(heads, next(line for line in lines if len(line) > 2 and busy in line[:4])))
    rates = next(process for process in sample["processes"] if process["pid"] == int(busy))
    failures = []
    print(f"\nbeside pidstat, {INTERVAL} s, process {busy} that computes\n{'share':10} {'zel':>8} {'pidstat':>8}")
    for ours, theirs in (("cpu_ratio", "%CPU"), ("user_ratio", "%usr"), ("system_ratio", "%system")):
        share = float(values[theirs]) / 100
        print(f"{ours:10} {rates[ours]:8.3f} {share:8.3f}")
        if abs(rates[ours] - share) > RATE_TOLERANCE:
            failures.append(f"{ours} is {rates[ours]}, pidstat says {share}")
    return failures


zel, busy = sys.argv[1], sys.argv[2]
def in_each_try(compare_once):
    failures = set(compare_once())
    for _ in range(TRIES - 1):
        if failures:
            failures &= set(compare_once())
    return sorted(failures)


failures = in_each_try(lambda: beside_readings(zel, read_all, "beside /proc, read before and after the sample"))
failures += in_each_try(lambda: beside_readings(zel, read_ps, "beside ps, run before and after the sample"))
failures += beside_pidstat(zel, busy)
for failure in failures:
    print("WRONG:", failure)
sys.exit(1 if failures else 0)
