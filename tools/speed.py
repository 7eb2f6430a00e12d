#!/usr/bin/env python3
"""Nodes per second of this engine and of others over the same positions in one run.

    tools/speed.py                       this tree against glaurung, toga2 and stockfish
    tools/speed.py glaurung --seconds 1  against one of them, a second a position
    tools/speed.py PATH/corvantis        against another build of this engine

Every engine searches every position of the bench for the given time, in turns, with 16 MB of
hash and one thread. Prints the nodes per second of each and ours divided by theirs. Other
engines count other things as nodes, so that the ratio only compares with itself.
"""
import argparse
import pathlib
import re
import subprocess
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PACKAGED = ["glaurung", "toga2", "stockfish"]
NOT_OURS = ["Use NNUE value false", "OwnBook value false", "Threads value 1"]


class Engine:
    """An engine speaking UCI in a folder of its own."""

    def __init__(self, command):
        self.folder = tempfile.TemporaryDirectory()
        self.process = subprocess.Popen([str(command)], cwd=self.folder.name, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, bufsize=1)
        options = set()
        self.send("uci")
        for line in self.lines_until("uciok"):
            found = re.match(r"option name (.*?) type", line)
            options.add(found.group(1) if found else "")
        for setting in ["Hash value 16"] + NOT_OURS:
            if setting.split(" value ")[0] in options:
                self.send("setoption name " + setting)

    def send(self, line):
        self.process.stdin.write(line + "\n")

    def lines_until(self, last):
        for line in self.process.stdout:
            yield line
            if line.startswith(last):
                return
        raise SystemExit("an engine ended")

    def search(self, fen, milliseconds):
        """Nodes and milliseconds that the engine reports last."""
        self.send("ucinewgame")
        self.send("isready")
        list(self.lines_until("readyok"))
        self.send("position fen " + fen)
        self.send(f"go movetime {milliseconds}")
        nodes, time = 0, 0
        for line in self.lines_until("bestmove"):
            found = re.search(r" nodes (\d+)", line), re.search(r" time (\d+)", line)
            if all(found) and int(found[1].group(1)) > 0:
                nodes, time = int(found[0].group(1)), int(found[1].group(1))
        return nodes, time


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("opponents", nargs="*", default=PACKAGED, help="packaged engines or paths")
    parser.add_argument("--seconds", type=float, default=0.5, help="a position")
    parser.add_argument("--engine", default=ROOT / "build" / "corvantis", help="ours")
    options = parser.parse_args()

    text = (ROOT / "tools" / "common" / "signature.cpp").read_text()
    fens = re.findall(r'"([^" ]+ [wb] [^"]+)"', text)
    engines = {"ours": Engine(options.engine)}
    for opponent in options.opponents:
        engines[opponent] = Engine(opponent if "/" in opponent else "/usr/games/" + opponent)
    totals = {name: [0, 0] for name in engines}
    for fen in fens:
        for name, engine in engines.items():
            for i, value in enumerate(engine.search(fen, int(options.seconds * 1000))):
                totals[name][i] += value
    speed = {name: 1000 * nodes / max(time, 1) for name, (nodes, time) in totals.items()}
    for name, value in speed.items():
        ratio = "" if name == "ours" else f"   ours / theirs {speed['ours'] / value:.3f}"
        print(f"{name:40} {value:12.0f} nodes per second{ratio}")
    for engine in engines.values():
        engine.send("quit")


if __name__ == "__main__":
    main()
