# An independent reading of /proc, and the comparison of `zel show protocols limits` with it and with nstat, ss and ip.
#   host_protocols.py copy ROOT JSON      host_protocols.py live ZEL
import collections
import json
import os
import re
import socket
import subprocess
import sys
import time

failures = 0
compared = 0


def check(what, found, expected, tolerance=0):
    global failures, compared
    compared += 1
    if found is None or abs(found - expected) > tolerance:
        failures += 1
        print(f"host_protocols: {what}: zel has {found}, expected {expected} (within {tolerance})", file=sys.stderr)


def lines(root, name):
    path = os.path.join(root, "proc", name)
    if not os.path.exists(path):
        return []
    with open(path, encoding="latin-1") as file:
        return file.read().splitlines()


# The values of a row of JSON by the kernel's key: a name without its underscores and what the schema adds.
def by_key(row):
    values = {}
    for name, value in row.items():
        name = re.sub("_total$", "", name)
        if name.endswith("_seconds"):
            name, value = name[:-len("_seconds")], None if value is None else round(value * 1000)
        values[re.sub("_?bytes$", "octets", name).replace("_", "")] = value
    return values


def row(sample, section, protocol):
    return next((row for row in sample[section] if row["protocol"] == protocol), {})


# The values of each protocol of the kernel's files, by the kernel's names.
def tables(sample):
    return {"Ip": by_key(row(sample, "ip", "ip")), "IpExt": by_key(row(sample, "ip", "ip")),
            "Ip6": by_key(row(sample, "ip", "ip6")), "Icmp": by_key(row(sample, "icmp", "icmp")),
            "Icmp6": by_key(row(sample, "icmp", "icmp6")), "Tcp": by_key(sample["tcp"]),
            "TcpExt": by_key(sample["tcp_extended"]), "MPTcpExt": by_key(sample["mptcp"]),
            "Udp": by_key(row(sample, "udp", "udp")), "UdpLite": by_key(row(sample, "udp", "udplite")),
            "Udp6": by_key(row(sample, "udp", "udp6")), "UdpLite6": by_key(row(sample, "udp", "udplite6"))}


# Every counter of the kernel's files: protocol, key and value.
def counters(root):
    for name in ("net/snmp", "net/netstat"):
        text = lines(root, name)
        for heading, values in zip(text[::2], text[1::2]):
            protocol, *keys = heading.split()
            for key, value in zip(keys, values.split()[1:]):
                yield protocol[:-1], key, int(value)
    for line in lines(root, "net/snmp6"):
        key, value = line.split()
        protocol, key = re.match("(Ip6|Icmp6|UdpLite6|Udp6)(.*)", key).groups()
        yield protocol, key, int(value)


def zel_value(sample, known, protocol, key):
    typed = re.fullmatch("(In|Out)Type([0-9]+)", key)
    if typed:
        name = "icmp6" if protocol == "Icmp6" else "icmp"
        found = [row for row in sample["icmp_types"] if (row["protocol"], row["type"]) == (name, int(typed[2]))]
        return found[0]["received_total" if typed[1] == "In" else "sent_total"] if found else None
    if key.lower() in known.get(protocol, {}):
        return known[protocol][key.lower()]
    found = [row["value"] for row in sample["protocol_others"] if (row["protocol"], row["key"]) == (protocol, key)]
    return found[0] if found else None


def copy_counters(root, sample):
    known = tables(sample)
    for protocol, key, value in counters(root):
        check(f"{protocol}.{key}", zel_value(sample, known, protocol, key), value)


def copy_sockets(root, sample):
    page = os.sysconf("SC_PAGESIZE")
    names = {("sockets", "used"): ("used", 1), ("TCP", "inuse"): ("tcp_in_use", 1), ("TCP", "orphan"): ("tcp_orphans", 1),
             ("TCP", "tw"): ("tcp_time_waits", 1), ("TCP", "alloc"): ("tcp_allocated", 1),
             ("TCP", "mem"): ("tcp_memory_bytes", page), ("UDP", "inuse"): ("udp_in_use", 1),
             ("UDP", "mem"): ("udp_memory_bytes", page), ("UDPLITE", "inuse"): ("udp_lite_in_use", 1),
             ("RAW", "inuse"): ("raw_in_use", 1), ("FRAG", "inuse"): ("fragment_queues", 1),
             ("FRAG", "memory"): ("fragment_memory_bytes", 1), ("TCP6", "inuse"): ("tcp6_in_use", 1),
             ("UDP6", "inuse"): ("udp6_in_use", 1), ("UDPLITE6", "inuse"): ("udp_lite6_in_use", 1),
             ("RAW6", "inuse"): ("raw6_in_use", 1), ("FRAG6", "inuse"): ("fragment6_queues", 1),
             ("FRAG6", "memory"): ("fragment6_memory_bytes", 1)}
    for line in lines(root, "net/sockstat") + lines(root, "net/sockstat6"):
        protocol, *words = line.replace(":", "").split()
        for key, value in zip(words[::2], words[1::2]):
            name, factor = names[protocol, key]
            check(f"sockstat {protocol} {key}", sample["sockets"][name], int(value) * factor)


