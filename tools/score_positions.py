#!/usr/bin/env python3
"""Scores the positions of a training file anew with a UCI engine.

    tools/score_positions.py --engine stockfish --nodes 3000 IN.epd[.gz] OUT.epd

Each line of IN is "FEN-of-four-fields ce SCORE; c0 "RESULT";" (doc/tuning.md); OUT gets the same lines
with the score of the engine's search, centipawns for the side to move. Positions that it calls a
mate, or answers without a score, are left out. OUT is appended to and the positions that it holds
already are not scored again, so that a run that was interrupted can go on; the engine and the nodes
should then be the same as before. Run two of them on halves of a file to use two processors.
"""
import argparse
import gzip
import pathlib
import re
import sys
import time

from uci_engine import Engine


def lines_of(path):
    opened = gzip.open(path, "rt") if path.suffix == ".gz" else open(path, encoding="ascii")
    with opened as file:
        yield from file


def fields(line):
    """The FEN and the quoted result, None for a line of another form."""
    found = re.fullmatch(r'(\S+ [wb] \S+ \S+) (?:ce -?\d+; )?c0 "([^"]+)";(?: ce -?\d+;)?\s*', line)
    return found.groups() if found else None


def score_of(engine, fen, nodes):
    """Centipawns for the side to move; None for a mate or no move at all."""
    engine.new_game()  # or the score would depend on the positions before
    score = None
    for line in engine.search(fen + " 0 1", f"nodes {nodes}"):
        found = re.search(r" score (cp|mate) (-?\d+)", line)
        if found and "bound" not in line:
            score = int(found.group(2)) if found.group(1) == "cp" else None
    return score


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--engine", required=True, help="command of a UCI engine")
    parser.add_argument("--nodes", type=int, default=3000, help="a position (3000)")
    parser.add_argument("--hash", type=int, default=16, help="megabytes (16)")
    parser.add_argument("input", type=pathlib.Path)
    parser.add_argument("output", type=pathlib.Path)
    options = parser.parse_args()
    if options.output.suffix == ".gz":
        sys.exit("the output is plain text and cannot be compressed on the way")
    if not options.input.is_file():
        sys.exit(f"{options.input} cannot be read")

    done, cut_off = set(), False
    if options.output.exists():
        if options.output.samefile(options.input):
            sys.exit("the output cannot be the input")
        held = list(lines_of(options.output))
        done = {found[0] for found in map(fields, held) if found}
        with open(options.output, "rb") as out:
            cut_off = out.seek(0, 2) > 0 and out.seek(-1, 2) >= 0 and out.read() != b"\n"
        if held and not done and not (cut_off and len(held) == 1):
            sys.exit(f"{options.output} holds no scored positions; it is left alone")
    engine = Engine(options.engine, [("Hash", options.hash), ("OwnBook", "false")])
    start, scored, left_out, unreadable, before = time.monotonic(), 0, 0, 0, len(done)
    with open(options.output, "a", encoding="ascii") as out:
        if cut_off:  # in the middle of a line
            out.write("\n")
        for line in lines_of(options.input):
            found = fields(line)
            if not found:
                unreadable += 1
                continue
            if found[0] in done:
                continue
            done.add(found[0])
            score = score_of(engine, found[0], options.nodes)
            if score is None:
                left_out += 1
            else:
                out.write(f'{found[0]} ce {score}; c0 "{found[1]}";\n')
                scored += 1
                if scored % 1000 == 0:
                    print(f"\r{scored} positions, {scored / (time.monotonic() - start):.0f} a second", end="",
                          file=sys.stderr, flush=True)
    engine.quit()
    print(f"{scored} positions scored, {left_out} left out, {unreadable} lines unreadable; {before} were there before")


if __name__ == "__main__":
    main()
