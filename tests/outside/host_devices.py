# The inventory of memory and disks beside dmidecode and lsblk: of tables and trees that are made here, and of this host.
#   host_devices.py tree DIRECTORY           makes DIRECTORY/root and DIRECTORY/dump
#   host_devices.py memory DIRECTORY         compares DIRECTORY/memory.json with DIRECTORY/dmidecode
#   host_devices.py nvme JSON SMART          compares the health of nvme0
#   host_devices.py disks JSON LSBLK [all]   compares the disks; all: every disk of lsblk is to be there
import json
import os
import struct
import sys

compared = 0
wrong = 0


def check(what, ours, theirs):
    global compared, wrong
    compared += 1
    if ours != theirs:
        wrong += 1
        print(f"host_devices: {what}: zel has {ours!r}, expected {theirs!r}", file=sys.stderr)


# --- tables of the firmware -------------------------------------------------------------------------------------------


def structure(kind, length, handle, fields, *texts):
    data = bytearray(length)
    data[0:4] = struct.pack("<BBH", kind, length, handle)
    for at, code, value in fields:
        struct.pack_into("<" + code, data, at, value)
    strings = b"".join(text.encode() + b"\0" for text in texts)
    return bytes(data) + (strings or b"\0") + b"\0"


def module(handle, slot, fields, *texts, length=0x5C):
    common = [(0x04, "H", 0x1000), (0x10, "B", 1), (0x11, "B", 2)]
    return structure(17, length, handle, common + fields, slot, "BANK 0", *texts)


def firmware_tables():
    server = [(0x08, "H", 80), (0x0A, "H", 64), (0x0C, "H", 0x7FFF), (0x0E, "B", 9), (0x12, "B", 0x22), (0x13, "H", 0x2080),
              (0x15, "H", 5600), (0x17, "B", 3), (0x18, "B", 4), (0x19, "B", 5), (0x1A, "B", 6), (0x1B, "B", 2),
              (0x1C, "I", 65536), (0x20, "H", 4800), (0x22, "H", 1100), (0x24, "H", 1150), (0x26, "H", 1100), (0x28, "B", 3),
              (0x2B, "B", 7)]
    laptop = [(0x08, "H", 64), (0x0A, "H", 64), (0x0C, "H", 16384), (0x0E, "B", 0x0D), (0x12, "B", 0x1A), (0x13, "H", 0x80),
              (0x15, "H", 3200), (0x17, "B", 3), (0x18, "B", 4), (0x1A, "B", 5), (0x1B, "B", 1), (0x20, "H", 2933),
              (0x26, "H", 1200)]
    old = [(0x08, "H", 72), (0x0A, "H", 64), (0x0C, "H", 0x8200), (0x0E, "B", 9), (0x12, "B", 0x0F), (0x13, "H", 0x80)]
    array = [(4, "B", 3), (5, "B", 3), (6, "B", 6), (7, "I", 0x80000000), (13, "H", 4), (15, "Q", 8 << 40)]
    small_array = [(4, "B", 3), (5, "B", 4), (6, "B", 3), (7, "I", 16 << 20), (13, "H", 2)]
    processor = [(4, "B", 1), (5, "B", 3), (7, "B", 2), (0x10, "B", 3), (0x11, "B", 0x8B), (0x12, "H", 100), (0x14, "H", 4100),
                 (0x16, "H", 2900), (0x18, "B", 0x41), (0x20, "B", 4), (0x21, "B", 5), (0x22, "B", 6), (0x23, "B", 0xFF),
                 (0x24, "B", 0xFF), (0x25, "B", 0xFF), (0x2A, "H", 288), (0x2C, "H", 256), (0x2E, "H", 512)]
    return (structure(16, 0x17, 0x1000, array) +
            module(0x1100, "DIMM_A1", server, "Samsung", "80CE0123", "A1_Asset", "M321R8GA0BB0-CQKZJ", "0100") +
            module(0x1101, "DIMM_A2", [(0x12, "B", 2)], length=0x28) +
            module(0x1102, "SODIMM 3", laptop, "Micron", "S3", "8ATF2G64HZ-3G2", length=0x28) +
            module(0x1103, "J4", old, length=0x15) +
            module(0x1104, "J5", [(0x0C, "H", 0xFFFF), (0x15, "H", 0xFFFF), (0x20, "H", 0xFFFF), (0x54, "I", 70000),
                                  (0x58, "I", 66000), (0x12, "B", 0x23), (0x0E, "B", 1)]) +
            structure(16, 0x0F, 0x1001, small_array) +
            structure(4, 0x30, 0x400, processor, "CPU1", "Intel(R) Corporation", "A Processor", "S1", "T1", "P1") +
            structure(4, 0x28, 0x401, [(4, "B", 1), (5, "B", 3), (0x23, "B", 8), (0x24, "B", 6), (0x25, "B", 16)], "CPU2") +
            structure(127, 4, 0x7F00, []))


