"""Compares the interfaces of `zel show` with `ip -s -j link` and /proc/net/dev: host_interfaces.py ZEL"""

import json
import socket
import subprocess
import sys
import threading
import time

ZEL = sys.argv[1]
SECONDS = 2
FRAME = b"\xff" * 6 + b"\x02\0\0\0\0\x01" + b"\x88\xb5" + bytes(986)  # to everybody, of a type that nobody answers
# The columns of /proc/net/dev, and what ip calls them where it has them.
COLUMNS = {
    "receive_bytes_total": ("rx", "bytes"), "receive_packets_total": ("rx", "packets"),
    "receive_errors_total": ("rx", "errors"), "receive_drops_total": ("rx", "dropped"),
    "receive_fifo_errors_total": None, "receive_frame_errors_total": None, "receive_compressed_total": None,
    "receive_multicast_total": ("rx", "multicast"), "transmit_bytes_total": ("tx", "bytes"),
    "transmit_packets_total": ("tx", "packets"), "transmit_errors_total": ("tx", "errors"),
    "transmit_drops_total": ("tx", "dropped"), "transmit_fifo_errors_total": None,
    "transmit_collisions_total": ("tx", "collisions"), "transmit_carrier_errors_total": ("tx", "carrier_errors"),
    "transmit_compressed_total": None,
}
RATES = {"receive_bytes": ("rx", "bytes"), "receive_packets": ("rx", "packets"),
         "transmit_bytes": ("tx", "bytes"), "transmit_packets": ("tx", "packets")}


def net_dev():
    with open("/proc/net/dev", encoding="latin-1") as lines:
        split = (line.rpartition(":") for line in lines if ":" in line)
        return {name.strip(): [int(column) for column in columns.split()] for name, _, columns in split}


def ip_links():
    text = subprocess.run(["ip", "-s", "-j", "link"], capture_output=True, check=True).stdout
    return {link["ifname"]: link for link in json.loads(text)}


def zel(*arguments):
    run = subprocess.run([ZEL, "show", "interfaces", "--format", "json", *arguments], capture_output=True, check=True)
    line = json.loads(run.stdout.splitlines()[-1])
    return {interface["name"]: interface for interface in line["interfaces"]}, line


def send_steadily(stop):
    sender = socket.socket(socket.AF_PACKET, socket.SOCK_RAW)
    sender.bind(("zel0", 0))
    start, sent = time.monotonic(), 0
    while not stop.is_set():
        if sent < (time.monotonic() - start) * 2000:
            sender.send(FRAME)
            sent += 1
        else:
            time.sleep(0.001)


def compare_counters():
    links, before, (ours, _), after, later = ip_links(), net_dev(), zel("--raw"), net_dev(), ip_links()
    wrong = set(before) != set(ours)
    print(f"counters of zel0{'ip before':>22}{'dev before':>14}{'zel':>14}{'dev after':>14}{'ip after':>14}")
    for name in before:
        for column, (field, place) in enumerate(COLUMNS.items()):
            value = ours[name][field]
            low, high = before[name][column], after[name][column]
            of_ip = [each[name]["stats64"][place[0]][place[1]] if place else "" for each in (links, later)]
            fits = value is not None and low <= value <= high and (not place or of_ip[0] <= value <= of_ip[1])
            if name == "zel0" or not fits:
                print(f"{field:26}{of_ip[0]:>12}{low:>14}{value!s:>14}{high:>14}{of_ip[1]:>14}"
                      f"{'' if fits else '   WRONG ' + name}")
            wrong += not fits
    return wrong


def compare_attributes():
    links, (ours, _) = ip_links(), zel("--raw")
    wrong = 0
    print(f"\n{'attributes':12}{'field':20}{'ip':>22}{'zel':>22}")
    for name, link in links.items():
        expected = {
            "index": link["ifindex"], "mtu_bytes": link["mtu"], "queue_length": link["txqlen"],
            "address": link["address"], "operational_state": link["operstate"].lower(),
            "up": int("UP" in link["flags"]), "alias": link.get("ifalias"), "master": link.get("master"),
            "carrier": int("NO-CARRIER" not in link["flags"]) if "UP" in link["flags"] else None,
        }
        for field, value in expected.items():
            fits = ours[name][field] == value
            print(f"{name:12}{field:20}{value!s:>22}{ours[name][field]!s:>22}{'' if fits else '   WRONG'}")
            wrong += not fits
    roles = {name: interface["role"] for name, interface in ours.items()}
    wrong += roles != {"lo": None, "zel0": None, "zel1": "bridge_port", "zelbr": "bridge"}
    print(f"roles: {roles}")
    return wrong


def compare_rates():
    # `ip` brackets zel from outside as closely as two programs can.
    start, links = time.monotonic(), ip_links()
    ours, line = zel("--rates", "--every", f"{SECONDS}s", "--count", "1")
    later, seconds = ip_links(), time.monotonic() - start
    wrong = 0
    print(f"\nrates over {line['interval_seconds']:.3f} s ({seconds:.3f} s between both calls of ip)")
    for name in ("zel0", "zel1"):
        for field, (direction, key) in RATES.items():
            growth = later[name]["stats64"][direction][key] - links[name]["stats64"][direction][key]
            expected, value = growth / seconds, ours[name][field + "_per_second"]
            fits = value is not None and abs(value - expected) <= 0.05 * expected + 50
            shown = "none" if value is None else f"{value:.1f}"
            print(f"{name:8}{field + '_per_second':30}{expected:14.1f}{shown:>14}{'' if fits else '   WRONG'}")
            wrong += not fits
    speed = ours["zel0"]["speed_bytes_per_second"]
    share = ours["zel0"]["transmit_bytes_per_second"] / speed
    print(f"zel0    share of {speed} bytes per second: {share:.6f}, zel {ours['zel0']['utilisation_ratio']}")
    wrong += abs(ours["zel0"]["utilisation_ratio"] - share) > 1e-9
    wrong += ours["zel0"]["transmit_packets_per_second"] < 500
    return wrong


def main():
    stop = threading.Event()
    threading.Thread(target=send_steadily, args=(stop,), daemon=True).start()
    time.sleep(0.5)
    wrong = compare_counters() + compare_attributes()
    # A busy machine may hold the sender up at one end of the time.
    rates_fit = not wrong and any(compare_rates() == 0 for _ in range(3))
    stop.set()
    return 0 if rates_fit else 1


sys.exit(main())
