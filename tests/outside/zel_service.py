#!/usr/bin/env python3
"""zel serve as systemd runs it: what it says to the socket of NOTIFY_SOCKET, and what signals make of it.

  zel_service.py ZEL DIRECTORY UNIT
"""
import ctypes
import os
import platform
import select
import shutil
import signal
import socket
import subprocess
import sys
import time
import urllib.error
import urllib.request
from concurrent.futures import ThreadPoolExecutor

zel, directory, unit = sys.argv[1:]
config = os.path.join(directory, "service.toml")
WATCHDOG_SECONDS = 1.5
LIBC = ctypes.CDLL(None, use_errno=True)
FUTEX = {"x86_64": "202", "aarch64": "98"}.get(platform.machine())
WAIT_FOR_THREADS = 0x40000000  # __WALL
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


def start(manager, watchdog, before=(), others=None):
    environment = dict(os.environ, NOTIFY_SOCKET=manager.address, **(others or {}))
    if watchdog:
        environment["WATCHDOG_USEC"] = str(int(WATCHDOG_SECONDS * 1e6))
    errors = open(os.path.join(directory, "service.log"), "w")
    return subprocess.Popen([*before, zel, "serve", "--config", config], env=environment, stderr=errors)


def log():
    with open(os.path.join(directory, "service.log")) as file:
        return file.read()


def ask(ready, path):
    """Status and text of an answer."""
    try:
        with urllib.request.urlopen(f"http://{ready['STATUS'].split()[1]}{path}", timeout=LONG) as answer:
            return answer.status, answer.read().decode()
    except urllib.error.HTTPError as error:
        return error.code, error.read().decode()


def health(ready):
    return ask(ready, "/healthz")[0]


def comes_true(what, condition):
    end = time.monotonic() + LONG
    while not condition():
        assert time.monotonic() < end, f"not in {LONG} s: {what}"
        time.sleep(0.05)


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
    service = start(manager, False, others={"WATCHDOG_USEC": "300000", "WATCHDOG_PID": "1"})
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


class Held:
    """One thread of a process that does not go on, as one that waits for a driver: by ptrace."""

    SEIZE, INTERRUPT, TO_SYSTEM_CALL, DETACH = 0x4206, 0x4207, 24, 17

    def __init__(self, process, thread):
        self.thread, self.system_call = thread, f"/proc/{process}/task/{thread}/syscall"

    def call(self, request):
        assert LIBC.ptrace(request, self.thread, None, None) == 0, os.strerror(ctypes.get_errno())

    def until_stopped(self):
        os.waitpid(self.thread, WAIT_FOR_THREADS)
        with open(self.system_call) as call:
            return call.read().split()[0]

    def __enter__(self):
        self.call(self.SEIZE)
        self.call(self.INTERRUPT)
        self.until_stopped()
        return self

    def at_work(self):
        """Lets it go on until it has something to do, and holds it there."""
        stopped_at = FUTEX
        while stopped_at in (FUTEX, "-1"):
            self.call(self.TO_SYSTEM_CALL)
            stopped_at = self.until_stopped()

    def __exit__(self, *_):
        self.call(self.DETACH)


def sampling_thread(process):
    """The one that waits to be asked for a sample; the others wait for signals and for clients."""
    for thread in os.listdir(f"/proc/{process}/task"):
        with open(f"/proc/{process}/task/{thread}/wchan") as place:
            if "futex" in place.read():
                return int(thread)
    return None


def stuck_sampler(_):
    """A service whose samples do not come to an end says so to those who ask, and is not fed."""
    write('deadline = "100ms"\n')
    manager = Manager("@zel-service-stuck-%d" % os.getpid())
    service = start(manager, True)
    try:
        ready = manager.wait("READY=1")
        comes_true("a thread that waits to be asked", lambda: sampling_thread(service.pid))
        time.sleep(1.1)  # beyond the age at which the first sample is shared
        with Held(service.pid, sampling_thread(service.pid)) as held, ThreadPoolExecutor() as client:
            answer = client.submit(ask, ready, "/api/v1/sample")
            held.at_work()
            assert answer.result()[0] == 503
            assert health(ready) == 503
            comes_true("a line in the log", lambda: "has taken longer than" in log())
            while select.select([manager.socket], [], [], 0)[0]:
                manager.socket.recv(4096)
            assert not select.select([manager.socket], [], [], WATCHDOG_SECONDS)[0], manager.socket.recv(4096)
        comes_true("a service that is well again", lambda: health(ready) == 200)
        manager.wait("WATCHDOG=1")
        assert ask(ready, "/metrics")[0] == 200
        assert service.poll() is None
    finally:
        service.kill()
        service.wait()


def families(ready):
    status, text = ask(ready, "/metrics")
    assert status == 200, text
    return {line.split()[2] for line in text.splitlines() if line.startswith("# TYPE ")}


def under_its_filter(unit):
    """With the system calls alone that the unit allows the service has a whole life, and all of its families."""
    write("")
    found = []
    here = os.path.dirname(os.path.abspath(__file__))
    for before in ((), (sys.executable, os.path.join(here, "system_call_filter.py"), unit)):
        manager = Manager("@zel-service-filter-%d-%d" % (os.getpid(), len(found)))
        service = start(manager, True, before)
        try:
            ready = manager.wait("READY=1")
            found.append(families(ready))
            service.send_signal(signal.SIGHUP)
            manager.wait("RELOADING=1")
            manager.wait("READY=1")
            manager.wait("WATCHDOG=1")
            assert health(ready) == 200
            service.send_signal(signal.SIGTERM)
            manager.wait("STOPPING=1")
            assert service.wait(LONG) == 0
        finally:
            service.kill()
            service.wait()
    assert len(found[0]) > 200 and found[0] == found[1], found[0] ^ found[1]


whole_life(os.path.join(directory, "notify"))
whole_life("@zel-service-%d" % os.getpid())
without_watchdog()
wrong_configuration()
for part, needs in ((stuck_sampler, None), (under_its_filter, "systemd-analyze")):
    if os.geteuid() != 0 or (needs and not shutil.which(needs)):
        print(f"zel_service: {part.__name__} was not tried: it takes root{' and ' + needs if needs else ''}")
    else:
        part(unit)
