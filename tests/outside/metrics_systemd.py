# Compares the units that the peer and this tree show of one systemd, and what becomes of a page when systemd hangs or goes.
#   metrics_systemd.py ZEL PEER PID-OF-SYSTEMD LOG-OF-SYSTEMD
import os
import signal
import socket
import subprocess
import sys
import time
import urllib.request

import metric_text

WAIT_SECONDS = 10  # for what starts
PAGE_SECONDS = 8   # a page without an answer of systemd: its limit is a second
PREFIX = "node_systemd_"
EXPECTED = {  # of the units that metrics_systemd.sh makes
    ("unit_state", "good.service", "active", "simple"), ("unit_state", "bad.service", "failed", "simple"),
    ("unit_state", "slow.service", "activating", "oneshot"), ("unit_state", "stops.service", "deactivating", "simple"),
    ("unit_state", "tick.service", "inactive", "oneshot"), ("unit_state", "odd\\x2dname.service", "active", "exec"),
    ("unit_state", "dbus.service", "active", "notify"), ("unit_state", "hello.socket", "active", None),
    ("unit_state", "tick.timer", "active", None),
}
SOCKETS = {"accepted_connections_total": 2, "current_connections": 2, "refused_connections_total": 1}
# One series of each of five states of the twelve units above and those of two connections, and the other families.
SERIES_LEAST = 5 * 14 + 5 + 1 + 1 + 2 + 3 * 2

failures = []


def fail(text):
    failures.append(text)


def wait_for(what, condition):
    end = time.monotonic() + WAIT_SECONDS
    while not condition():
        if time.monotonic() > end:
            sys.exit(f"metrics_systemd: no {what} within {WAIT_SECONDS} s")
        time.sleep(0.02)


def free_address():
    with socket.socket() as free:
        free.bind(("127.0.0.1", 0))
        return f"127.0.0.1:{free.getsockname()[1]}"


def page(address, kind="text/plain"):
    request = urllib.request.Request(f"http://{address}/metrics", headers={"Accept": kind})
    with urllib.request.urlopen(request, timeout=WAIT_SECONDS) as reply:
        return reply.read().decode()


def answers(address):
    try:
        return bool(page(address))
    except OSError:
        return False


def systemd_families(text):
    return {name: family for name, family in metric_text.read(text).items() if name.startswith(PREFIX)}


def shown(zel, *options):
    done = subprocess.run([zel, "show", *options], capture_output=True, text=True, timeout=PAGE_SECONDS)
    if done.returncode != 0:
        fail(f"zel show {' '.join(options)} gives {done.returncode}: {done.stderr}")
    return done.stdout, done.stderr


def differences(peer, ours):
    for name in sorted(peer.keys() | ours.keys()):
        if name not in peer or name not in ours:
            yield f"{name} is {'ours' if name in ours else 'the peer`s'} only"
            continue
        if peer[name].kind != ours[name].kind:
            yield f"{name} is {ours[name].kind}, of the peer {peer[name].kind}"
        for labels in peer[name].series.keys() | ours[name].series.keys():
            values = [side[name].series.get(labels) for side in (ours, peer)]
            if values[0] != values[1]:
                yield f"{name}{dict(labels)} is {values[0]}, of the peer {values[1]}"


# Units may change their state between two readings: then both are read again.
def compare(what, read_peer, read_ours):
    for _ in range(3):
        found = list(differences(read_peer(), ours := read_ours()))
        if not found:
            break
    for text in found:
        fail(f"{what}: {text}")
    series = sum(len(family.series) for family in ours.values())
    print(f"{what}: {len(ours)} families, {series} series, {len(found)} differ")
    if series < SERIES_LEAST:
        fail(f"{what}: {series} series are compared, {SERIES_LEAST} are the least")
    return ours


# Both could be wrong in the same way: what the units are made to be.
def check_scene(families, begun):
    states = families[PREFIX + "unit_state"].series
    for _, name, state, kind in EXPECTED:
        labels = {("name", name), ("state", state)} | ({("type", kind)} if kind else set())
        if states.get(frozenset(labels)) != 1:
            fail(f"{name} is not {state} of type {kind}")
    names = {dict(labels)["name"] for labels in states}
    for hidden in ("default.target", "missing.service", "masked.service", "init.scope", "-.mount", "-.slice"):
        if hidden in names:
            fail(f"{hidden} is shown")
    for name, number in SOCKETS.items():
        if families[f"{PREFIX}socket_{name}"].series.get(frozenset({("name", "hello.socket")})) != number:
            fail(f"socket_{name} is not {number}")
    counted = {dict(labels)["state"]: number for labels, number in families[PREFIX + "units"].series.items()}
    if counted.get("reloading") != 1 or counted.get("failed") != 1:
        fail(f"units are counted as {counted}")
    timers = {dict(labels)["name"]: when for labels, when in families[PREFIX + "timer_last_trigger_seconds"].series.items()}
    if timers["never.timer"] != 0 or not begun - 60 < timers["tick.timer"] <= time.time():
        fail(f"timers elapsed at {timers}")