def entry_point(table):
    entry = bytearray(struct.pack("<5sBBBBBBBIQ", b"_SM3_", 0, 24, 3, 3, 0, 1, 0, len(table), 0x20))
    entry[5] = -sum(entry) % 256
    return bytes(entry)


def write(path, data):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(data if isinstance(data, bytes) else data.encode())


def make_memory(directory):
    table = firmware_tables()
    entry = entry_point(table)
    write(f"{directory}/root/sys/firmware/dmi/tables/smbios_entry_point", entry)
    write(f"{directory}/root/sys/firmware/dmi/tables/DMI", table)
    write(f"{directory}/dump", entry.ljust(0x20, b"\0") + table)


# The records of dmidecode: handle, and its keys with their texts.
def dmidecode_records(path):
    records = []
    with open(path) as file:
        for line in file.read().splitlines():
            if line.startswith("Handle "):
                records.append({"handle": int(line.split()[1].rstrip(","), 16), "type": int(line.split("DMI type ")[1].split(",")[0])})
            elif line.startswith("\t") and not line.startswith("\t\t") and ": " in line:
                key, value = line.strip().split(": ", 1)
                records[-1][key] = value
    return records


NOTHING = {None, "Unknown", "None", "Not Specified", "<OUT OF SPEC>", "No Module Installed", "Not Provided"}


def text(value):
    return None if value in NOTHING else value


# "64 GB", "5600 MT/s", "1.15 V", "80 bits", "2"
def number(value):
    if value in NOTHING:
        return None
    words = value.split()
    scale = {"bytes": 1, "kB": 1 << 10, "MB": 1 << 20, "GB": 1 << 30, "TB": 1 << 40, "MT/s": 10**6, "MHz": 10**6, "bits": 1,
             "V": 1}[words[1]] if len(words) > 1 else 1
    return float(words[0]) * scale


def compare_rows(name, rows, records, fields):
    check(f"number of {name}", len(rows), len(records))
    for row, record in zip(rows, records):
        check(f"{name} handle", row["handle"], record["handle"])
        for field, (key, convert) in fields.items():
            theirs = convert(record.get(key))
            ours = row[field]
            if isinstance(theirs, float) and ours is not None:
                ours, theirs = round(float(ours), 6), round(theirs, 6)
            check(f"{name} {record['handle']:#x} {field}", ours, theirs)


def compare_memory(directory):
    with open(f"{directory}/memory.json") as file:
        ours = json.load(file)
    records = dmidecode_records(f"{directory}/dmidecode")
    of_type = lambda kind: [record for record in records if record["type"] == kind]
    compare_rows("memory_modules", ours["memory_modules"], of_type(17), dict(
        slot=("Locator", text), bank=("Bank Locator", text), size_bytes=("Size", number), type=("Type", text),
        type_detail=("Type Detail", text), form_factor=("Form Factor", text), technology=("Memory Technology", text),
        fastest_transfers_per_second=("Speed", number), configured_transfers_per_second=("Configured Memory Speed", number),
        ranks=("Rank", number), total_width_bits=("Total Width", number), data_width_bits=("Data Width", number),
        lowest_volts=("Minimum Voltage", number), highest_volts=("Maximum Voltage", number),
        configured_volts=("Configured Voltage", number), manufacturer=("Manufacturer", text), part_number=("Part Number", text),
        serial=("Serial Number", text), asset_tag=("Asset Tag", text), firmware=("Firmware Version", text)))
    compare_rows("memory_arrays", ours["memory_arrays"], of_type(16), dict(
        location=("Location", text), use=("Use", text), highest_bytes=("Maximum Capacity", number),
        slots=("Number Of Devices", number), error_correction=("Error Correction Type", lambda value: value)))
    compare_rows("processor_sockets", ours["processor_sockets"], of_type(4), dict(
        socket=("Socket Designation", text), type=("Type", text), manufacturer=("Manufacturer", text), version=("Version", text),
        volts=("Voltage", number), bus_hertz=("External Clock", number), highest_hertz=("Max Speed", number),
        boot_hertz=("Current Speed", number), cores=("Core Count", number), enabled_cores=("Core Enabled", number),
        threads=("Thread Count", number), serial=("Serial Number", text), asset_tag=("Asset Tag", text),
        part_number=("Part Number", text)))
    check("populated sockets", [row["populated"] for row in ours["processor_sockets"]],
          [int(record["Status"].startswith("Populated")) for record in of_type(4)])


# --- disks ------------------------------------------------------------------------------------------------------------

