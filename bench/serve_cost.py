#!/usr/bin/env python3
"""What one scrape of zel serve costs beside one of Debian's prometheus-node-exporter, in the same run.

  bench/serve_cost.py ZEL [--scrapes 200] [--large]

Both serve this host; with --large both serve a host below a directory, made of this one's files, with 256 processors,
600 disks and what udev wrote of them, 500 interfaces, 300 processes and 16 chips of sensors. It has no mounts: below a directory only
the peer would ask this host's filesystems for their sizes. They are asked in turns, for the same format and without
compression; zel takes a sample for each scrape. Prints processor time per scrape, memory (the median of the run), the size of
the page, and the shares beside their aims. Ends with 1 where an aim is missed, with 77 where the peer is not installed.
"""
import argparse
import os
import pathlib
import platform
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.request

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests/outside"))
from process_kit import free_port, memory, processor_seconds

PEER = "prometheus-node-exporter"
PROCESSOR_AIM, MEMORY_AIM = 0.25, 0.6  # shares of the peer's, at most
WARM_UP = 20  # scrapes
PROCESSORS, DISKS, INTERFACES, PROCESSES, CHIPS = 256, 600, 500, 300, 16
COPIED = ["loadavg", "meminfo", "vmstat", "uptime", "version", "filesystems", "softirqs", "swaps",
          "net/snmp", "net/snmp6", "net/netstat", "net/sockstat", "net/sockstat6", "net/arp", "net/udp", "net/udp6",
          "net/tcp", "net/tcp6", "pressure/cpu", "pressure/io", "pressure/memory", "sys/fs/file-nr",
          "sys/kernel/random/entropy_avail", "sys/kernel/random/poolsize", "sys/kernel/random/boot_id"]
MOUNTS = {"mounts": "proc /proc proc rw 0 0\n", "mountinfo": "22 1 0:21 / /proc rw shared:12 - proc proc rw\n"}
INTERFACE_FILES = {"addr_assign_type": "0", "address": "02:00:00:00:00:01", "broadcast": "ff:ff:ff:ff:ff:ff", "carrier": "1",
                   "carrier_changes": "2", "carrier_down_count": "1", "carrier_up_count": "1", "dev_id": "0x0",
                   "dormant": "0", "duplex": "full", "flags": "0x1003", "ifalias": "", "link_mode": "0", "mtu": "1500",
                   "name_assign_type": "4", "netdev_group": "0", "operstate": "up", "speed": "10000",
                   "tx_queue_len": "1000", "type": "1"}


def write(root, path, content):
    place = root / path
    place.parent.mkdir(parents=True, exist_ok=True)
    place.write_bytes(content if isinstance(content, bytes) else content.encode())


def write_all(root, directory, files):
    for name, content in files.items():
        write(root, f"{directory}/{name}", f"{content}\n")


def make_large_host(root):
    for name in COPIED:
        source = pathlib.Path("/proc") / name
        if source.is_file():
            write(root, f"proc/{name}", source.read_bytes())
    for name, content in MOUNTS.items():
        write(root, f"proc/1/{name}", content)
        write(root, f"proc/self/{name}", content)
    write(root, "proc/mounts", MOUNTS["mounts"])
    make_processors(root)
    make_disks(root)
    make_interfaces(root)
    make_processes(root)
    make_sensors(root)


def make_processors(root):
    times = "9231 17 4012 882101 312 0 55 3 0 0"
    stat = "".join(f"cpu{n} {times}\n" for n in range(PROCESSORS))
    write(root, "proc/stat", f"cpu  {times}\n{stat}intr 100 1 2\nctxt 9000\nbtime 1700000000\nprocesses 400\n"
                             "procs_running 2\nprocs_blocked 0\nsoftirq 10 1 1 1 1 1 1 1 1 1 1\n")
    write(root, "proc/schedstat", "version 15\ntimestamp 4295\n" +
          "".join(f"cpu{n} 0 0 0 0 0 0 81042 20911 3321\n" for n in range(PROCESSORS)))
    write(root, "proc/net/softnet_stat", "".join(f"0000a1b2 00000000 00000001 00000000 00000000 00000000 00000000 00000000 "
                                                 f"00000000 00000000 00000000 00000000 {n:08x}\n" for n in range(PROCESSORS)))
    write_all(root, "sys/devices/system/cpu", {name: f"0-{PROCESSORS - 1}" for name in ("online", "present")})
    for n in range(PROCESSORS):
        write_all(root, f"sys/devices/system/cpu/cpu{n}/cpufreq", {
            "scaling_cur_freq": 2400000, "scaling_min_freq": 800000, "scaling_max_freq": 3600000,
            "cpuinfo_cur_freq": 2400000, "cpuinfo_min_freq": 800000, "cpuinfo_max_freq": 3600000})


