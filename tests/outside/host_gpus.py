# Compares `zel show gpus` with nvidia-smi. What does not move has to be the same; what moves has to lie between two
# readings of nvidia-smi, taken before and after, with the slack that is said below.
#   host_gpus.py ZEL
import json
import statistics
import subprocess
import sys
import time
import xml.etree.ElementTree as xml

ZEL = sys.argv[1]
MIB = 1 << 20
WORD = {"Enabled": 1, "Disabled": 0, "Active": 1, "Not Active": 0, "Yes": 1, "No": 0}
MODES = {"Default": "default", "Exclusive_Thread": "exclusive_thread", "Prohibited": "prohibited",
         "Exclusive_Process": "exclusive_process"}

# Of --query-gpu: the fields that it may have by several names, the field of zel, what one of its units is in zel's, and
# the slack in its own units; the slack of what does not move is its rounding.
NUMBERS = [
    (["memory.total"], "memory_total_bytes", MIB, 1),
    (["memory.reserved"], "memory_reserved_bytes", MIB, 1),
    (["power.default_limit"], "power_limit_default_watts", 1, 0.01),
    (["enforced.power.limit"], "power_limit_watts", 1, 0.01),
    (["clocks.max.graphics"], "graphics_most_hertz", 1e6, 0),
    (["clocks.max.sm"], "sm_most_hertz", 1e6, 0),
    (["clocks.max.memory"], "memory_most_hertz", 1e6, 0),
    (["pcie.link.gen.gpumax", "pcie.link.gen.max"], "pcie_generation_most", 1, 0),
    (["pcie.link.width.max"], "pcie_width_most", 1, 0),
    (["ecc.errors.corrected.volatile.total"], "ecc_corrected_total", 1, 0),
    (["ecc.errors.uncorrected.volatile.total"], "ecc_uncorrected_total", 1, 0),
    (["ecc.errors.corrected.aggregate.total"], "ecc_corrected_ever_total", 1, 0),
    (["ecc.errors.uncorrected.aggregate.total"], "ecc_uncorrected_ever_total", 1, 0),
    (["retired_pages.single_bit_ecc.count"], "retired_pages_corrected", 1, 0),
    (["retired_pages.double_bit.count"], "retired_pages_uncorrected", 1, 0),
]
MOVING = [
    (["utilization.gpu"], "utilisation_ratio", 0.01, 25),
    (["utilization.memory"], "memory_utilisation_ratio", 0.01, 25),
    (["utilization.encoder"], "encoder_utilisation_ratio", 0.01, 10),
    (["utilization.decoder"], "decoder_utilisation_ratio", 0.01, 10),
    (["memory.used"], "memory_used_bytes", MIB, 64),
    (["memory.free"], "memory_free_bytes", MIB, 64),
    (["temperature.gpu"], "temperature_celsius", 1, 3),
    (["temperature.memory"], "memory_celsius", 1, 3),
    (["fan.speed"], "fan_ratio", 0.01, 5),
    (["power.draw"], "power_watts", 1, 60),
    (["clocks.current.graphics"], "graphics_hertz", 1e6, 150),
    (["clocks.current.sm"], "sm_hertz", 1e6, 150),
    (["clocks.current.memory"], "memory_hertz", 1e6, 150),
    (["clocks.current.video"], "video_hertz", 1e6, 150),
    (["pcie.link.gen.gpucurrent", "pcie.link.gen.current"], "pcie_generation", 1, 0),
    (["pcie.link.width.current"], "pcie_width", 1, 0),
]
WORDS = [
    (["persistence_mode"], "persistence"),
    (["mig.mode.current"], "mig_enabled"),
    (["ecc.mode.current"], "ecc_enabled"),
    (["retired_pages.pending"], "retired_pages_pending"),
]
MOVING_WORDS = [([f"clocks_event_reasons.{name}", f"clocks_throttle_reasons.{name}"], field) for name, field in [
    ("gpu_idle", "clocks_idle"), ("applications_clocks_setting", "clocks_application"),
    ("sync_boost", "clocks_sync_boost"), ("sw_power_cap", "throttled_power_cap"),
    ("hw_power_brake_slowdown", "throttled_power_brake"), ("sw_thermal_slowdown", "throttled_thermal_software"),
    ("hw_thermal_slowdown", "throttled_thermal_hardware"), ("hw_slowdown", "throttled_hardware")]]
TEXTS = [(["name"], "name"), (["driver_version"], "driver_version"), (["vbios_version"], "firmware")]