SCSI = {"type": "0\n", "state": "running\n", "queue_depth": "32\n"}
QUEUE = {"queue/logical_block_size": "512\n", "queue/physical_block_size": "4096\n", "queue/rotational": "0\n",
         "queue/scheduler": "none [mq-deadline]\n", "queue/nr_requests": "64\n", "queue/discard_granularity": "4096\n",
         "queue/discard_max_bytes": "2147450880\n", "queue/zoned": "none\n", "queue/write_cache": "write back\n"}
DISKS = [
    ("sda", "8:0", "pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0/block/sda",
     {"vendor": "ATA     \n", "model": "SAMSUNG MZ7LH960\n", "rev": "904Q\n", **SCSI}, {}),
    ("sdb", "8:16", "pci0000:00/0000:03:00.0/host1/port-1:0/expander-1:0/port-1:0:3/end_device-1:0:3/target1:0:3/1:0:3:0/block/sdb",
     {"vendor": "SEAGATE \n", "model": "ST4000NM0025    \n", "rev": "N003\n", **SCSI}, {"queue/rotational": "1\n"}),
    ("sdc", "8:32", "pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host6/target6:0:0/6:0:0:0/block/sdc",
     {"vendor": "SanDisk \n", "model": "Ultra           \n", "rev": "1.00\n", **SCSI}, {"removable": "1\n", "ro": "1\n"}),
    ("sdd", "8:48", "pci0000:00/0000:05:00.0/host5/rport-5:0-1/target5:0:0/5:0:0:1/block/sdd",
     {"vendor": "NETAPP  \n", "model": "LUN C-Mode      \n", "rev": "9131\n", **SCSI}, {}),
    ("sr0", "11:0", "pci0000:00/0000:00:1f.2/ata2/host2/target2:0:0/2:0:0:0/block/sr0",
     {"vendor": "HL-DT-ST\n", "model": "DVDRAM GUD1N    \n", "rev": "LD01\n", **SCSI, "type": "5\n"}, {"removable": "1\n"}),
    ("vda", "254:0", "pci0000:00/0000:00:02.0/virtio1/block/vda", {"vendor": "0x1af4\n"}, {"queue/scheduler": "[none] bfq\n"}),
    ("nvme0n1", "259:0", "pci0000:00/0000:01:00.0/nvme/nvme0/nvme0n1",
     {"model": "SAMSUNG MZQL21T9HCJR-00A07             \n", "firmware_rev": "GDC5602Q\n", "state": "live\n"},
     {"queue/physical_block_size": "512\n"}),
    ("md127", "9:127", "virtual/block/md127", None, {"md/level": "raid1\n", "md/raid_disks": "2\n"}),
    ("dm-0", "253:0", "virtual/block/dm-0", None, {"dm/name": "mpatha\n", "dm/uuid": "mpath-36001405\n", "dm/suspended": "0\n"}),
    ("dm-1", "253:1", "virtual/block/dm-1", None, {"dm/name": "vg-root\n", "dm/uuid": "LVM-abc\n", "dm/suspended": "0\n"}),
    ("dm-2", "253:2", "virtual/block/dm-2", None, {"dm/name": "sda3_crypt\n", "dm/uuid": "CRYPT-LUKS2-1\n", "dm/suspended": "0\n"}),
]
HOSTS = {"scsi_host/host0/proc_name": "ahci\n", "scsi_host/host1/proc_name": "mpt3sas\n", "sas_host/host1/uevent": "",
         "scsi_host/host2/proc_name": "ahci\n", "scsi_host/host6/proc_name": "usb-storage\n",
         "scsi_host/host5/proc_name": "qla2xxx\n", "fc_host/host5/symbolic_name": "QLE2692 FW:v9\n"}


def make_disks(root):
    for path, data in HOSTS.items():
        write(f"{root}/sys/class/{path}", data)
    for number_of_disk, (name, numbers, place, device, more) in enumerate(DISKS):
        directory = f"{root}/sys/devices/{place}"
        files = {"size": f"{(number_of_disk + 1) * 2048}\n", "ro": "0\n", "removable": "0\n", "dev": numbers + "\n", **QUEUE, **more,
                 "uevent": f"MAJOR={numbers.split(':')[0]}\nMINOR={numbers.split(':')[1]}\nDEVNAME={name}\nDEVTYPE=disk\n"}
        for path, data in files.items():
            write(f"{directory}/{path}", data)
        for path in ("slaves", "holders"):
            os.makedirs(f"{directory}/{path}", exist_ok=True)
        os.makedirs(f"{root}/sys/class/block", exist_ok=True)
        os.makedirs(f"{root}/sys/block", exist_ok=True)
        os.makedirs(f"{root}/sys/dev/block", exist_ok=True)
        os.symlink(f"../devices/{place}", f"{root}/sys/block/{name}")
        os.symlink(f"../../devices/{place}", f"{root}/sys/class/block/{name}")
        os.symlink(f"../../devices/{place}", f"{root}/sys/dev/block/{numbers}")
        os.symlink(os.path.relpath(f"{root}/sys/class/block", directory), f"{directory}/subsystem")
        if device is None:
            continue
        parent = os.path.dirname(os.path.dirname(directory)) if "/block/" in place else os.path.dirname(directory)
        up = "../../.." if "/block/" in place else "../.."
        os.symlink(f"{up}/{os.path.basename(parent)}", f"{directory}/device")
        for path, data in device.items():
            write(f"{parent}/{path}", data)