STATES = dict(zip(range(1, 12), "established syn_sent syn_received fin_wait1 fin_wait2 time_wait close close_wait last_ack "
                                "listen closing".split()))


def copy_states(root, sample):
    rows = [line.split() for name in ("net/tcp", "net/tcp6") for line in lines(root, name)[1:]]
    found = collections.Counter(STATES[min(int(row[3], 16), 11)] for row in rows)
    for state in STATES.values():
        check(f"TCP {state}", sample["tcp_states"][state], found[state])
    for name in ("udp", "udp6"):
        rows = [line.split()[4].split(":") for line in lines(root, "net/" + name)[1:]]
        if row(sample, "udp", name):
            check(f"{name} to be sent", row(sample, "udp", name)["transmit_queue_bytes"], sum(int(r[0], 16) for r in rows))
            check(f"{name} received", row(sample, "udp", name)["receive_queue_bytes"], sum(int(r[1], 16) for r in rows))


def copy_packets(root, sample):
    columns = {0: "processed_total", 1: "dropped_total", 2: "times_squeezed_total", 9: "received_rps_total",
               10: "flow_limits_total", 11: "backlog", 13: "input_queue", 14: "process_queue"}
    for line, found in zip(lines(root, "net/softnet_stat"), sample["softnet"], strict=True):
        words = line.split()
        for column, name in columns.items():
            if column < len(words):
                check(f"softnet {name}", found[name], int(words[column], 16))
    table = [line.split() for line in lines(root, "net/stat/nf_conntrack")]
    names = {"found": "found", "invalid": "invalid", "ignore": "ignored", "insert": "inserted", "drop": "dropped",
             "insert_failed": "insert_failed", "early_drop": "early_dropped", "search_restart": "search_restarts"}
    for column, name in enumerate(table[0] if table else []):
        if name in names:
            total = sum(int(line[column], 16) for line in table[1:])
            check(f"conntrack {name}", sample["conntrack"][names[name] + "_total"], total)
    arp = collections.Counter(line.split()[5] for line in lines(root, "net/arp")[1:])
    check("interfaces of ARP", len(sample["neighbours"]), len(arp))
    for found in sample["neighbours"]:
        check(f"ARP of {found['interface']}", found["entries"], arp[found["interface"]])


def copy_limits(root, sample):
    limits = sample["limits"]
    places = {("fs/file-nr", 0): "files_allocated", ("fs/file-nr", 2): "files_limit", ("fs/aio-nr", 0): "aio_requests",
              ("fs/inode-nr", 0): "inodes_allocated", ("fs/inode-nr", 1): "inodes_unused",
              ("fs/dentry-state", 0): "dentries_allocated", ("fs/dentry-state", 1): "dentries_unused",
              ("fs/dentry-state", 4): "dentries_negative", ("fs/aio-max-nr", 0): "aio_requests_limit",
              ("kernel/pid_max", 0): "pids_limit", ("kernel/threads-max", 0): "threads_limit",
              ("kernel/random/entropy_avail", 0): "entropy_available_bits",
              ("kernel/random/poolsize", 0): "entropy_pool_bits"}
    for (name, place), field in places.items():
        for line in lines(root, "sys/" + name):
            check(field, limits[field], int(line.split()[place]))
    check("threads", limits["threads"], int(lines(root, "loadavg")[0].split()[3].split("/")[1]))
    users = {row["uid"]: row for row in sample["key_users"]}
    for line in lines(root, "key-users"):
        uid, keys, keys_limit, used, limit = map(int, re.match(r"\s*(\d+):\s+\d+ \S+ (\d+)/(\d+) (\d+)/(\d+)", line).groups())
        found = [users[uid][name] for name in ("keys", "keys_limit", "used_bytes", "limit_bytes")]
        check(f"keys of {uid}", int(found == [keys, keys_limit, used, limit]), 1)


def copy(root, path):
    with open(path) as file:
        sample = json.load(file)
    for part in (copy_counters, copy_sockets, copy_states, copy_packets, copy_limits):
        part(root, sample)


def run(*command):
    return subprocess.run(command, capture_output=True, check=True, text=True).stdout


