#!/usr/bin/env python3
"""Plays the engine of this working tree against an earlier commit or a packaged engine.

    tools/strength.py HEAD~3                       400 games at 5+0.05 against that commit
    tools/strength.py glaurung --games 200         against a packaged engine
    tools/strength.py v1 --nodes 10000 --games 2000

Openings are drawn from tools/match/openings.tsv, each played with both colours, without books, with
one thread and 16 MB of hash where that can be set. Prints the match's own lines and at the end one
line of results, which is also appended to build/strength.log: date, commit ("+" when the tree has
changes), opponent, limit, games, wins, draws, losses, score in percent, Elo and its 95 % half-width,
faults of ours and of the opponent. A match that is broken off, by Ctrl-C too, gets the line of its
last full count and says so.

Needs git, CMake, a compiler, Node.js and npm, and for a packaged engine its package.
"""
import argparse
import datetime
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
MATCH = ROOT / "tools" / "match"
BUILDS = ROOT / "build" / "strength"
HASH = "option.Hash=16"

# The command and what the match must know of the engine; the package has the engine's name.
PACKAGED = {
    "phalanx": ("/usr/games/phalanx", ["proto=xboard", "arg=-b-", "arg=-l-", "arg=-t16384"]),
    "gnuchess": ("/usr/games/gnuchess", ["arg=--uci", HASH]),
    "glaurung": ("/usr/games/glaurung", [HASH, "option.OwnBook=false", "option.Threads=1"]),
    "toga2": ("/usr/games/toga2", [HASH, "option.OwnBook=false"]),
    "stockfish": ("/usr/games/stockfish", [HASH, "option.Use NNUE=false", "option.Threads=1"]),
    "ethereal-chess": ("/usr/games/ethereal-chess", [HASH, "option.Threads=1"]),
}


def run(*command, cwd=ROOT):
    """What the command prints; ends the program with its complaint when it fails."""
    done = subprocess.run(command, cwd=cwd, text=True, capture_output=True, check=False)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))} failed:\n{(done.stderr or done.stdout).strip()}")
    return done.stdout.strip()


def build(source, folder):
    """The engine of a source tree, built the same way for both sides."""
    run("cmake", "-S", source, "-B", folder, "-DCMAKE_BUILD_TYPE=Release", "-DCORVANTIS_TESTS=OFF")
    run("cmake", "--build", folder, "--target", "corvantis", "--parallel", "2")
    return folder / "corvantis"


def engine_of_commit(commit):
    """The engine of a commit, built once and kept in build/strength."""
    folder = BUILDS / commit
    engine = folder / "build" / "corvantis"
    if not engine.exists():
        print(f"building {commit}", flush=True)
        tree, unpacked = folder / "source", folder / "source.new"
        if not tree.exists():
            shutil.rmtree(unpacked, ignore_errors=True)
            unpacked.mkdir(parents=True)
            archive = subprocess.run(["git", "archive", commit], cwd=ROOT, check=True, capture_output=True).stdout
            subprocess.run(["tar", "-x", "-C", unpacked], input=archive, check=True)
            unpacked.rename(tree)
        build(tree, folder / "build")
    return engine