def make_disks(root):
    lines = []
    for n in range(DISKS):
        major, minor = 8 + n // 16, n % 16 * 16
        lines.append(f" {major} {minor} sd{n} {n + 4} 2 3000 40 50 6 700 80 0 90 100 1 2 3 4 5 6\n")
        write_all(root, f"sys/class/block/sd{n}", {"size": 2000000, "dev": f"{major}:{minor}", "queue/rotational": 0})
        write(root, f"run/udev/data/b{major}:{minor}",
              f"S:disk/by-id/wwn-0x5000c500a{n:07x}\nI:1000\nE:ID_PATH=pci-0000:00:1f.2-ata-{n}\nE:ID_BUS=ata\nE:ID_MODEL=ST4000\n"
              f"E:ID_SERIAL_SHORT=Z{n:07}\nE:ID_REVISION=SC60\nE:ID_WWN=0x5000c500a{n:07x}\nE:ID_TYPE=disk\nG:systemd\n")
    write(root, "proc/diskstats", "".join(lines))


def make_interfaces(root):
    head = "Inter-|   Receive                                                |  Transmit\n face |bytes    packets errs drop fifo " \
           "frame compressed multicast|bytes    packets errs drop fifo colls carrier compressed\n"
    write(root, "proc/net/dev", head + "".join(f"eth{n}: {n}000 20 0 0 0 0 0 1 {n}00 30 0 0 0 0 0 0\n" for n in range(INTERFACES)))
    for n in range(INTERFACES):
        write_all(root, f"sys/class/net/eth{n}", INTERFACE_FILES | {"ifindex": n + 1, "iflink": n + 1})


def make_processes(root):
    for pid in range(1000, 1000 + PROCESSES):
        name = f"worker-{pid % 7}"
        write_all(root, f"proc/{pid}", {
            "stat": f"{pid} ({name}) S 1 {pid} {pid} 0 -1 4194560 900 0 3 0 {pid} 40 0 0 20 0 4 0 {pid} 90000000 2500 18446744073709551615 "
                    "1 1 0 0 0 0 0 4096 0 0 0 0 17 1 0 0 5 0 0 0 0 0 0 0 0 0 0",
            "statm": "21972 2500 1400 200 0 3000 0", "comm": name, "cgroup": f"0::/system.slice/{name}.service",
            "status": f"Name:\t{name}\nUmask:\t0022\nState:\tS (sleeping)\nTgid:\t{pid}\nPid:\t{pid}\nPPid:\t1\n"
                      "Uid:\t0\t0\t0\t0\nGid:\t0\t0\t0\t0\nVmRSS:\t   10000 kB\nThreads:\t4",
            "io": f"rchar: {pid}00\nwchar: {pid}0\nsyscr: 500\nsyscw: 60\nread_bytes: {pid}000\nwrite_bytes: 40960\n"
                  "cancelled_write_bytes: 0"})
        write(root, f"proc/{pid}/cmdline", f"/usr/sbin/{name}\0--number\0{pid}\0")


def make_sensors(root):
    for chip in range(CHIPS):
        files = {"name": "coretemp"}
        for n in range(1, 9):
            files |= {f"temp{n}_input": 40000 + n, f"temp{n}_max": 80000, f"temp{n}_crit": 100000, f"temp{n}_crit_alarm": 0,
                      f"temp{n}_label": f"Core {n}"}
        write_all(root, f"sys/class/hwmon/hwmon{chip}", files)


