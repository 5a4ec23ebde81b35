"""Runs a program on a terminal of its own and prints what the terminal got.

zel_terminal.py COLUMNS PROGRAM [ARGUMENT...]
Exits with the status of the program; 128 and the number of the signal when one ended it. The variable INTERRUPT_AFTER
holds seconds after which the program gets what Ctrl-C sends.
"""
import fcntl
import os
import pty
import select
import struct
import sys
import termios
import time


def main():
    columns, command = int(sys.argv[1]), sys.argv[2:]
    child, terminal = pty.fork()
    if child == 0:
        fcntl.ioctl(1, termios.TIOCSWINSZ, struct.pack("HHHH", 40, columns, 0, 0))
        os.execvp(command[0], command)
    after = float(os.environ.get("INTERRUPT_AFTER", "0"))
    moment = time.monotonic() + after if after else None
    while True:
        if moment and time.monotonic() >= moment:
            os.write(terminal, b"\x03")
            moment = None
        if not select.select([terminal], [], [], 0.05)[0]:
            continue
        try:
            data = os.read(terminal, 65536)
        except OSError:
            break
        if not data:
            break
        sys.stdout.buffer.write(data)
    status = os.waitpid(child, 0)[1]
    sys.stdout.flush()
    sys.exit(128 + os.WTERMSIG(status) if os.WIFSIGNALED(status) else os.WEXITSTATUS(status))


main()
