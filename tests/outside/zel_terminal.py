"""Runs a program on a terminal of its own and prints what the terminal got.

zel_terminal.py COLUMNS PROGRAM [ARGUMENT...]
Exits with the status of the program; 128 and the number of the signal when one ended it. The variable INTERRUPT_AFTER
holds a text: when the terminal got it twice, the program gets what Ctrl-C sends. Once, when it begins with "first ".
"""
import fcntl
import os
import pty
import struct
import sys
import termios


def main():
    columns, command = int(sys.argv[1]), sys.argv[2:]
    child, terminal = pty.fork()
    if child == 0:
        fcntl.ioctl(1, termios.TIOCSWINSZ, struct.pack("HHHH", 40, columns, 0, 0))
        os.execvp(command[0], command)
    text = os.environ.get("INTERRUPT_AFTER", "").encode()
    times = 1 if text.startswith(b"first ") else 2
    text = text.removeprefix(b"first ")
    got = b""
    while True:
        try:
            data = os.read(terminal, 65536)
        except OSError:
            break
        if not data:
            break
        sys.stdout.buffer.write(data)
        got += data
        if text and got.count(text) >= times:
            os.write(terminal, b"\x03")
            text = b""
    status = os.waitpid(child, 0)[1]
    sys.stdout.flush()
    sys.exit(128 + os.WTERMSIG(status) if os.WIFSIGNALED(status) else os.WEXITSTATUS(status))


main()
