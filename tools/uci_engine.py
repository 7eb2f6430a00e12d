"""A UCI engine as a process, for the tools written in Python."""
import subprocess
import sys


class Engine:
    """Started in `folder`; of the options, pairs of name and value, those that it offers are set."""

    def __init__(self, command, options=(), folder=None):
        try:
            self.process = subprocess.Popen([command], cwd=folder, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                            text=True, bufsize=1)
        except OSError as error:
            sys.exit("cannot start %s: %s" % (command, error.strerror))
        offered = [line for line in self.ask("uci", "uciok") if line.startswith("option name ")]
        for name, value in options:
            if any(line.startswith("option name %s type " % name) for line in offered):
                self.tell("setoption name %s value %s" % (name, value))

    def tell(self, line):
        try:
            self.process.stdin.write(line + "\n")
        except BrokenPipeError:
            sys.exit("%s has ended; it was to be told '%s'" % (self.process.args[0], line))

    def ask(self, line, answer):
        """Sends a line; returns all lines up to the one that begins with `answer`."""
        self.tell(line)
        lines = []
        while True:
            text = self.process.stdout.readline()
            if not text:
                sys.exit("%s ended without an answer to '%s'" % (self.process.args[0], line))
            lines.append(text.strip())
            if text.startswith(answer):
                return lines

    def new_game(self):
        self.tell("ucinewgame")
        self.ask("isready", "readyok")

    def search(self, fen, limit, moves=()):
        """All that it prints, "bestmove" last. `limit` is what stands behind "go"."""
        self.tell("position fen %s%s" % (fen, " moves " + " ".join(moves) if moves else ""))
        return self.ask("go " + limit, "bestmove")

    def quit(self):
        self.tell("quit")
        self.process.wait()
