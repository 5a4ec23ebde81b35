"""What a process costs, and a port for it: shared by the tests and by bench/."""

import os
import socket


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def processor_seconds(pid):
    """What all its threads have used, in user mode and in the kernel."""
    with open(f"/proc/{pid}/stat", encoding="ascii", errors="replace") as stat:
        fields = stat.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def memory(pid, field="VmRSS"):
    """Bytes; VmHWM: the most that it ever had."""
    with open(f"/proc/{pid}/status", encoding="ascii", errors="replace") as status:
        return next(int(line.split()[1]) * 1024 for line in status if line.startswith(field + ":"))
