"""Compares `zel show sensors time identity` with lm-sensors, adjtimex and systemd-detect-virt:
host_sensors.py tree DIRECTORY | time ZEL | virtualisation ZEL | sensors ZEL live|tree"""

import ctypes
import json
import os
import re
import subprocess
import sys
import time

# The section of a kind of sensor, and by its attribute of the kernel: the field of zel, and what one unit of lm-sensors
# is in it. lm-sensors prints three decimals.
LIMITS = [("min", "min"), ("max", "max"), ("crit", "critical"), ("lcrit", "critical_low")]


def kind(section, unit, factor=1, more=()):
    numbers = {"input": f"input_{unit}", "average": f"average_{unit}", "lowest": f"lowest_{unit}",
               "highest": f"highest_{unit}", **{theirs: f"{ours}_{unit}" for theirs, ours in LIMITS}, **dict(more)}
    states = {"alarm": "alarm", "fault": "fault", "beep": "beep", "enable": "enabled", "type": "type",
              "min_alarm": "min_alarm", "max_alarm": "max_alarm", "crit_alarm": "critical_alarm",
              "lcrit_alarm": "critical_low_alarm", "emergency_alarm": "emergency_alarm", "pulses": "pulses",
              "div": "divisor", "cap_alarm": "cap_alarm"}
    return section, numbers, states, factor


KINDS = {
    "temp": kind("temperatures", "celsius", 1, [
        ("max_hyst", "max_hysteresis_celsius"), ("crit_hyst", "critical_hysteresis_celsius"),
        ("min_hyst", "min_hysteresis_celsius"), ("emergency", "emergency_celsius"), ("offset", "offset_celsius")]),
    "fan": kind("fans", "rpm"),
    "in": kind("voltages", "volts"),
    "curr": kind("currents", "amperes"),
    "power": kind("powers", "watts", 1, [("cap", "cap_watts"), ("average_interval", "average_interval_seconds")]),
    "energy": kind("energies", "joules", 1, [("input", "consumed_joules_total")]),
    "humidity": kind("humidities", "ratio", 0.01),
    "intrusion": kind("intrusions", "none"),
}


def zel(program, *areas):
    run = subprocess.run([program, "show", *areas, "--raw", "--format", "json"], stdout=subprocess.PIPE, check=True)
    return json.loads(run.stdout.splitlines()[-1])


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="latin-1") as file:
        file.write(text)


def chip(root, number, device, name, files):
    place = f"sys/devices/platform/{device}/hwmon/hwmon{number}"
    for file, text in {"name": name, **files}.items():
        write(f"{root}/{place}/{file}", f"{text}\n")
    os.symlink(f"../../../{device}", f"{root}/{place}/device")
    os.makedirs(f"{root}/sys/class/hwmon", exist_ok=True)
    os.symlink(f"../../devices/platform/{device}/hwmon/hwmon{number}", f"{root}/sys/class/hwmon/hwmon{number}")


def make_tree(root):
    cores = {}
    for core in range(1, 18):
        cores |= {f"temp{core}_input": 40000 + 137 * core, f"temp{core}_label": f"Core {core - 2}",
                  f"temp{core}_max": 80000, f"temp{core}_crit": 100000, f"temp{core}_crit_alarm": core % 2}
    chip(root, 0, "coretemp.0", "coretemp", cores)
    chip(root, 1, "nct6775.656", "nct6798", {
        "in0_input": 904, "in0_min": 0, "in0_max": 1744, "in0_alarm": 0, "in1_input": -12096, "in1_label": "-12V",
        "fan1_input": 1180, "fan1_min": 300, "fan1_alarm": 1, "fan1_pulses": 2, "temp1_input": -5500, "temp1_fault": 1,
        "temp1_type": 4, "temp1_offset": -1000, "temp2_input": 31500, "temp2_max": 85000, "temp2_max_hyst": 80000,
        "intrusion0_alarm": 1, "curr1_input": 1503, "curr1_max": 9000, "humidity1_input": 45500,
        "energy1_input": 1234000})
    chip(root, 10, "power_meter.0", "power_meter", {
        "power1_average": 125500000, "power1_average_interval": 1000, "power1_cap": 200000000})


def compare_sensors(program, what):
    theirs = json.loads(subprocess.run(["sensors", "-j"], stdout=subprocess.PIPE, check=True).stdout)
    ours = zel(program, "sensors")
    names = {row["chip"]: row["name"] for row in ours["sensor_chips"]}
    wrong = compared = 0
    for chip_name, features in theirs.items():
        # lm-sensors names a chip by its driver and bus: those of that driver are looked at.
        candidates = [chip for chip, name in names.items() if chip_name.startswith(f"{name}-")]
        for feature, values in features.items():
            for attribute, value in (values.items() if isinstance(values, dict) else ()):
                match = re.fullmatch(r"([a-z]+)(\d+)_(.+)", attribute)
                if match is None or match[1] not in KINDS:
                    continue
                section, numbers, states, factor = KINDS[match[1]]
                rows = [row for row in ours[section]
                        if row["chip"] in candidates and row["sensor"] == match[1] + match[2]]
                field = numbers.get(match[3]) or states.get(match[3])
                found = [row.get(field) for row in rows]
                slack = 5 if what == "live" and match[3] in ("input", "average") else 0.0005
                fits = any(one is not None and abs(one / factor - value) <= slack + 1e-9 for one in found)
                labels = [row["label"] for row in rows]
                named = feature in labels or feature == match[1] + match[2] or what == "live"
                if not (fits and named):
                    print(f"WRONG {chip_name} {feature} {attribute}: sensors {value}, zel {found}, labels {labels}")
                wrong += not (fits and named)
                compared += 1
    print(f"{len(theirs)} chips, {compared} values of sensors -j, {wrong} wrong")
    return 1 if wrong or (what == "tree" and compared < 90) else 0