# Connections of both families in several states, and neighbours.
def make_connections():
    run("ip", "link", "set", "lo", "up")
    run("ip", "link", "add", "zel0", "type", "veth", "peer", "name", "zel1")
    run("ip", "link", "set", "zel0", "up")
    for number, state in enumerate(("permanent", "stale", "stale", "noarp")):
        run("ip", "neigh", "add", f"192.0.2.{number}", "lladdr", f"02:00:00:00:00:0{number}", "dev", "zel0", "nud", state)
    kept = []
    for family, address in ((socket.AF_INET, "127.0.0.1"), (socket.AF_INET6, "::1")):
        try:
            listener = socket.socket(family)
            listener.bind((address, 5000))
        except OSError as error:
            print(f"  without {address}: {error}")
            continue
        listener.listen(64)
        for number in range(40):
            client = socket.create_connection((address, 5000))
            server, _ = listener.accept()
            if number % 4 == 1:
                client.close()  # the server stays in CLOSE_WAIT
                kept.append(server)
            elif number % 4 == 2:
                client.close()
                server.close()  # TIME_WAIT
            else:
                kept += [client, server]
        kept.append(listener)
        datagrams = socket.socket(family, socket.SOCK_DGRAM)
        datagrams.bind((address, 5001))
        kept.append(datagrams)
        for _ in range(5):
            datagrams.sendto(b"waits", (address, 5001))
    return kept


def live(program):
    kept = make_connections()
    time.sleep(0.3)
    os.environ["NSTAT_HISTORY"] = f"/tmp/host_protocols.{os.getpid()}"
    sample = json.loads(run(program, "show", "protocols", "--raw", "--format", "json"))
    nstat = json.loads(run("nstat", "-a", "-z", "-j"))["kernel"]
    os.path.exists(os.environ["NSTAT_HISTORY"]) and os.remove(os.environ["NSTAT_HISTORY"])
    live_nstat(sample, nstat)
    live_ss(sample)
    live_neighbours(sample)
    for each in kept:
        each.close()


# nstat puts the protocol before the key.
def live_nstat(sample, nstat):
    known = tables(sample)
    for protocol, values in known.items():
        for key, value in nstat.items():
            rest = key[len(protocol):]
            if key.startswith(protocol) and rest.lower() in values and values[rest.lower()] is not None:
                check(f"nstat {key}", values[rest.lower()], value)


NAMES = {"ESTAB": "established", "SYN-SENT": "syn_sent", "SYN-RECV": "syn_received", "FIN-WAIT-1": "fin_wait1",
         "FIN-WAIT-2": "fin_wait2", "TIME-WAIT": "time_wait", "CLOSE-WAIT": "close_wait", "LAST-ACK": "last_ack",
         "LISTEN": "listen", "CLOSING": "closing"}


def live_ss(sample):
    found = collections.Counter(line.split()[0] for line in run("ss", "-Htan").splitlines())
    for name, state in NAMES.items():
        print(f"  {name:12} zel {sample['tcp_states'][state]:6}   ss {found[name]:6}")
        check(f"ss {name}", sample["tcp_states"][state], found[name])
    check("enough of them", int(found["ESTAB"] >= 40 and found["TIME-WAIT"] >= 10 and found["CLOSE-WAIT"] >= 10), 1)
    for family, name in (("-4", "udp"), ("-6", "udp6")):
        if not row(sample, "udp", name):
            continue
        rows = [line.split() for line in run("ss", "-Huan", family).splitlines()]
        waiting = sum(int(row[1]) for row in rows)
        print(f"  {name:12} zel {row(sample, 'udp', name)['receive_queue_bytes']:6}   ss {waiting:6}")
        check(f"ss {name} received", row(sample, "udp", name)["receive_queue_bytes"], waiting)
        check(f"{name} has something", int(waiting > 0 or name == "udp6"), 1)


def live_neighbours(sample):
    entries = json.loads(run("ip", "-j", "-4", "neigh", "show", "nud", "all"))
    states = collections.Counter(state for entry in entries if entry["dev"] == "zel0" for state in entry["state"])
    found = next(row for row in sample["neighbours"] if (row["interface"], row["protocol"]) == ("zel0", "arp"))
    for state, name in (("PERMANENT", "permanent"), ("STALE", "stale"), ("NOARP", "no_arp"), ("FAILED", "failed")):
        check(f"neighbours {name}", found[name], states[state])
    check("neighbours", found["entries"], 3)


if sys.argv[1] == "copy":
    copy(sys.argv[2], sys.argv[3])
else:
    live(sys.argv[2])
print(f"  {compared} numbers compared, {failures} differ")
sys.exit(1 if failures or not compared else 0)
