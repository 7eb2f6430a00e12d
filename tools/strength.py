#!/usr/bin/env python3
"""Plays the engine of this working tree against an earlier commit or a packaged engine.

    tools/strength.py HEAD~3                       400 games at 5+0.05 against that commit
    tools/strength.py glaurung --games 200         against a packaged engine
    tools/strength.py v1 --nodes 10000 --games 2000

Every opening of tools/match/openings.tsv is played with both colours, without books, with one
thread and 16 MB of hash where that can be set. Prints the match's own lines and at the end one
line of results, which is also appended to build/strength.log: date, commit ("+" when the tree has
changes), opponent, limit, games, wins, draws, losses, score in percent, Elo and its 95 % half-width,
faults of either side.

Needs git, CMake, a compiler, Node.js and npm, and for a packaged engine its package.
"""
import argparse
import datetime
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
MATCH = ROOT / "tools" / "match"
HASH = "option.Hash=16"

# The Debian package, the command, and what the match must know of the engine.
PACKAGED = {
    "phalanx": ("phalanx", "/usr/games/phalanx", ["proto=xboard", "arg=-b-", "arg=-l-"]),
    "gnuchess": ("gnuchess", "/usr/games/gnuchess", ["arg=--uci", HASH]),
    "glaurung": ("glaurung", "/usr/games/glaurung", [HASH, "option.OwnBook=false", "option.Threads=1"]),
    "toga2": ("toga2", "/usr/games/toga2", [HASH, "option.OwnBook=false"]),
    "stockfish": ("stockfish", "/usr/games/stockfish", [HASH, "option.Use NNUE=false", "option.Threads=1"]),
    "ethereal-chess": ("ethereal-chess", "/usr/games/ethereal-chess", [HASH, "option.Threads=1"]),
}


def run(*command, cwd=ROOT):
    return subprocess.run(command, cwd=cwd, check=True, text=True, capture_output=True).stdout.strip()


def build(source, folder):
    run("cmake", "-S", source, "-B", folder, "-DCMAKE_BUILD_TYPE=Release", "-DCORVANTIS_TESTS=OFF")
    run("cmake", "--build", folder, "--target", "corvantis", "--parallel", "2")
    return folder / "corvantis"


def engine_of_commit(revision):
    """The engine of a commit, built once and kept in build/strength."""
    commit = run("git", "rev-parse", "--short=10", "--verify", revision + "^{commit}")
    folder = ROOT / "build" / "strength" / commit
    engine = folder / "build" / "corvantis"
    if not engine.exists():
        print(f"building {commit}", flush=True)
        tree = folder / "source"
        if not tree.exists():
            tree.mkdir(parents=True)
            archive = subprocess.run(["git", "archive", commit], cwd=ROOT, check=True, capture_output=True).stdout
            subprocess.run(["tar", "-x", "-C", tree], input=archive, check=True)
        build(tree, folder / "build")
    return commit, engine


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("opponent", help="a commit, or one of " + ", ".join(PACKAGED))
    parser.add_argument("--tc", default="5+0.05", help="[MOVES/]SECONDS[+INCREMENT] (5+0.05)")
    parser.add_argument("--nodes", type=int, help="nodes a move, instead of a clock")
    parser.add_argument("--games", type=int, default=400)
    parser.add_argument("--concurrency", type=int, default=1)
    parser.add_argument("--seed", type=int, default=1, help="of the order of openings")
    parser.add_argument("--opponent-nodes", type=int, help="the opponent's nodes a move; ours has the clock")
    parser.add_argument("--ponder", action="store_true")
    parser.add_argument("--adjudicate", action="store_true",
                        help="end games that both engines have called won or drawn for several moves")
    parser.add_argument("--pgn", help="file that the games are appended to")
    options = parser.parse_args()

    if shutil.which("node") is None or shutil.which("npm") is None:
        sys.exit("Node.js and npm are needed (packages nodejs and npm)")
    if not (MATCH / "node_modules").exists():
        run("npm", "ci", "--no-audit", "--no-fund", cwd=MATCH)
    ours = build(ROOT, ROOT / "build")
    commit = run("git", "rev-parse", "--short=10", "HEAD") + ("+" if run("git", "status", "--porcelain") else "")
    if options.opponent in PACKAGED:
        package, command, details = PACKAGED[options.opponent]
        if not pathlib.Path(command).exists():
            sys.exit(f"{command} is missing (package {package})")
        name = options.opponent
    else:
        name, command = engine_of_commit(options.opponent)
        details = [HASH]
    if options.opponent_nodes:
        details = details + [f"nodes={options.opponent_nodes}"]

    limit = ["--nodes", str(options.nodes)] if options.nodes else ["--tc", options.tc]
    with tempfile.TemporaryDirectory() as folder:
        # Copies in folders of their own: no book, no learning, and the tree may be built meanwhile.
        folders = [pathlib.Path(folder) / side for side in ("ours", "theirs")]
        for place in folders:
            place.mkdir()
        shutil.copy2(ours, folders[0] / "corvantis")
        arguments = ["node", MATCH / "match.mjs",
                     "--engine", ",".join([f"name={commit}", f"cmd={folders[0]}/corvantis", f"dir={folders[0]}", HASH]),
                     "--engine", ",".join([f"name={name}", f"cmd={command}", f"dir={folders[1]}"] + details),
                     *limit, "--games", str(options.games), "--concurrency", str(options.concurrency),
                     "--seed", str(options.seed), "--openings", MATCH / "openings.tsv", "--plies", "10",
                     "--margin", "20"]
        arguments += [f"--{name}" for name in ("ponder", "adjudicate") if getattr(options, name)]
        if options.pgn:
            arguments += ["--pgn", options.pgn]
        match = subprocess.Popen([str(a) for a in arguments], stdout=subprocess.PIPE, text=True)
        total, faults = None, 0
        for line in match.stdout:
            print(line, end="", flush=True)
            found = re.match(r"(\d+) games: \+(\d+) =(\d+) -(\d+)  (\S+)%  Elo (\S+) \+/- (\S+)", line)
            total = found.groups() if found else total
            faults = int(line.split()[1]) if line.startswith("faults: ") else faults
        if match.wait() not in (0, 1) or total is None:
            sys.exit("the match did not reach its end")

    text = f"{options.nodes} nodes" if options.nodes else options.tc
    if options.opponent_nodes:
        text += f" against {options.opponent_nodes} nodes"
    if options.ponder:
        text += " pondering"
    if options.adjudicate:
        text += " adjudicated"
    games, wins, draws, losses, score, elo, error = total
    result = (f"{datetime.date.today()} {commit} {name} {text}: {games} games +{wins} ={draws} -{losses} {score}% "
              f"Elo {elo} +-{error}, {faults} faults")
    print(result)
    with open(ROOT / "build" / "strength.log", "a", encoding="utf-8") as log:
        log.write(result + "\n")


if __name__ == "__main__":
    main()