def start(command, log):
    return subprocess.Popen(command, stdout=log, stderr=log)


def make_scene():
    wait_for("bus", lambda: os.path.exists("/run/user/bus"))
    wait_for("default target", lambda: subprocess.run(["systemctl", "--user", "is-active", "-q", "default.target"],
                                                      stderr=subprocess.DEVNULL).returncode == 0)
    clients = [socket.socket(socket.AF_UNIX) for _ in range(3)]
    for client in clients:
        client.connect("/run/user/hello")
    for word, name in (("reload", "reloads.service"), ("stop", "stops.service")):
        subprocess.run(["systemctl", "--user", word, "--no-block", name], check=True)
    return clients


def settled(peer):
    families = systemd_families(page(peer))
    states = families.get(PREFIX + "unit_state")
    return states and all(any(number == 1 and ("name", name) in labels and ("state", state) in labels
                              for labels, number in states.series.items()) for _, name, state, _ in EXPECTED)


def check_off(zel):
    if PREFIX in shown(zel, "--format", "prometheus", "--root", "/")[0] or \
            PREFIX in shown(zel, "load", "--format", "prometheus")[0]:
        fail("units are shown of another root, or of an area")


def check_silence(zel, address, log_path, systemd):
    os.kill(systemd, signal.SIGSTOP)
    text, said = shown(zel, "--format", "openmetrics")
    if "\nzel_systemd_up 0\n# EOF\n" not in text or PREFIX in text or "systemd: does not answer" not in said:
        fail(f"systemd hangs, but the page has {text[-200:]!r} and the errors {said!r}")
    for _ in range(2):
        if "\nzel_systemd_up 0\n" not in page(address):
            fail("systemd hangs, but the server shows it")
    os.kill(systemd, signal.SIGCONT)
    with open(log_path) as log:
        lines = [line for line in log if "systemd: " in line]
    if len(lines) != 1 or "does not answer" not in lines[0]:
        fail(f"the server says of systemd: {lines}")


def check_absence(zel):
    os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=/run/none"
    text, said = shown(zel, "--format", "prometheus")
    if not text.endswith("\nzel_systemd_up 0\n") or "systemd: No such file" not in said:
        fail(f"there is no bus, but the page ends with {text[-100:]!r} and the errors are {said!r}")


def main(zel, peer_program, systemd, systemd_log):
    begun = time.time()
    peer, served, off = free_address(), free_address(), free_address()
    serve = [zel, "serve", "--config", "/dev/null", "--sample-age", "0s", "--listen"]
    with open("/run/peer.log", "w") as peer_log, open("/run/serve.log", "w") as log:
        clients = make_scene()
        start([peer_program, f"--web.listen-address={peer}", "--collector.disable-defaults", "--collector.systemd"], peer_log)
        start([*serve, served], log)
        start([*serve, off, "--metrics-without-systemd"], log)
        for address in (peer, served, off):
            wait_for(f"page at {address}", lambda: answers(address))
        wait_for("scene", lambda: settled(peer))
        of_peer = lambda: systemd_families(page(peer))
        ours = compare("zel show prometheus", of_peer,
                       lambda: systemd_families(shown(zel, "--format", "prometheus")[0]))
        compare("zel show openmetrics", of_peer, lambda: systemd_families(shown(zel, "--format", "openmetrics")[0]))
        compare("zel serve", of_peer, lambda: systemd_families(page(served)))
        check_scene(ours, begun)
        check_off(zel)
        if PREFIX in page(off) or "zel_systemd_" in page(off):
            fail("units are shown although the server is told to leave them out")
        check_silence(zel, served, log.name, int(systemd))
        check_absence(zel)
        for client in clients:
            client.close()
    for failure in failures:
        print(f"metrics_systemd: {failure}", file=sys.stderr)
    if failures:
        with open(systemd_log, errors="replace") as log:
            print(log.read()[-2000:], file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
