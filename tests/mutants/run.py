#!/usr/bin/env python3
"""Do the tests notice faults? Seeds those of faults.txt one at a time and runs the default tests.

    tests/mutants/run.py            all of them
    tests/mutants/run.py 3 17       these alone, counted from 1
    tests/mutants/run.py --list     their numbers
    tests/mutants/run.py --check    does every fault still find its place?

Works in a copy of this commit's tree with the changes of the working tree, build/mutants, so that the
working tree is never touched. A fault is caught when a test fails or times out, and does so again when
it runs alone; one that does not compile is an error of the list. Ends with 1 unless all are caught. Needs
what the tests need, rsync, and some two minutes a fault.
"""
import argparse
import pathlib
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
FAULTS = pathlib.Path(__file__).with_name("faults.txt")
WORK = ROOT / "build" / "mutants"
TREE, BUILD = WORK / "tree", WORK / "build"
COPIED = ["board", "book", "cmake", "driver", "eval", "search", "tablebases", "tests", "tools", "doc", "packaging",
          "scripts", "CMakeLists.txt", "README.md"]


def faults():
    """The list as dictionaries with file, from and to; a text may go on over further lines."""
    found = []
    for paragraph in FAULTS.read_text().split("\nfile ")[1:]:
        name, rest = paragraph.split("\nfrom ", 1)
        before, after = rest.split("\nto   ", 1)
        found.append({"file": name.strip(), "from": before, "to": after.rstrip("\n")})
    return found


def place(fault, root):
    """The file's text when the fault fits there exactly once, else the reason why not."""
    text = (root / fault["file"]).read_text()
    times = text.count(fault["from"])
    return (text, None) if times == 1 else (None, f"its text stands {times} times in {fault['file']}")


def quiet(*command, timeout=3600):
    return subprocess.run(list(map(str, command)), text=True, capture_output=True, check=False, timeout=timeout)


def prepare():
    if shutil.which("rsync") is None:
        sys.exit("rsync is needed (package rsync)")
    TREE.mkdir(parents=True, exist_ok=True)
    sources = [str(ROOT / name) for name in COPIED]
    steps = [
        # Not with their times: what an interrupted run has left faulty must be built anew.
        ["rsync", "-rlp", "--checksum", "--delete", "--exclude", "node_modules", *sources, f"{TREE}/"],
        ["cmake", "-S", TREE, "-B", BUILD, "-DCMAKE_BUILD_TYPE=Release"],
        ["cmake", "--build", BUILD, "--parallel", "2"],
    ]
    for step in steps:
        done = quiet(*step)
        if done.returncode != 0:
            sys.exit(f"{' '.join(map(str, step))} failed:\n{done.stdout[-2000:]}{done.stderr[-2000:]}")


def failing_tests():
    """The names of tests that fail, and fail again alone; empty when there is none."""
    for _ in range(3):
        done = quiet("ctest", "--test-dir", BUILD, "-j2", "-LE", "slow", "--stop-on-failure", "--timeout", "60")
        if done.returncode == 0:
            return []
        again = quiet("ctest", "--test-dir", BUILD, "--rerun-failed", "--timeout", "60")
        if again.returncode != 0:
            break
    else:
        return []
    failed = [line.split(" - ", 1)[1] for line in done.stdout.splitlines() if " - " in line and "(" in line.split(" - ", 1)[1]
              and line.strip()[0].isdigit()]
    return failed or ["ctest itself"]


def try_fault(number, fault):
    """'caught by ...', 'ESCAPED', or 'DOES NOT BUILD'."""
    target = TREE / fault["file"]
    text, reason = place(fault, TREE)
    if reason:
        return f"WRONG: {reason}"
    target.write_text(text.replace(fault["from"], fault["to"]))
    try:
        built = quiet("cmake", "--build", BUILD, "--parallel", "2")
        if built.returncode != 0:
            # The book, values and tables are made while building, by the program at fault.
            by_compiler = "error:" in built.stdout or "error:" in built.stderr
            return "DOES NOT BUILD" if by_compiler else "caught by the build"
        failed = failing_tests()
        return f"caught by {failed[0]}" if failed else "ESCAPED"
    finally:
        target.write_text(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("numbers", nargs="*", type=int)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--check", action="store_true")
    arguments = parser.parse_args()
    known = faults()
    chosen = arguments.numbers or range(1, len(known) + 1)
    if arguments.list:
        for number in chosen:
            fault = known[number - 1]
            print(f"{number:3} {fault['file']}: {fault['from'].splitlines()[0]}")
        return 0
    if arguments.check:
        reasons = [f"{number}: {place(known[number - 1], ROOT)[1]}" for number in chosen if place(known[number - 1], ROOT)[1]]
        print("\n".join(reasons) or f"{len(known)} faults find their places")
        return bool(reasons)

    prepare()
    if failed := failing_tests():
        sys.exit(f"without any fault the tests fail: {failed}")
    caught = 0
    for number in chosen:
        start = time.monotonic()
        verdict = try_fault(number, known[number - 1])
        caught += verdict.startswith("caught")
        print(f"{number:3} {known[number - 1]['file']}: {verdict} ({time.monotonic() - start:.0f} s)", flush=True)
    print(f"{caught} of {len(chosen)} caught")
    return caught < len(chosen)


if __name__ == "__main__":
    sys.exit(main())
