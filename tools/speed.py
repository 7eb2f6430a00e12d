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
import sys
import tempfile

from uci_engine import Engine

ROOT = pathlib.Path(__file__).resolve().parent.parent
PACKAGED = ["glaurung", "toga2", "stockfish"]  # and any other command of /usr/games that speaks UCI
OPTIONS = [("Hash", 16), ("Use NNUE", "false"), ("OwnBook", "false"), ("Threads", 1)]


def searched(engine, fen, milliseconds):
    """Nodes and milliseconds that the engine reports last."""
    engine.new_game()
    nodes, time = 0, 0
    for line in engine.search(fen, f"movetime {milliseconds}"):
        found = re.search(r" nodes (\d+)", line), re.search(r" time (\d+)", line)
        if all(found) and int(found[1].group(1)) > 0:
            nodes, time = int(found[0].group(1)), int(found[1].group(1))
    return nodes, time


def measure(engines, fens, milliseconds):
    """Nodes and milliseconds of each engine over all positions."""
    totals = {name: [0, 0] for name in engines}
    for number, fen in enumerate(fens, 1):
        if sys.stderr.isatty():
            sys.stderr.write(f"\rposition {number} of {len(fens)}" + "\n" * (number == len(fens)))
            sys.stderr.flush()
        for name, engine in engines.items():
            for i, value in enumerate(searched(engine, fen, milliseconds)):
                totals[name][i] += value
    for engine in engines.values():
        engine.quit()
    return totals


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("opponents", nargs="*", default=PACKAGED,
                        help="packaged UCI engines (commands in /usr/games) or paths")
    parser.add_argument("--seconds", type=float, default=0.5, help="a position (0.5)")
    parser.add_argument("--engine", default=ROOT / "build" / "corvantis", help="ours")
    options = parser.parse_args()

    text = (ROOT / "tools" / "common" / "signature.cpp").read_text()
    fens = re.findall(r'"([^" ]+ [wb] [^"]+)"', text)
    if not fens:
        sys.exit("tools/common/signature.cpp holds no positions that can be read here")
    commands = {"ours": options.engine}
    for opponent in options.opponents:
        command = opponent if "/" in opponent else "/usr/games/" + opponent
        if pathlib.Path(command).exists():
            commands[opponent] = command
        else:
            print(f"SKIPPED: {command} is missing")
    with tempfile.TemporaryDirectory() as folder:  # no book and no learned positions
        engines = {name: Engine(str(pathlib.Path(command).resolve()), OPTIONS, folder)
                   for name, command in commands.items()}
        totals = measure(engines, fens, int(options.seconds * 1000))
    speed = {name: 1000 * nodes / max(time, 1) for name, (nodes, time) in totals.items()}
    for name, value in speed.items():
        ratio = ""
        if name != "ours":
            ratio = f"   ours / theirs {speed['ours'] / value:.3f}" if value else "   tells no nodes"
        print(f"{name:40} {value:12.0f} nodes per second{ratio}")


if __name__ == "__main__":
    main()
