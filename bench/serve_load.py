#!/usr/bin/env python3
"""Asks a server for /metrics at a steady rate from many clients that keep their connections.

  bench/serve_load.py HOST:PORT PID [--clients 50] [--rate 1000] [--seconds 60] [--path /metrics]

Prints requests, errors, the times of answers (of each request, from the moment at which it was due: a server that stops for a
while does not hide behind requests that wait) and the memory of the process before, when warm and after. Ends with 1 when a request
failed. Several processes ask, so that the clients are not what is measured.
"""
import argparse
import multiprocessing
import pathlib
import socket
import sys
import time

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests/outside"))
from process_kit import memory, processor_seconds

WARM_UP = 0.2  # share of the time after which the memory should stay what it is

class Client:
    def __init__(self, host, port, path):
        self.request = (f"GET {path} HTTP/1.1\r\nHost: {host}\r\nAccept-Encoding: gzip\r\n\r\n").encode()
        self.socket = socket.create_connection((host, port), timeout=20)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

    def get(self):
        self.socket.sendall(self.request)
        data = b""
        while b"\r\n\r\n" not in data:
            data += self.more()
        head, _, body = data.partition(b"\r\n\r\n")
        if not head.startswith(b"HTTP/1.1 200"):
            raise OSError(head.split(b"\r\n")[0].decode(errors="replace"))
        length = next(int(line.split(b":")[1]) for line in head.split(b"\r\n") if line.lower().startswith(b"content-length"))
        size = len(body)
        while size < length:
            size += len(self.more())
        return size

    def more(self):
        data = self.socket.recv(65536)
        if not data:
            raise OSError("the server closed the connection")
        return data


def ask(arguments, clients, rate, begin, results):
    """One process: its clients take turns, each request when it is due."""
    times, errors, size = [], [], 0
    try:
        connected = [Client(*arguments) for _ in range(clients)]
        count = int(rate * (results["seconds"]))
        for number in range(count):
            due = begin + number / rate
            wait = due - time.monotonic()
            if wait > 0:
                time.sleep(wait)
            try:
                size = connected[number % clients].get()
                times.append(time.monotonic() - due)
            except OSError as error:
                errors.append(str(error))
                connected[number % clients] = Client(*arguments)
    except OSError as error:
        errors.append(str(error))
    results["queue"].put((times, errors, size))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("server")
    parser.add_argument("pid", type=int)
    parser.add_argument("--clients", type=int, default=50)
    parser.add_argument("--rate", type=float, default=1000)
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--path", default="/metrics")
    parser.add_argument("--processes", type=int, default=5)
    options = parser.parse_args()
    host, port = options.server.rsplit(":", 1)
    each = options.clients // options.processes
    queue = multiprocessing.Queue()
    Client(host, int(port), options.path).get()
    before, used = memory(options.pid) // 1024, processor_seconds(options.pid)
    begin = time.monotonic() + 0.5
    workers = [multiprocessing.Process(target=ask, args=(
        (host, int(port), options.path), each, options.rate / options.processes, begin + number / options.rate,
        {"seconds": options.seconds, "queue": queue})) for number in range(options.processes)]
    for worker in workers:
        worker.start()
    time.sleep(max(0.0, begin + options.seconds * WARM_UP - time.monotonic()))
    warm = memory(options.pid) // 1024
    found = [queue.get() for _ in workers]
    for worker in workers:
        worker.join()
    took = time.monotonic() - begin
    times = sorted(one for part in found for one in part[0])
    errors = [one for part in found for one in part[1]]
    after, used = memory(options.pid) // 1024, processor_seconds(options.pid) - used
    print(f"{len(times)} answers of {found[0][2]} bytes in {took:.1f} s ({len(times) / took:.0f}/s) to "
          f"{each * options.processes} clients, {len(errors)} errors")
    if times:
        p50, p99 = (times[min(int(len(times) * part), len(times) - 1)] * 1000 for part in (0.5, 0.99))
        print(f"p50 {p50:.2f} ms, p99 {p99:.2f} ms, longest {times[-1] * 1000:.1f} ms; "
              f"processor time {used:.2f} s ({used / len(times) * 1e6:.0f} us a request)")
    print(f"memory {before} kB before, {warm} kB when warm, {after} kB after")
    for error in errors[:5]:
        print(f"error: {error}", file=sys.stderr)
    expected = int(options.rate / options.processes * options.seconds) * options.processes
    sys.exit(0 if not errors and len(times) == expected else 1)


if __name__ == "__main__":
    main()