class Timex(ctypes.Structure):
    _fields_ = [("modes", ctypes.c_uint), ("offset", ctypes.c_long), ("freq", ctypes.c_long),
                ("maxerror", ctypes.c_long), ("esterror", ctypes.c_long), ("status", ctypes.c_int),
                ("constant", ctypes.c_long), ("precision", ctypes.c_long), ("tolerance", ctypes.c_long),
                ("seconds", ctypes.c_long), ("microseconds", ctypes.c_long), ("tick", ctypes.c_long),
                ("ppsfreq", ctypes.c_long), ("jitter", ctypes.c_long), ("shift", ctypes.c_int),
                ("stabil", ctypes.c_long), ("jitcnt", ctypes.c_long), ("calcnt", ctypes.c_long),
                ("errcnt", ctypes.c_long), ("stbcnt", ctypes.c_long), ("tai", ctypes.c_int),
                ("rest", ctypes.c_int * 11)]


def adjtimex():
    clock = Timex()
    state = ctypes.CDLL(None, use_errno=True).adjtimex(ctypes.byref(clock))
    return state, clock


def text(path):
    try:
        with open(path, encoding="latin-1") as file:
            return file.read().strip()
    except OSError:
        return None


def compare_time(program):
    before = time.time(), time.monotonic()
    state, clock = adjtimex()
    ours = zel(program, "time")["time"]
    state_after, after = adjtimex()
    late = time.time(), time.monotonic()
    if state < 0:
        print(f"adjtimex is refused here; zel says {ours['absent'].get('status')}")
        return 0 if ours["status"] is None else 1
    nano = 1e-9 if clock.status & 0x2000 else 1e-6
    source = "/sys/devices/system/clocksource/clocksource0/"
    expected = {
        "offset_seconds": [clock.offset * nano, after.offset * nano],
        "frequency_ratio": [1 + clock.freq / 65536e6, 1 + after.freq / 65536e6],
        "maximum_error_seconds": [clock.maxerror / 1e6, after.maxerror / 1e6],
        "estimated_error_seconds": [clock.esterror / 1e6, after.esterror / 1e6],
        "constant": [clock.constant], "precision_seconds": [clock.precision / 1e6],
        "tolerance_ratio": [clock.tolerance / 65536e6], "tick_seconds": [clock.tick / 1e6],
        "tai_offset_seconds": [clock.tai], "status": [clock.status, after.status],
        "synchronised": [int(state != 5), int(state_after != 5)],
        "realtime_seconds": [before[0], late[0]], "monotonic_seconds": [before[1], late[1]],
        "zone_offset_seconds": [time.localtime().tm_gmtoff], "zone": [time.localtime().tm_zone],
        "clock_source": [text(source + "current_clocksource")],
        "clock_sources": [text(source + "available_clocksource")],
        "pps_errors_total": [clock.errcnt if clock.shift else None, after.errcnt if clock.shift else None],
    }
    wrong = 0
    for field, values in expected.items():
        value = ours[field]
        if isinstance(value, (int, float)) and None not in values:
            fits = min(values) - 1e-9 <= value <= max(values) + 1e-9
        else:
            fits = value in values
        print(f"{field:26}{values[0]!s:>24}{value!s:>24}{'' if fits else '   WRONG'}")
        wrong += not fits
    return wrong > 0


def compare_virtualisation(program):
    ours = zel(program, "identity")["identity"]
    wrong = 0
    for field, option in (("virtualisation", "--vm"), ("container", "--container")):
        run = subprocess.run(["systemd-detect-virt", option], stdout=subprocess.PIPE, check=False)
        theirs = run.stdout.decode().strip()
        fits = ours[field] == theirs or ours.get("absent", {}).get(field) == "denied"
        print(f"{field}: systemd-detect-virt {theirs}, zel {ours[field]}{'' if fits else '   WRONG'}")
        wrong += not fits
    return wrong > 0


def main():
    what = sys.argv[1]
    if what == "tree":
        make_tree(sys.argv[2])
        return 0
    if what == "time":
        return compare_time(sys.argv[2])
    if what == "virtualisation":
        return compare_virtualisation(sys.argv[2])
    return compare_sensors(sys.argv[2], sys.argv[3])


sys.exit(main())
