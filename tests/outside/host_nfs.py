"""Compares the NFS mounts of `zel show` with mountstats, read here and by Debian's program: host_nfs.py ZEL SCRATCH"""

import json
import os
import random
import re
import shutil
import subprocess
import sys
import time

ZEL, SCRATCH = sys.argv[1], sys.argv[2]
ROOT = os.path.join(SCRATCH, "root")
FILE = os.path.join(ROOT, "proc/self/mountstats")
OPERATIONS = ["NULL", "READ", "WRITE", "OPEN", "CLOSE", "GETATTR", "ACCESS", "LOOKUP", "READDIR", "SEQUENCE"]
SUMS = ["operations_total", "transmissions_total", "timeouts_total", "sent_bytes_total", "received_bytes_total"]
TIMES = ["queue_seconds_total", "round_trip_seconds_total", "execute_seconds_total"]
TCP = ["local_port", "binds_total", "connects_total", "connect_seconds_total", "idle_seconds", "sends_total",
       "receives_total", "bad_transactions_total", "in_flight_total", "backlog_total", "slots_limit",
       "sending_queue_total", "pending_queue_total"]
UDP = [name for name in TCP if name not in ("connects_total", "connect_seconds_total", "idle_seconds")]
EVENTS = ["inode_revalidations", "entry_revalidations", "data_invalidations", "attribute_invalidations", "opens",
          "lookups", "access_checks", "page_updates", "page_reads", "grouped_page_reads", "page_writes",
          "grouped_page_writes", "directory_reads", "attribute_changes", "flushes", "syncs", "locks", "releases",
          "congestion_waits", "truncations", "extending_writes", "silly_renames", "short_reads", "short_writes",
          "delays", "pnfs_reads", "pnfs_writes"]
BYTES = ["read_bytes", "written_bytes", "direct_read_bytes", "direct_written_bytes", "server_read_bytes",
         "server_written_bytes", "read_pages", "written_pages"]
wrong = 0


def check(what, expected, found, slack=1e-9):
    global wrong
    fits = found == expected if not isinstance(expected, float) else (
        found is not None and abs(found - expected) <= slack * max(1.0, abs(expected)))
    if not fits:
        print(f"WRONG {what}: expected {expected}, zel {found}")
        wrong += 1
    return fits


# A host of two moments: numbers of chance that only grow.

