#!/usr/bin/env python3
"""A person at the console of the program for Windows: wine shows its console on a terminal of ours.

    console.py PROGRAM

Commands are answered, Ctrl-C ends a search and not the program, a search takes commands, and the program
ends by "quit". Ends with 1, and says why, when it does not.
"""
import os
import pty
import re
import select
import sys
import termios
import time
import tty


class Console:
    def __init__(self, program):
        self.printed = b""
        self.child, self.terminal = pty.fork()
        if self.child == 0:
            tty.setraw(0)  # keys, not lines: wine makes the lines, but takes Ctrl-C for the signal that it is
            modes = termios.tcgetattr(0)
            modes[3] |= termios.ISIG
            termios.tcsetattr(0, termios.TCSANOW, modes)
            os.environ["TERM"] = "xterm"
            os.execvp("wine", ["wine", program])

    def type(self, keys):
        self.printed = b""
        os.write(self.terminal, keys.encode())

    def wait_for(self, pattern, what):
        """Reads until this has been printed since the last keys; "" stands for the end."""
        deadline = time.time() + 30
        while time.time() < deadline:
            if pattern and re.search(pattern, self.printed):
                return
            if not select.select([self.terminal], [], [], 0.2)[0]:
                continue
            try:
                piece = os.read(self.terminal, 4096)
            except OSError:  # nobody is at the other end any more
                piece = b""
            self.printed += piece
            if not piece:
                if pattern:
                    break
                return
        os.kill(self.child, 9)
        sys.exit("%s; printed was\n%s" % (what, self.printed.decode(errors="replace")))


THINKING = rb"\n[^\n]*\d+ -?\d+ \d+ \d+ [a-h]"
# Keys, what is printed after them (nothing: the end), and what is wrong when it is not.
STEPS = (
    ("", rb"EGTB files", "it does not start"),
    ("brd\r", rb"FEN: rnbqkbnr/", "no board is shown"),
    ("easy\rpost\rforce\rloadfen 4k3/pppppppp/8/8/8/8/PPPPPPPP/4K3 w - -\rst 1000\rgo\r", THINKING,
     "no line of the search is shown"),
    ("\x03", rb"move [a-h][1-8]", "Ctrl-C does not end a search"),
    ("brd\r", rb"Side to move: black", "it has gone after Ctrl-C, or has not moved"),
    ("analyze\r", THINKING, "no line of the analysis is shown"),
    ("exit\rbrd\r", rb"Side to move: black", "the analysis does not end by a command"),
    ("quit\r", b"", "it does not quit"),
)


def main():
    console = Console(sys.argv[1])
    for keys, pattern, what in STEPS:
        console.type(keys)
        console.wait_for(pattern, what)
    status = os.waitpid(console.child, 0)[1]
    if status != 0:
        sys.exit("it ends with status %d" % status)


main()
