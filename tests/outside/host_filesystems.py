"""Compares the filesystems of `zel show` with df and /proc/self/mountinfo: host_filesystems.py ZEL MOUNT"""

import json
import os
import subprocess
import sys
import time

ZEL, FILLED = sys.argv[1], sys.argv[2]
# What df calls a field, in blocks of a byte.
COLUMNS = {"size": "size_bytes", "avail": "available_bytes", "itotal": "files", "iavail": "files_free"}
MOVING = ("used", "avail", "iavail")  # others may write between two readings
TRIES = 5


def zel():
    run = subprocess.run([ZEL, "show", "filesystems", "--raw", "--format", "json"], capture_output=True, check=True)
    return json.loads(run.stdout)["filesystems"]


def df():
    output = ",".join(["source", "fstype", "used", *COLUMNS, "target"])
    run = subprocess.run(["df", "-a", "-B1", f"--output={output}"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                         env={**os.environ, "LC_ALL": "C"}, check=False)  # a mount that is denied is its status 1
    names = output.split(",")
    rows = (dict(zip(names, line.split(None, len(names) - 1))) for line in
            run.stdout.decode("utf-8", "replace").splitlines()[1:])
    return {row["target"]: row for row in rows if len(row) == len(names)}


def unescaped(text):
    for code in ("040", "011", "012", "134"):
        text = text.replace("\\" + code, chr(int(code, 8)))
    return text


def mountinfo():
    with open("/proc/self/mountinfo", encoding="utf-8", errors="replace") as lines:
        for line in lines:
            fields = line.split()
            yield int(fields[0]), unescaped(fields[4]), fields[fields.index("-") + 1]


def number(text):
    return None if text == "-" else int(text)


def compare_sizes(before, filesystems, after):
    compared = wrong = 0
    print(f"{'df':>20}{'zel':>20}  field of a mount")
    for filesystem in filesystems:
        place = filesystem["mount_point"]
        rows = [readings[place] for readings in (before, after) if place in readings]
        if filesystem["hidden"] != 0 or filesystem["size_bytes"] is None or len(rows) != 2 or " " in place:
            continue
        ours = {name: filesystem[field] for name, field in COLUMNS.items()}
        ours["used"] = filesystem["size_bytes"] - filesystem["free_bytes"]
        for name, value in ours.items():
            theirs = [number(row[name]) for row in rows]
            if None in theirs or (theirs[0] != theirs[1] and name not in MOVING):
                continue  # df says "-" where it has no number, of a mount without blocks
            compared += 1
            fits = min(theirs) <= value <= max(theirs)
            if not fits or place == FILLED:
                print(f"{theirs[0]:>20}{value:>20}  {name} of {place}{'' if fits else '   WRONG'}")
            wrong += not fits
    print(f"{compared} values compared, {wrong} wrong")
    return wrong if compared >= len(COLUMNS) + 1 else 1


def main():
    listed = [(each["mount_id"], each["mount_point"], each["type"]) for each in zel()]
    if listed != list(mountinfo()):
        print("WRONG: not the mounts of /proc/self/mountinfo in their order")
        return 1
    for _ in range(TRIES):
        before, filesystems, after = df(), zel(), df()
        filled = [each for each in filesystems if each["mount_point"] == FILLED]
        if FILLED not in before or len(filled) != 1 or filled[0]["size_bytes"] - filled[0]["free_bytes"] < 1 << 20:
            print(f"WRONG: {FILLED} is not there, or is empty")
            return 1
        if compare_sizes(before, filesystems, after) == 0:
            return 0
        time.sleep(0.5)
    return 1


sys.exit(main())