def first_numbers(chance):
    mounts = []
    for device, place, kind, version, protocol in (("server:/export/a", "/mnt/a", "nfs4", "4.2", "tcp"),
                                                   ("192.0.2.1:/b", "/mnt/b", "nfs", "3", "udp"),
                                                   ("[2001:db8::1]:/c\\040c", "/mnt/c\\040c", "nfs4", "4.1", "tcp")):
        operations = {}
        for name in OPERATIONS:
            count = chance.choice([0, 1, 100, 10 ** 6])
            sent = count + chance.randrange(1 + count // 50)
            operations[name] = [count, sent] + [count * chance.randrange(1, 5000) for _ in range(6)] + \
                [chance.randrange(1 + count // 100)]
        links = [[chance.randrange(1, 10 ** 6) for _ in (TCP if protocol == "tcp" else UDP)]
                 for _ in range(2 if protocol == "tcp" else 1)]
        mounts.append({"device": device, "place": place, "kind": kind, "version": version, "protocol": protocol,
                       "age": chance.randrange(1000, 10 ** 6), "events": [chance.randrange(10 ** 6) for _ in EVENTS],
                       "bytes": [chance.randrange(10 ** 12) for _ in BYTES], "operations": operations, "links": links})
    return mounts


def grow(mounts, chance):
    for mount in mounts:
        mount["age"] += 60
        mount["events"] = [number + chance.randrange(100) for number in mount["events"]]
        mount["bytes"] = [number + chance.randrange(10 ** 6) for number in mount["bytes"]]
        mount["links"] = [[number + chance.randrange(1, 1000) for number in link] for link in mount["links"]]
        for name, numbers in mount["operations"].items():
            count = chance.randrange(1, 1000)
            growth = [count, count + chance.randrange(10)] + [count * chance.randrange(1, 5000) for _ in range(6)] + [1]
            mount["operations"][name] = [number + more for number, more in zip(numbers, growth)]


def text_of(mounts):
    text = "device proc mounted on /proc with fstype proc\ndevice /dev/sda1 mounted on / with fstype ext4\n"
    for mount in mounts:
        numbers = lambda values: " ".join(map(str, values))
        text += (f"device {mount['device']} mounted on {mount['place']} with fstype {mount['kind']} statvers=1.1\n"
                 f"\topts:\trw,vers={mount['version']},rsize=1048576,wsize=1048576,namlen=255,hard,"
                 f"proto={mount['protocol']},timeo=600,retrans=2,sec=sys,local_lock=none\n"
                 f"\tage:\t{mount['age']}\n\tcaps:\tcaps=0xfff7,wtmult=512,dtsize=32768,bsize=0,namlen=255\n"
                 f"\tnfsv4:\tbm0=0xfdffafff,bm1=0xf9be3e,bm2=0x0,acl=0x0,pnfs=not configured\n"
                 f"\tsec:\tflavor=1,pseudoflavor=1\n\tevents:\t{numbers(mount['events'])} \n"
                 f"\tbytes:\t{numbers(mount['bytes'])} \n"
                 f"\tRPC iostats version: 1.1  p/v: 100003/{mount['version'][0]} (nfs)\n")
        for link in mount["links"]:
            text += f"\txprt:\t{mount['protocol']} {numbers(link)}\n"
        text += "\tper-op statistics\n"
        for name, values in mount["operations"].items():
            text += f"\t{name:>12}: {numbers(values)}\n"
        text += "\n"
    return text


# An independent reading of the file.

def parse(text):
    mounts = []
    for block in re.split(r"^(?=device )", text, flags=re.M):
        head = re.match(r"device (\S+) mounted on (\S+) with fstype (nfs4?) statvers=", block)
        if not head:
            continue
        unescape = lambda name: re.sub(r"\\([0-7]{3})", lambda found: chr(int(found[1], 8)), name)
        line = lambda key: re.search(rf"^\t{key}:\t(.*)$", block, re.M)[1]
        operations = {}
        for name, numbers in re.findall(r"^\t *(\w+): ([\d ]+)$", block.split("per-op statistics")[1], re.M):
            operations[name] = list(map(int, numbers.split()))
        mounts.append({"key": tuple(map(unescape, head.group(1, 2))) + (head[3],), "age": int(line("age")),
                       "events": list(map(int, line("events").split())), "operations": operations,
                       "bytes": list(map(int, line("bytes").split())),
                       "links": [(kind, list(map(int, numbers.split()))) for kind, numbers in
                                 re.findall(r"^\txprt:\t(\w+) ([\d ]+)$", block, re.M)]})
    return mounts


def zel(*arguments):
    run = subprocess.run([ZEL, "show", "nfs", "--format", "json", *arguments], capture_output=True, check=True)
    return json.loads(run.stdout.splitlines()[-1])


def key_of(row):
    return row["device"], row["mount_point"], row["type"]


def compare_counters(mounts, sample):
    found = {key_of(mount): mount for mount in sample["nfs_mounts"]}
    check("mounts", sorted(mount["key"] for mount in mounts), sorted(found))
    values = 0
    for mount in mounts:
        row = found[mount["key"]]
        check("age", mount["age"], row["age_seconds"])
        for names, numbers in ((EVENTS, mount["events"]), (BYTES, mount["bytes"])):
            for name, number in zip(names, numbers):
                values += check(f"{mount['key']} {name}", number, row[name + "_total"])
        used = {name: numbers for name, numbers in mount["operations"].items() if any(numbers)}
        rows = {each["operation"]: each for each in sample["nfs_operations"] if key_of(each) == mount["key"]}
        check(f"{mount['key']} operations", sorted(used), sorted(rows))
        for name, numbers in used.items():
            for index, field in enumerate(SUMS):
                values += check(f"{name} {field}", numbers[index], rows[name][field])
            for index, field in enumerate(TIMES):
                values += check(f"{name} {field}", numbers[5 + index] / 1000, rows[name][field])
            values += check(f"{name} errors", numbers[8] if len(numbers) > 8 else None, rows[name]["errors_total"])
        for index, field in enumerate(SUMS):
            values += check(f"sum {field}", sum(each[index] for each in mount["operations"].values()), row[field])
        retransmissions = sum(max(0, each[1] - each[0]) for each in mount["operations"].values())
        check("retransmissions", retransmissions, row["retransmissions_total"])
        links = [each for each in sample["nfs_transports"] if key_of(each) == mount["key"]]
        check("links", len(mount["links"]), len(links))
        for (kind, numbers), link in zip(mount["links"], links):
            for name, number in zip({"tcp": TCP, "udp": UDP}.get(kind, []), numbers):
                expected = float(number) if name.endswith(("idle_seconds", "connect_seconds_total")) else number
                values += check(f"{mount['key']} {kind} {name}", expected, link[name])
    print(f"counters: {len(mounts)} mounts, {values} values as in the file")


# Debian's mountstats, of the same file: the mean times of each operation.

def compare_with_mountstats(program, mounts, sample):
    compared = 0
    for mount in mounts:
        report = subprocess.run([program, "mountstats", "-r", "-f", FILE, mount["key"][1]], capture_output=True,
                                text=True, check=False).stdout
        rows = {each["operation"]: each for each in sample["nfs_operations"] if key_of(each) == mount["key"]}
        for name, count, rest in re.findall(r"^(\w+):\n\t(\d+) ops(.*?)(?=^\w+:$|\Z)", report, re.M | re.S):
            row = rows[name]
            check(f"mountstats {name}", int(count), row["operations_total"])
            for label, field in (("RTT", "round_trip_seconds_total"), ("total execute time", "execute_seconds_total"),
                                 ("backlog wait", "queue_seconds_total")):
                mean = float(re.search(rf"{label}: ([\d.]+)", rest)[1])
                compared += check(f"mountstats {name} {label}", mean, 1000 * row[field] / int(count), 1e-5)
    print(f"mountstats of nfs-common: {compared} mean times agree")
    return compared


def iostat(program, before, mount):
    report = subprocess.run([program, "iostat", "-f", FILE, "-S", before, mount["key"][1]], capture_output=True,
                            text=True, check=False).stdout
    rows = {}
    for name, numbers in re.findall(r"^(read|write):[^\n]*\n([^\n]+)$", report, re.M):
        rows[name.upper()] = list(map(float, re.sub(r"\(.*?\)", "", numbers).split()))
    return rows


def compare_rates(program, before_text, after_text):
    before, after = parse(before_text), parse(after_text)
    earlier = os.path.join(SCRATCH, "before")
    newer = os.path.join(SCRATCH, "newer")
    for path, text in ((earlier, before_text), (FILE, before_text), (newer, after_text)):
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
    run = subprocess.Popen([ZEL, "show", "nfs", "--root", ROOT, "--rates", "--every", "3s", "--count", "1", "--format",
                            "json"], stdout=subprocess.PIPE)
    time.sleep(1.5)  # within the three seconds between the samples
    os.replace(newer, FILE)
    sample = json.loads(run.communicate()[0].splitlines()[-1])
    rows = {key_of(each) + (each["operation"],): each for each in sample["nfs_operations"]}
    means = 0
    for old, now in zip(before, after):
        theirs = iostat(program, earlier, now) if program else {}
        for name, numbers in now["operations"].items():
            growth = [number - was for number, was in zip(numbers, old["operations"][name])]
            row = rows[now["key"] + (name,)]
            for index, field in enumerate(("queue_seconds", "round_trip_seconds", "execute_seconds")):
                means += check(f"{name} {field}", growth[5 + index] / growth[0] / 1000, row[field])
            check(f"{name} retransmission_ratio", max(0, growth[1] - growth[0]) / growth[0],
                  row["retransmission_ratio"], 0.02)
            check(f"{name} operation_bytes", (growth[3] + growth[4]) / growth[0], row["operation_bytes"])
            if name in theirs:
                _, _, kilobytes, _, rtt, execute, queue, _ = theirs[name]
                for expected, found in ((kilobytes, row["operation_bytes"] / 1024), (queue, 1e3 * row["queue_seconds"]),
                                        (rtt, 1e3 * row["round_trip_seconds"]), (execute, 1e3 * row["execute_seconds"])):
                    check(f"iostat {name}", expected, found, 6e-4)
    print(f"rates: {means} means as computed here{', and those of mountstats iostat' if program else ''}")


def this_host(program):
    with open("/proc/self/mountstats", encoding="utf-8", errors="surrogateescape") as file:
        mounts = parse(file.read())
    if not mounts:
        print("this host has no NFS mount" if "nfs" in open("/proc/filesystems", encoding="ascii").read().split()
              else "the kernel of this host has no NFS client: nothing of the host itself is compared")
        return
    found = {key_of(mount): mount for mount in zel("--raw")["nfs_mounts"]}
    for mount in mounts:
        row = found[mount["key"]]
        for index, field in enumerate(SUMS):
            least = sum(each[index] for each in mount["operations"].values())
            if row[field] < least:
                check(f"{mount['key']} {field}", f"{least} or more", row[field])
    print(f"this host: {len(mounts)} NFS mounts")


def main():
    global wrong
    os.makedirs(os.path.dirname(FILE))
    program = shutil.which("mountstats")
    chance = random.Random(21)
    mounts = first_numbers(chance)
    before = text_of(mounts)
    with open(FILE, "w", encoding="utf-8") as file:
        file.write(before)
    sample = zel("--raw", "--root", ROOT)
    compare_counters(parse(before), sample)
    if program is None:
        print("mountstats of nfs-common is not installed: an independent reading alone")
    elif compare_with_mountstats(program, parse(before), sample) == 0:
        print("WRONG: mountstats reports nothing")
        wrong += 1
    grow(mounts, chance)
    counted = wrong
    for _ in range(3):  # a busy machine may take a sample late
        wrong = counted
        compare_rates(program, before, text_of(mounts))
        if wrong == counted:
            break
    this_host(program)
    return 1 if wrong else 0


sys.exit(main())