class Server:
    def __init__(self, name, command):
        self.name, self.port, self.size = name, free_port(), 0
        command = [part.replace("PORT", str(self.port)) for part in command]
        self.process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for _ in range(100):
            try:
                self.scrape()
                return
            except OSError:
                time.sleep(0.1)
        self.stop()
        raise SystemExit(f"serve_cost: {name} does not answer")

    def scrape(self):
        request = urllib.request.Request(f"http://127.0.0.1:{self.port}/metrics", headers={"Accept-Encoding": "identity"})
        with urllib.request.urlopen(request, timeout=20) as answer:
            self.size = len(answer.read())

    def processor_seconds(self):
        return processor_seconds(self.process.pid)

    def resident(self):
        return memory(self.process.pid) / 1024

    def stop(self):
        self.process.terminate()
        self.process.wait()


def commands(zel, directory, large):
    """Of both; neither reads a configuration of this host."""
    configuration = pathlib.Path(directory) / "zel.toml"
    configuration.write_text("", encoding="utf-8")
    ours = [zel, "serve", "--config", str(configuration), "--listen", "127.0.0.1:PORT", "--sample-age", "0s"]
    peers = [PEER, "--web.listen-address=127.0.0.1:PORT", "--web.disable-exporter-metrics"]
    if large:
        root = pathlib.Path(directory) / "root"
        make_large_host(root)
        ours += ["--root", str(root)]
        peers += [f"--path.procfs={root}/proc", f"--path.sysfs={root}/sys", f"--path.rootfs={root}",
                  f"--path.udev.data={root}/run/udev/data", "--no-collector.netdev.netlink"]
    return ours, peers


def line_of(path, start):
    with open(path, encoding="utf-8", errors="replace") as file:
        return next((line.split(":", 1)[1].strip() for line in file if line.startswith(start)), "unknown")


def describe(zel, large):
    version = subprocess.run([PEER, "--version"], capture_output=True, text=True, check=False)
    print((version.stdout + version.stderr).splitlines()[0].replace(PEER, "").strip())
    print(subprocess.run([zel, "--version"], capture_output=True, text=True, check=False).stdout.splitlines()[0])
    print(f"processor  {os.cpu_count()} x {line_of('/proc/cpuinfo', 'model name')}")
    print(f"memory     {line_of('/proc/meminfo', 'MemTotal')}")
    print(f"kernel     {platform.release()} {platform.machine()}")
    print(f"load       {' '.join(map('{:.2f}'.format, os.getloadavg()))}")
    print(f"host       {'below a directory, large' if large else 'this one'}\n")


def measure(servers, scrapes):
    """Processor seconds per scrape and kB of each."""
    for _ in range(WARM_UP):
        for server in servers:
            server.scrape()
    spent, sizes = [server.processor_seconds() for server in servers], [[] for _ in servers]
    for _ in range(scrapes):
        for server, size in zip(servers, sizes):
            server.scrape()
            size.append(server.resident())
    costs = [(server.processor_seconds() - before) / scrapes for server, before in zip(servers, spent)]
    return costs, [statistics.median(size) for size in sizes]


def report(servers, costs, sizes):
    """True when both aims are kept."""
    for server, cost, size in zip(servers, costs, sizes):
        print(f"{server.name:26} {cost * 1000:8.2f} ms per scrape {size:8.0f} kB resident {server.size:8} bytes")
    kept = True
    for name, values, aim in (("processor time", costs, PROCESSOR_AIM), ("resident memory", sizes, MEMORY_AIM)):
        share = values[0] / values[1]
        kept = kept and share <= aim
        print(f"{name:26} {share:8.3f} of the peer's, aim {aim}: {'kept' if share <= aim else 'missed'}")
    return kept


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("zel")
    parser.add_argument("--scrapes", type=int, default=200)
    parser.add_argument("--large", action="store_true")
    options = parser.parse_args()
    if shutil.which(PEER) is None:
        print(f"serve_cost: {PEER} is not installed (apt-get install --no-install-recommends {PEER})")
        return 77
    describe(options.zel, options.large)
    with tempfile.TemporaryDirectory() as directory:
        ours, peers = commands(options.zel, directory, options.large)
        servers = []
        try:
            servers.append(Server("zel serve", ours))
            servers.append(Server(PEER, peers))
            costs, sizes = measure(servers, options.scrapes)
        finally:
            for server in servers:
                server.stop()
    return 0 if report(servers, costs, sizes) else 1


if __name__ == "__main__":
    sys.exit(main())
