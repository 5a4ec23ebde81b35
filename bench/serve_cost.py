#!/usr/bin/env python3
"""What one scrape of zel serve costs beside one of Debian's prometheus-node-exporter, in the same run.

  bench/serve_cost.py ZEL [--scrapes 200] [--large]

Both serve this host; with --large both serve a host below a directory, with 256 processors, 600 disks and 500 interfaces,
made of this one's files. They are asked in turns, for the same format and without compression; zel takes a sample for each
scrape. Prints processor time per scrape, memory and the size of the page. Ends with 77 where the peer is not installed.
"""
import argparse
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import urllib.request

PROCESSORS, DISKS, INTERFACES = 256, 600, 500
COPIED = ["loadavg", "meminfo", "vmstat", "uptime", "version", "mounts", "filesystems", "diskstats", "softirqs", "swaps",
          "net/snmp", "net/snmp6", "net/netstat", "net/sockstat", "net/sockstat6", "net/arp", "net/udp", "net/udp6",
          "net/tcp", "net/tcp6", "pressure/cpu", "pressure/io", "pressure/memory", "sys/fs/file-nr",
          "sys/kernel/random/entropy_avail", "sys/kernel/random/poolsize", "sys/kernel/random/boot_id", "1/mounts",
          "1/mountinfo", "self/mounts", "self/mountinfo"]
INTERFACE_FILES = {"addr_assign_type": "0", "address": "02:00:00:00:00:01", "broadcast": "ff:ff:ff:ff:ff:ff", "carrier": "1",
                   "carrier_changes": "2", "carrier_down_count": "1", "carrier_up_count": "1", "dev_id": "0x0",
                   "dormant": "0", "duplex": "full", "flags": "0x1003", "ifalias": "", "link_mode": "0", "mtu": "1500",
                   "name_assign_type": "4", "netdev_group": "0", "operstate": "up", "speed": "10000",
                   "tx_queue_len": "1000", "type": "1"}


def write(root, path, text):
    place = root / path
    place.parent.mkdir(parents=True, exist_ok=True)
    place.write_text(text, encoding="ascii")


def make_large_host(root):
    for name in COPIED:
        source = pathlib.Path("/proc") / name
        if source.is_file():
            write(root, f"proc/{name}", source.read_text(encoding="utf-8", errors="replace"))
    times = "9231 17 4012 882101 312 0 55 3 0 0"
    stat = "".join(f"cpu{n} {times}\n" for n in range(PROCESSORS))
    write(root, "proc/stat", f"cpu  {times}\n{stat}intr 100 1 2\nctxt 9000\nbtime 1700000000\nprocesses 400\n"
                             "procs_running 2\nprocs_blocked 0\nsoftirq 10 1 1 1 1 1 1 1 1 1 1\n")
    write(root, "proc/schedstat", "version 15\ntimestamp 4295\n" +
          "".join(f"cpu{n} 0 0 0 0 0 0 81042 20911 3321\n" for n in range(PROCESSORS)))
    write(root, "proc/net/softnet_stat", "".join(f"0000a1b2 00000000 00000001 00000000 00000000 00000000 00000000 00000000 "
                                                 f"00000000 00000000 00000000 00000000 {n:08x}\n" for n in range(PROCESSORS)))
    write(root, "sys/devices/system/cpu/online", f"0-{PROCESSORS - 1}\n")
    write(root, "sys/devices/system/cpu/present", f"0-{PROCESSORS - 1}\n")
    for n in range(PROCESSORS):
        frequency = f"sys/devices/system/cpu/cpu{n}/cpufreq/"
        for name, value in {"scaling_cur_freq": 2400000, "scaling_min_freq": 800000, "scaling_max_freq": 3600000,
                            "cpuinfo_cur_freq": 2400000, "cpuinfo_min_freq": 800000, "cpuinfo_max_freq": 3600000}.items():
            write(root, frequency + name, f"{value}\n")
    write(root, "proc/diskstats", "".join(f" {8 + n // 16} {n % 16 * 16} sd{n} {n + 4} 2 3000 40 50 6 700 80 0 90 100 1 2 3 4 5 6\n"
                                          for n in range(DISKS)))
    for n in range(DISKS):
        write(root, f"sys/class/block/sd{n}/size", "2000000\n")
        write(root, f"sys/class/block/sd{n}/queue/rotational", "0\n")
    head = "Inter-|   Receive                                                |  Transmit\n face |bytes    packets errs drop fifo " \
           "frame compressed multicast|bytes    packets errs drop fifo colls carrier compressed\n"
    write(root, "proc/net/dev", head + "".join(f"eth{n}: {n}000 20 0 0 0 0 0 1 {n}00 30 0 0 0 0 0 0\n" for n in range(INTERFACES)))
    for n in range(INTERFACES):
        for name, value in (INTERFACE_FILES | {"ifindex": str(n + 1), "iflink": str(n + 1)}).items():
            write(root, f"sys/class/net/eth{n}/{name}", value + "\n")


def free_port():
    with socket.socket() as chosen:
        chosen.bind(("127.0.0.1", 0))
        return chosen.getsockname()[1]


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
        raise SystemExit(f"serve_cost: {name} does not answer")

    def scrape(self):
        request = urllib.request.Request(f"http://127.0.0.1:{self.port}/metrics", headers={"Accept-Encoding": "identity"})
        with urllib.request.urlopen(request, timeout=20) as answer:
            self.size = len(answer.read())

    def processor_seconds(self):
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii", errors="replace") as stat:
            fields = stat.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def resident(self):
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmRSS:"))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("zel")
    parser.add_argument("--scrapes", type=int, default=200)
    parser.add_argument("--large", action="store_true")
    options = parser.parse_args()
    if shutil.which("prometheus-node-exporter") is None:
        print("serve_cost: prometheus-node-exporter is not installed")
        return 77
    with tempfile.TemporaryDirectory() as directory:
        root = pathlib.Path(directory)
        ours = [options.zel, "serve", "--listen", "127.0.0.1:PORT", "--sample-age", "0s"]
        peers = ["prometheus-node-exporter", "--web.listen-address=127.0.0.1:PORT", "--web.disable-exporter-metrics"]
        if options.large:
            make_large_host(root)
            ours += ["--root", directory]
            peers += [f"--path.procfs={root}/proc", f"--path.sysfs={root}/sys", f"--path.rootfs={root}",
                      "--no-collector.netdev.netlink"]
        servers = [Server("zel serve", ours), Server("node_exporter", peers)]
        try:
            for _ in range(20):
                for server in servers:
                    server.scrape()
            spent = [server.processor_seconds() for server in servers]
            for _ in range(options.scrapes):
                for server in servers:
                    server.scrape()
            costs = [(server.processor_seconds() - before) / options.scrapes for server, before in zip(servers, spent)]
            for server, cost in zip(servers, costs):
                print(f"{server.name:14} {cost * 1000:8.2f} ms per scrape {server.resident():7} kB resident {server.size:8} bytes")
            print(f"zel / peer: processor time {costs[0] / costs[1]:.3f}, resident "
                  f"{servers[0].resident() / servers[1].resident():.2f}")
        finally:
            for server in servers:
                server.process.terminate()
                server.process.wait()
    return 0


if __name__ == "__main__":
    sys.exit(main())