def plain(value):
    if isinstance(value, str):
        value = " ".join(value.split())
    return value or None


# Values of lsblk are numbers, texts or nothing, depending on its version.
def as_number(value):
    return None if value is None else int(value)


FIELDS = dict(size_bytes=("size", as_number), logical_block_bytes=("log-sec", as_number),
              physical_block_bytes=("phy-sec", as_number), rotational=("rota", as_number), removable=("rm", as_number),
              read_only=("ro", as_number), transport=("tran", plain), vendor=("vendor", plain), model=("model", plain),
              firmware=("rev", plain), scheduler=("sched", plain), queue_requests=("rq-size", as_number),
              scsi_address=("hctl", plain), zoned=("zoned", plain), kind=("type", plain))


def compare_disks(json_path, lsblk_path, every):
    with open(json_path) as file:
        ours = {row["name"]: row for row in json.load(file)["disk_units"]}
    with open(lsblk_path) as file:
        theirs = {row["kname"]: row for row in json.load(file)["blockdevices"]}
    if every:
        check("disks", sorted(ours), sorted(theirs))
    for name in sorted(set(ours) & set(theirs)):
        for field, (key, convert) in FIELDS.items():
            unsaid = field in ("transport", "firmware") and theirs[name].get(key) is None  # older versions know fewer of them
            if key in theirs[name] and not unsaid:
                check(f"{name} {field}", plain(ours[name][field]) if convert is plain else ours[name][field],
                      convert(theirs[name][key]))
        discard = as_number(theirs[name].get("disc-gran"))
        check(f"{name} discard", ours[name]["discard_granularity_bytes"] or 0, discard or 0)
        state = plain(theirs[name].get("state"))
        if state is not None and not name.startswith("dm-"):  # of dm-* it has the state of the mapping
            check(f"{name} state", ours[name]["state"], state)
    if not set(ours) & set(theirs):
        print("host_devices: no disk is in both", file=sys.stderr)
        sys.exit(1)


# --- NVMe -------------------------------------------------------------------------------------------------------------


# Counters go on between the two readings: ours, which is the first, is at most a little less.
def compare_nvme(json_path, smart_path):
    with open(json_path) as file:
        ours = next(row for row in json.load(file)["nvme_health"] if row["name"] == "nvme0")
    with open(smart_path) as file:
        theirs = json.load(file)
    exact = dict(critical_warning=("critical_warning", 1), spare_ratio=("avail_spare", 0.01), spare_threshold_ratio=("spare_thresh", 0.01),
                 used_ratio=("percent_used", 0.01), power_cycles_total=("power_cycles", 1),
                 powered_seconds_total=("power_on_hours", 3600), unsafe_shutdowns_total=("unsafe_shutdowns", 1),
                 media_errors_total=("media_errors", 1), error_log_entries_total=("num_err_log_entries", 1),
                 warning_temperature_seconds_total=("warning_temp_time", 60),
                 critical_temperature_seconds_total=("critical_comp_time", 60))
    for field, (key, scale) in exact.items():
        check(field, round(float(ours[field]), 6), round(float(theirs[key]) * scale, 6))
    for field, key, scale in (("read_bytes_total", "data_units_read", 512000), ("written_bytes_total", "data_units_written", 512000),
                              ("read_commands_total", "host_read_commands", 1),
                              ("write_commands_total", "host_write_commands", 1)):
        before, after = float(ours[field]), float(theirs[key]) * scale
        check(f"{field} {before} of {after}", after * 0.999 - 10 * scale <= before <= after, True)


if sys.argv[1] == "tree":
    make_memory(sys.argv[2])
    make_disks(f"{sys.argv[2]}/root")
    sys.exit(0)
if sys.argv[1] == "memory":
    compare_memory(sys.argv[2])
elif sys.argv[1] == "nvme":
    compare_nvme(sys.argv[2], sys.argv[3])
else:
    compare_disks(sys.argv[2], sys.argv[3], len(sys.argv) > 4)
print(f"  {sys.argv[1]}: {compared} values compared, {wrong} differ")
sys.exit(1 if wrong or not compared else 0)
