#!/usr/bin/env python3
"""zel serve as systemd runs it: what it says to the socket of NOTIFY_SOCKET, and what signals make of it.

  zel_service.py ZEL DIRECTORY
"""
import os
import select
import signal
import socket
import subprocess
import sys
import time
import urllib.request

zel, directory = sys.argv[1:]
config = os.path.join(directory, "service.toml")
WATCHDOG_SECONDS = 1.5
LONG = 30  # seconds that a busy machine may take


def write(text):
    with open(config, "w") as file:
        file.write('[serve]\nlisten = "127.0.0.1:0"\n' + text)


class Manager:
    def __init__(self, address):
        self.address = address
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind("\0" + address[1:] if address[0] == "@" else address)
        self.seen = []

    def wait(self, wanted):
        """The next message that has the line; those before it are left in `seen`."""
        end = time.monotonic() + LONG
        while time.monotonic() < end:
            if select.select([self.socket], [], [], 0.2)[0]:
                message = self.socket.recv(4096).decode()
                self.seen.append(message)
                if any(line.startswith(wanted) for line in message.splitlines()):
                    return dict(line.split("=", 1) for line in message.splitlines())
        raise AssertionError(f"no {wanted} among {self.seen}")


def start(manager, watchdog):
    environment = dict(os.environ, NOTIFY_SOCKET=manager.address)
    if watchdog:
        environment["WATCHDOG_USEC"] = str(int(WATCHDOG_SECONDS * 1e6))
    errors = open(os.path.join(directory, "service.log"), "w")
    return subprocess.Popen([zel, "serve", "--config", config], env=environment, stderr=errors)


def log():
    with open(os.path.join(directory, "service.log")) as file:
        return file.read()


def health(ready):
    address = ready["STATUS"].split()[1]
    return urllib.request.urlopen(f"http://{address}/healthz", timeout=LONG).status


def check_beats(manager):
    """The watchdog is fed often enough, and with pauses: messages that wait in the socket since before are not counted."""
    while select.select([manager.socket], [], [], 0)[0]:
        manager.socket.recv(4096)
    begun, seconds, beats = time.monotonic(), 2 * WATCHDOG_SECONDS, 0
    while time.monotonic() - begun < seconds:
        beats += bool(select.select([manager.socket], [], [], 0.1)[0]) and b"WATCHDOG=1" in manager.socket.recv(4096)
    took = time.monotonic() - begun
    assert 1 <= beats <= took / WATCHDOG_SECONDS * 6, f"the watchdog is fed {beats} times in {took:.1f} s"


def whole_life(address):
    write("")
    manager = Manager(address)
    service = start(manager, True)
    try:
        ready = manager.wait("READY=1")
        assert ready["STATUS"].startswith("serving 127.0.0.1:"), ready
        assert health(ready) == 200
        check_beats(manager)

        write("streams = 3\n")
        service.send_signal(signal.SIGHUP)
        assert int(manager.wait("RELOADING=1")["MONOTONIC_USEC"]) > 0
        again = manager.wait("READY=1")
        assert again["STATUS"] == ready["STATUS"], again
        assert "the configuration is taken" in log(), log()

        write("streams = 3\nstreems = 4\n")
        service.send_signal(signal.SIGHUP)
        manager.wait("RELOADING=1")
        refused = manager.wait("READY=1")
        assert "refused" in refused["STATUS"], refused
        wanted = f"the configuration is refused, the old one stays: {config}:4:1: there is no key 'streems' in [serve]"
        assert log().count(wanted) == 1, log()
        assert health(ready) == 200

        service.send_signal(signal.SIGTERM)
        manager.wait("STOPPING=1")
        assert service.wait(LONG) == 0
    finally:
        service.kill()
        service.wait()


def without_watchdog():
    """Somebody else's watchdog is not fed."""
    write("")
    manager = Manager("@zel-service-other-%d" % os.getpid())
    os.environ.update(WATCHDOG_USEC="300000", WATCHDOG_PID="1")
    service = start(manager, False)
    try:
        manager.wait("READY=1")
        time.sleep(0.6)
        service.send_signal(signal.SIGINT)
        manager.wait("STOPPING=1")
        assert service.wait(LONG) == 0
        assert not any("WATCHDOG=1" in message for message in manager.seen), manager.seen
    finally:
        service.kill()
        service.wait()


def wrong_configuration():
    """Nothing is said to be ready, and the status tells a manager not to try again."""
    write("streems = 4\n")
    manager = Manager("@zel-service-wrong-%d" % os.getpid())
    service = start(manager, False)
    assert service.wait(LONG) == 2, log()
    assert not select.select([manager.socket], [], [], 0)[0], "a message in spite of a wrong configuration"


whole_life(os.path.join(directory, "notify"))
whole_life("@zel-service-%d" % os.getpid())
without_watchdog()
wrong_configuration()