def read_options():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("opponent", help="a commit, or one of " + ", ".join(PACKAGED))
    parser.add_argument("--tc", default="5+0.05", help="[MOVES/]SECONDS[+INCREMENT] (%(default)s)")
    parser.add_argument("--nodes", type=int, help="nodes a move, instead of a clock")
    parser.add_argument("--games", type=int, default=400, help="an odd number is rounded up (%(default)s)")
    parser.add_argument("--concurrency", type=int, help="games at once (one for each processor, with --ponder one "
                        "for each two)")
    parser.add_argument("--seed", type=int, default=1, help="of the order of openings (%(default)s)")
    parser.add_argument("--opponent-nodes", type=int, help="the opponent's nodes a move; ours has the clock")
    parser.add_argument("--ponder", action="store_true", help="both sides think on the other's time")
    parser.add_argument("--adjudicate", action="store_true",
                        help="end games that both engines have called won or drawn for several moves")
    parser.add_argument("--pgn", help="file that the games are appended to")
    options = parser.parse_args()
    if options.opponent == "phalanx" and (options.nodes or options.opponent_nodes):
        parser.error("phalanx knows no limit of nodes")
    if options.ponder and (options.nodes or options.opponent_nodes):
        parser.error("--ponder needs a clock for both sides")
    if options.concurrency is None:
        options.concurrency = max(1, (os.cpu_count() or 1) // (2 if options.ponder else 1))
    return options


def opponent_of(name):
    """Name, command and details of the opponent for the match."""
    if name not in PACKAGED:
        commit = run("git", "rev-parse", "--short=10", "--verify", name + "^{commit}")
        return commit, engine_of_commit(commit), [HASH]
    command, details = PACKAGED[name]
    if not pathlib.Path(command).exists():
        sys.exit(f"{command} is missing (package {name})")
    return name, command, details


def limit_in_words(options):
    text = f"{options.nodes} nodes" if options.nodes else options.tc
    if options.opponent_nodes:
        text += f" against {options.opponent_nodes} nodes"
    return text + " pondering" * options.ponder + " adjudicated" * options.adjudicate


def follow(match, own):
    """Prints the match's lines. The last count as seven texts, the faults of ours and of all, and
    whether the match came to its end."""
    total, faults, own_faults, ended = None, 0, 0, False
    try:
        for line in match.stdout:
            print(line, end="", flush=True)
            found = re.match(r"(\d+) games: \+(\d+) =(\d+) -(\d+)  (\S+)%  Elo (\S+) \+/- (\S+)", line)
            total = found.groups() if found else total
            if line.startswith("FAULT "):
                faults += 1
                own_faults += line.startswith(f"FAULT {own} ")
            ended = ended or line.startswith("faults: ")
    except KeyboardInterrupt:
        pass
    finally:
        for number in signal.SIGINT, signal.SIGTERM:  # once is enough; what was played is to be logged
            signal.signal(number, signal.SIG_IGN)
        match.terminate()
        match.wait()
    return total, own_faults, faults, ended


def main():
    options = read_options()
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    if shutil.which("node") is None or shutil.which("npm") is None:
        sys.exit("Node.js and npm are needed (packages nodejs and npm)")
    name, command, details = opponent_of(options.opponent)
    if not (MATCH / "node_modules" / ".package-lock.json").exists():
        run("npm", "ci", "--no-audit", "--no-fund", cwd=MATCH)
    engine = build(ROOT, BUILDS / "tree")
    commit = run("git", "rev-parse", "--short=10", "HEAD") + ("+" if run("git", "status", "--porcelain") else "")
    own = "Corvantis-" + commit
    if options.opponent_nodes:
        details = details + [f"nodes={options.opponent_nodes}"]

    limit = ["--nodes", str(options.nodes)] if options.nodes else ["--tc", options.tc]
    with tempfile.TemporaryDirectory() as folder:
        # Copies in folders of their own: no book, no learning, and the tree may be built meanwhile.
        folders = [pathlib.Path(folder) / side for side in ("ours", "theirs")]
        for place in folders:
            place.mkdir()
        shutil.copy2(engine, folders[0] / "corvantis")
        arguments = ["node", MATCH / "match.mjs",
                     "--engine", ",".join([f"name={own}", f"cmd={folders[0]}/corvantis", f"dir={folders[0]}", HASH]),
                     "--engine", ",".join([f"name={name}", f"cmd={command}", f"dir={folders[1]}"] + details),
                     *limit, "--games", str(options.games), "--concurrency", str(options.concurrency),
                     "--seed", str(options.seed), "--openings", MATCH / "openings.tsv", "--plies", "10",
                     "--margin", "20"]
        arguments += [f"--{flag}" for flag in ("ponder", "adjudicate") if getattr(options, flag)]
        if options.pgn:
            arguments += ["--pgn", options.pgn]
        match = subprocess.Popen([str(a) for a in arguments], stdout=subprocess.PIPE, text=True)
        total, own_faults, faults, ended = follow(match, own)
    if total is None:
        sys.exit("the match was broken off before its first count")

    games, wins, draws, losses, score, elo, error = total
    result = (f"{datetime.date.today()} {commit} {name} {limit_in_words(options)}: {games} games "
              f"+{wins} ={draws} -{losses} {score}% Elo {elo} +-{error}, "
              f"faults: {own_faults} ours, {faults - own_faults} theirs" + ("" if ended else ", BROKEN OFF"))
    print(result)
    with open(ROOT / "build" / "strength.log", "a", encoding="utf-8") as log:
        log.write(result + "\n")
    sys.exit(0 if ended else 1)


if __name__ == "__main__":
    main()