# Of -q -x: the path, the field of zel, one unit in zel's, and the slack.
PATHS = [
    ("bar1_memory_usage/total", "visible_memory_total_bytes", MIB, 1),
    ("bar1_memory_usage/used", "visible_memory_used_bytes", MIB, 4),
    ("temperature/gpu_temp_max_threshold", "shutdown_celsius", 1, 0),
    ("temperature/gpu_temp_slow_threshold", "slowdown_celsius", 1, 0),
    ("max_clocks/video_clock", "video_most_hertz", 1e6, 0),
    ("pci/replay_counter", "pcie_replays_total", 1, 0),
    ("remapped_rows/remapped_row_corr", "remapped_rows_corrected", 1, 0),
    ("remapped_rows/remapped_row_unc", "remapped_rows_uncorrected", 1, 0),
    ("remapped_rows/remapped_row_pending", "remapped_rows_pending", 1, 0),
    ("remapped_rows/remapped_row_failure", "remapped_rows_failed", 1, 0),
]
wrong = []


def output(*command):
    return subprocess.run(command, capture_output=True, check=True, text=True).stdout


def zel(*arguments):
    run = subprocess.run([ZEL, "show", "gpus", "--raw", "--format", "json", *arguments], capture_output=True, text=True)
    if run.stderr:
        print("zel says:", run.stderr.strip())
    return [json.loads(line) for line in run.stdout.splitlines()]


KNOWN = set(word.strip('"') for line in output("nvidia-smi", "--help-query-gpu").splitlines()
            for word in line.replace(" or ", " ").split() if word.startswith('"'))


def known(names):
    return next((name for name in names if name in KNOWN), None)


def query():
    names = ["uuid", "pci.bus_id", "pstate", "compute_mode"]
    names += filter(None, (known(row[0]) for row in NUMBERS + MOVING + WORDS + MOVING_WORDS + TEXTS))
    lines = output("nvidia-smi", "--query-gpu=" + ",".join(names), "--format=csv,noheader,nounits").splitlines()
    rows = [dict(zip(names, (word.strip() for word in line.split(",")))) for line in lines]
    return {row["uuid"]: row for row in rows}


def tree():
    return {gpu.findtext("uuid"): gpu for gpu in xml.fromstring(output("nvidia-smi", "-q", "-x")).iter("gpu")}


def is_none(text):
    return text is None or text.strip("[]") in ("N/A", "Not Supported", "Requested functionality has been deprecated")


def show(field, before, value, after, fits, failed):
    print(f"  {field:28}{before!s:>24}{value!s:>24}{'' if after is None else after!s:>24}{'' if fits else '   WRONG'}")
    if not fits:
        failed.append(field)


def compare(gpu, field, before, after, expected, slack, failed):
    value = gpu[field]
    if is_none(before) or is_none(after):
        fits = value is None and gpu["absent"][field] == "unsupported"
        shown = f"none: {gpu['absent'][field]}" if value is None else value
    elif value is None:
        fits, shown = False, f"none: {gpu['absent'][field]}"
    else:
        low, high = sorted((expected(before), expected(after)))
        fits = value == low if isinstance(low, str) else low - slack <= value <= high + slack
        shown = value
    show(field, before, shown, None if before == after else after, fits, failed)


def number(unit):
    return lambda text: float(WORD.get(text, text.split()[0] if text not in WORD else 0)) * unit


def compare_fixed(gpu, smi, details):
    failed = []
    for names, field in TEXTS:
        compare(gpu, field, smi[known(names)], smi[known(names)], str, 0, failed)
    bus = smi["pci.bus_id"].lower()
    show("address", bus, gpu["address"], None, bus.endswith(gpu["address"]) and gpu["address"] != "", failed)
    pci = details.findtext("pci/pci_device_id").lower().removeprefix("0x")
    show("pci_id", pci, gpu["pci_id"], None, gpu["pci_id"] == f"{pci[4:]}:{pci[:4]}", failed)
    compare(gpu, "compute_mode", smi["compute_mode"], smi["compute_mode"], lambda text: MODES[text], 0, failed)
    for names, field, unit, slack in NUMBERS:
        if known(names):
            compare(gpu, field, smi[known(names)], smi[known(names)], number(unit), slack * unit * 1.000001, failed)
    for names, field in WORDS:
        if known(names):
            compare(gpu, field, smi[known(names)], smi[known(names)], number(1), 0, failed)
    for path, field, unit, slack in PATHS:
        text = details.findtext(path)
        if text is not None: # this nvidia-smi has no such line
            compare(gpu, field, text, text, number(unit), slack * unit * 1.000001, failed)
    instances = len(details.findall("mig_devices/mig_device"))
    show("mig_devices", instances, gpu["mig_devices"], None, (gpu["mig_devices"] or 0) == instances, failed)
    return failed


def compare_moving(gpu, before, after):
    failed = []
    for names, field, unit, slack in MOVING:
        if known(names):
            compare(gpu, field, before[known(names)], after[known(names)], number(unit), slack * unit * 1.000001, failed)
    for names, field in MOVING_WORDS:
        if known(names):
            compare(gpu, field, before[known(names)], after[known(names)], number(1), 0, failed)
    compare(gpu, "performance_state", before["pstate"], after["pstate"], lambda text: int(text[1:]), 0, failed)
    return failed


