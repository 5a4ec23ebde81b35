"""Runs a program under the SystemCallFilter of a unit, as systemd would: a filter of seccomp in front of its first line.

  system_call_filter.py UNIT PROGRAM [ARGUMENT...]

What the filter does not have fails with EPERM (SystemCallErrorNumber). Groups (@system-service) are those that
systemd-analyze knows; names that this machine's kernel headers do not have are of other machines or kernels.
"""

import ctypes
import errno
import os
import platform
import re
import struct
import subprocess
import sys

HEADERS = {"x86_64": ("/usr/include/x86_64-linux-gnu/asm/unistd_64.h", 0xC000003E),
           "aarch64": ("/usr/include/asm-generic/unistd.h", 0xC00000B7)}
NUMBER_AT, MACHINE_AT = 0, 4  # in struct seccomp_data
LOAD, EQUAL, RETURN = 0x20, 0x15, 0x06  # BPF: LD W ABS, JMP JEQ K, RET K
ALLOW, FAIL, KILL = 0x7FFF0000, 0x00050000, 0x80000000
PR_SET_NO_NEW_PRIVS, PR_SET_SECCOMP, SECCOMP_MODE_FILTER = 38, 22, 2


def group(name):
    """The system calls of a group, and of the groups in it."""
    text = subprocess.run(["systemd-analyze", "--no-pager", "syscall-filter", name], check=True, text=True,
                          stdout=subprocess.PIPE).stdout
    calls = set()
    for line in text.splitlines()[1:]:
        word = line.strip()
        if word and not word.startswith("#"):
            calls |= group(word) if word.startswith("@") else {word}
    return calls


def allowed(unit):
    with open(unit, encoding="utf-8") as file:
        lists = re.findall(r"^SystemCallFilter=(.*)$", file.read(), re.M)
    calls = set()
    for words in lists:
        named = set()
        for word in words.lstrip("~").split():
            named |= group(word) if word.startswith("@") else {word}
        calls = calls - named if words.startswith("~") else calls | named
    # systemd adds these to every list of what is allowed: without them nothing could be started.
    return calls | group("@default") | {"execve"}


def numbers(header, calls):
    with open(header, encoding="ascii") as file:
        table = dict(re.findall(r"^#define __NR(?:3264)?_(\w+)\s+(\d+)", file.read(), re.M))
    return sorted(int(table[call]) for call in calls if call in table)


def program(machine, permitted):
    def instruction(code, value, when=0, otherwise=0):
        return struct.pack("HBBI", code, when, otherwise, value)

    code = [instruction(LOAD, MACHINE_AT), instruction(EQUAL, machine, 1, 0), instruction(RETURN, KILL),
            instruction(LOAD, NUMBER_AT)]
    for number in permitted:
        code += [instruction(EQUAL, number, 0, 1), instruction(RETURN, ALLOW)]
    return code + [instruction(RETURN, FAIL | errno.EPERM)]


def main(unit, *command):
    header, machine = HEADERS[platform.machine()]
    code = program(machine, numbers(header, allowed(unit)))
    text = ctypes.create_string_buffer(b"".join(code))
    filters = ctypes.create_string_buffer(struct.pack("HxxxxxxP", len(code), ctypes.addressof(text)))
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 or libc.prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, filters) != 0:
        sys.exit(f"system_call_filter: {os.strerror(ctypes.get_errno())}")
    os.execvp(command[0], command)


if __name__ == "__main__":
    main(*sys.argv[1:])