def compare_processes(sample, name, details):
    failed = []
    theirs = {}
    for process in details.iter("process_info"):
        for letter, kind in (("C", "compute"), ("G", "graphics")):
            if letter in process.findtext("type"):
                theirs[int(process.findtext("pid")), kind] = process.findtext("used_memory")
    ours = {(row["pid"], row["kind"]): row for row in sample["gpu_processes"] if row["gpu"] == name}
    show("processes", sorted(theirs), sorted(ours), None, set(theirs) == set(ours), failed)
    for key in set(theirs) & set(ours):
        compare(ours[key], "used_bytes", theirs[key], theirs[key], number(MIB), 64 * MIB, failed)
    return failed


def compare_all():
    before = query()
    sample = zel()[0]
    after, details = query(), tree()
    gpus = {gpu["uuid"]: gpu for gpu in sample["gpus"] if gpu["driver"] == "nvidia"}
    if set(gpus) != set(before):
        print(f"WRONG: nvidia-smi has {sorted(before)}, zel has {sorted(gpus)}; areas: {sample['areas']['gpus']}")
        return ["gpus"], []
    fixed, moving = [], []
    for uuid, gpu in gpus.items():
        print(f"{gpu['gpu']} {uuid}\n  {'':28}{'nvidia-smi':>24}{'zel':>24}{'nvidia-smi after':>24}")
        fixed += compare_fixed(gpu, before[uuid], details[uuid])
        moving += compare_moving(gpu, before[uuid], after[uuid])
        moving += compare_processes(sample, gpu["gpu"], details[uuid])
        print(f"  library_version {gpu['library_version']}, energy_joules_total {gpu['energy_joules_total']}")
    return fixed, moving


# Programs may start and end, and clocks may change, between the moments of the two: what moves gets three chances.
def compare_until_settled(title):
    for attempt in range(1, 4):
        print(f"\n== {title}, attempt {attempt}")
        fixed, moving = compare_all()
        if not moving:
            break
        time.sleep(1)
    wrong.extend(f"{title}: {field}" for field in fixed + moving)


def compare_energy():
    samples = zel("--every", "500ms", "--count", "5")
    for first, last in zip(samples[0]["gpus"], samples[-1]["gpus"]):
        if first["energy_joules_total"] is None or last["power_watts"] is None:
            continue
        seconds = last_moment(samples[-1]) - last_moment(samples[0])
        watts = (last["energy_joules_total"] - first["energy_joules_total"]) / seconds
        powers = [gpu["power_watts"] for sample in samples for gpu in sample["gpus"] if gpu["gpu"] == last["gpu"]]
        fits = min(powers) * 0.8 - 10 <= watts <= max(powers) * 1.2 + 10
        print(f"{last['gpu']}: {watts:.1f} W by its energy over {seconds:.1f} s, its power {min(powers):.1f} to "
              f"{max(powers):.1f} W{'' if fits else '   WRONG'}")
        if not fits:
            wrong.append("energy")


def last_moment(sample):
    return sample["areas"]["gpus"]["monotonic_seconds"]


def show_cost():
    samples = zel("--every", "200ms", "--count", "12")
    elapsed = [1000 * sample["elapsed_seconds"] for sample in samples]
    cost = [1000 * sample["areas"]["gpus"]["cost_seconds"] for sample in samples]
    print(f"\nfirst sample {elapsed[0]:.1f} ms (processor {cost[0]:.1f} ms), then {statistics.median(elapsed[1:]):.2f} ms "
          f"(processor {statistics.median(cost[1:]):.2f} ms), at most {max(elapsed[1:]):.2f} ms")


LOAD = """
import sys, time, torch
a = torch.randn(8192, 8192, device="cuda", dtype=torch.float16)
print("ready", flush=True)
end = time.time() + 60
while time.time() < end:
    a @ a
    torch.cuda.synchronize()
"""


def with_load():
    load = subprocess.Popen([sys.executable, "-c", LOAD], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    try:
        if load.stdout.readline().strip() != "ready":
            print("\nno load: PyTorch cannot make one here")
            return
        time.sleep(3)
        compare_until_settled("with a load")
        compare_energy()
        if not any((gpu["utilisation_ratio"] or 0) > 0.5 for gpu in zel()[0]["gpus"]):
            wrong.append("the load is not seen")
    finally:
        load.kill()
        load.wait()


def main():
    compare_until_settled("at rest")
    compare_energy()
    show_cost()
    with_load()
    print(f"\nwrong: {', '.join(wrong) if wrong else 'nothing'}")
    return 1 if wrong else 0


sys.exit(main())
