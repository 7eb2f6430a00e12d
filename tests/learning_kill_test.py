#!/usr/bin/env python3
"""learning_kill_test.py - the real program is killed while it learns, and its disk fills up.

    learning_kill_test.py ENGINE [--kills N] [--seed N]

One folder with a book and a learning file goes through all of it. Before each kill the engine
queues searched positions and plays a game out of the book; then "reset" makes it write both
files, and SIGKILL comes at a random moment of that: by the clock, or, as on a busy machine
nearly all of the writing falls into one slice of time, at a random one of its system calls
(Linux only). This program knows the formats by itself: it works out, byte by byte, what the
files are after each single record that is due, and the files must be one of these. Each next
start reads what the kill before has left.

Afterwards: files that may not be written to, and a small disk that is full. Whoever may not
mount one is told so.
"""
import argparse
import atexit
import ctypes
import os
import random
import re
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

SECONDS = 60  # for any one answer
LINES = [line.split() for line in (
    "e2e4 e7e5 g1f3 b8c6 f1b5 a7a6 b5a4 g8f6 d2d3 d7d6 c2c3",
    "d2d4 d7d5 c2c4 e7e6 b1c3 g8f6 c1g5 f8e7 e2e3 h7h6 g5h4",
    "e2e4 c7c5 g1f3 d7d6 d2d4 c5d4 f3d4 g8f6 b1c3 a7a6 c1e3",
    "c2c4 e7e5 b1c3 g8f6 g2g3 d7d5 c4d5 f6d5 f1g2 d5b6 g1f3")]


def check(condition, what):
    if not condition:
        raise AssertionError(what)


# ---- The book: keys, a board that knows plain moves, points ----

def key_tables():
    state, mask = 0x436F7276616E7469, 2 ** 64 - 1
    numbers = []
    for _ in range(2 * 2 * 8 * 64):
        state = (state + 0x9E3779B97F4A7C15) & mask
        z = (state ^ state >> 30) * 0xBF58476D1CE4E5B9 & mask
        z = (z ^ z >> 27) * 0x94D049BB133111EB & mask
        numbers.append((z ^ z >> 31) >> 32)
    return numbers


KEYS = key_tables()
BLACK_TO_MOVE = 0x07D3ADEB


def square(text):
    return ord(text[0]) - ord("a") + 8 * (ord(text[1]) - ord("1"))


PIECE_TYPES = {"k": 1, "n": 2, "p": 3, "r": 5, "b": 6, "q": 7}


def book_key(moves):
    board = dict(enumerate("RNBQKBNR" + "P" * 8)) | dict(enumerate("p" * 8 + "rnbqkbnr", 48))
    for move in moves:
        board[square(move[2:])] = board.pop(square(move))
    halves = [0, 0]
    for at, man in board.items():
        for half in 0, 1:
            halves[half] ^= KEYS[((2 * half + man.islower()) * 8 + PIECE_TYPES[man.lower()]) * 64 + at]
    if len(moves) % 2:
        halves[0] ^= BLACK_TO_MOVE
    return struct.unpack("<ii", struct.pack("<II", *halves))


def make_book(rng):
    """Every position of the lines, with points of all sizes. Returns bytes and {moves: offset}."""
    nodes = {}
    for line in LINES:
        for ply, move in enumerate(line):
            nodes.setdefault(tuple(line[:ply]), set()).add(move)
    for moves, replies in nodes.items():
        replies |= set(rng.sample(["a2a3", "h2h4", "b2b3"] if len(moves) % 2 == 0 else ["a7a6", "h7h5", "b7b6"], 2))
    by_key = {book_key(moves): moves for moves in nodes}
    check(len(by_key) == len(nodes), "two positions with one key")
    index, lists, offsets = b"", b"", {}
    for key in sorted(by_key):
        moves = by_key[key]
        offsets[moves] = 36 + 12 * len(nodes) + len(lists)
        index += struct.pack("<iiI", *key, offsets[moves])
        entries = b""
        for move in sorted(nodes[moves]):
            points = rng.choice([(0, 0), (255, 255), (rng.randrange(255), rng.randrange(255)), (254, 3), (253, 254),
                                 (254, 254)])
            entries += bytes((square(move), square(move[2:])) + points)
        lists += bytes([len(nodes[moves])]) + entries
    return b"~Corvantis openings book" + struct.pack("<III", 1, 0, len(nodes)) + index + lists, offsets


def book_after(book, offset, move, result):
    """The book after the result ("won", "lost", "drawn") of one game."""
    book = bytearray(book)
    entries = range(offset + 1, offset + 1 + 4 * book[offset], 4)
    for at in entries:
        if book[at] == square(move) and book[at + 1] == square(move[2:]) and book[at + 2:at + 4] != b"\xff\xff":
            ours, theirs = {"won": (2, 0), "lost": (0, 2), "drawn": (1, 1)}[result]
            ours, theirs = ours + book[at + 2], theirs + book[at + 3]
            if max(ours, theirs) >= 255:
                ours, theirs = ours * 2 // 3, theirs * 2 // 3
                for other in entries:
                    if book[other + 2:other + 4] != b"\xff\xff":
                        book[other + 2:other + 4] = (book[other + 2] * 2 // 3, book[other + 3] * 2 // 3)
            book[at + 2:at + 4] = (ours, theirs)
            break
    return bytes(book)


def book_states(book, offsets, moves, result):
    """What the book is while the game is learned from its end, for the side to move after it."""
    states = [book]
    for ply in range(len(moves) - 2, -1, -2):
        node = tuple(moves[:ply])
        states.append(book_after(states[-1], offsets[node], moves[ply], result) if node in offsets else states[-1])
    return states


# ---- The learning file ----

FIRST = 23 + 4 * 65536
EMPTY = b"Corvantis learning file" + bytes(4 * 65536)


def word(data, at):
    return struct.unpack_from("<I", data, at)[0]


def check_chains(data):
    """Every link leads to a later whole record of its bucket. Returns how many are reached."""
    check(data[:23] == EMPTY[:23] and len(data) >= FIRST and (len(data) - FIRST) % 24 == 0,
          f"learning file of {len(data)} bytes")
    reached = set()
    for bucket in range(65536):
        at = word(data, 23 + 4 * bucket)
        while at:
            check(at >= FIRST and (at - FIRST) % 24 == 0 and at + 24 <= len(data), f"a link to {at}")
            check(word(data, at + 12) & 0xFFFF == bucket and at not in reached, f"a wrong chain through {at}")
            reached.add(at)
            at = word(data, at + 20)
    return len(reached)


def learning_states(data, queue, final):
    """What the file is after each write. A queued position is (depth, evaluation, ply, key A, low
    half of key B); the other half of B, which the engine does not tell, is taken from `final`."""
    states = [data]
    for depth, evaluation, ply, a, b in queue:
        link = 23 + 4 * (a & 0xFFFF)
        at = word(data, link)
        while at and (word(data, at + 12) != a or word(data, at + 16) & 0xFFFF != b):
            link = at + 20
            at = word(data, link)
        place = at or len(data)
        high = final[place + 18:place + 20]
        if len(high) < 2:
            break
        record = struct.pack("<IiIIH", depth, evaluation, ply, a, b) + high
        if at:
            data = data[:at] + record + data[at + 20:]
        else:
            data += record + bytes(4)
            states.append(data)
            data = data[:link] + struct.pack("<I", place) + data[link + 4:]
        states.append(data)
    return states


# ---- The engine ----

class Engine:
    def __init__(self, program, folder, **options):
        self.process = subprocess.Popen([program], cwd=folder, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        bufsize=0, **options)
        atexit.register(self.process.kill)  # it does not end when its input does
        self.held = b""

    def send(self, *lines):
        self.process.stdin.write("".join(line + "\n" for line in lines).encode())

    def read_until(self, pattern):
        """The lines up to the first that matches, and the match."""
        lines, deadline = [], time.monotonic() + SECONDS
        while True:
            while b"\n" in self.held:
                line, self.held = self.held.split(b"\n", 1)
                lines.append(line.decode())
                match = re.fullmatch(pattern, lines[-1])
                if match:
                    return lines, match
            ready, _, _ = select.select([self.process.stdout], [], [], max(0, deadline - time.monotonic()))
            more = self.process.stdout.read(65536) if ready else b""
            check(more, f"no {pattern} after {lines[-5:]}")
            self.held += more

    def sync(self):
        self.send("isready")
        return self.read_until("readyok")[0]

    def kill(self):
        # Not through self.process, which takes a process that a tracer has stopped for one that
        # has ended, and would not kill it.
        os.kill(self.process.pid, signal.SIGKILL)
        status = 0
        while not os.WIFSIGNALED(status):
            status = os.waitpid(self.process.pid, 0)[1]
        self.process.returncode = -signal.SIGKILL
        self.close()

    def quit(self):
        self.send("q")
        check(self.process.wait(SECONDS) == 0, "exit code")
        self.close()

    def close(self):
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()


def random_position(rng):
    """Both camps behind pawns that nobody can move: quickly searched to the depth that is learned."""
    def camp(men):
        squares = list(men) + [None] * (16 - len(men))
        rng.shuffle(squares)
        return ["".join(c or "1" for c in squares[i:i + 8]) for i in (0, 8)]
    rows = camp("krrnn") + ["1p1p1p1p", "p1p1p1p1", "P1P1P1P1", "1P1P1P1P"] + camp("KRRNN")
    return "/".join(rows) + rng.choice([" w", " b"]) + " - - 0 1"


def search(engine, depth):
    """Lets the engine move. Returns the last score that it shows, 0 if none."""
    engine.send(f"go depth {depth}")
    lines, _ = engine.read_until("bestmove .*")
    scores = re.findall(r" score cp (-?\d+)", "\n".join(lines))
    return int(scores[-1]) if scores else 0


LEARNED_DEPTH = 8


def queue_position(engine, fen):
    engine.send("position fen " + fen, "bkm")
    _, match = engine.read_until(r"Current nhash1 = (-?\d+), nhash2 = (-?\d+)")
    low, middle = (int(number) & 0xFFFFFFFF for number in match.groups())
    score = search(engine, LEARNED_DEPTH + 1)
    return 4 * LEARNED_DEPTH, score, 0, low ^ (BLACK_TO_MOVE if " b" in fen else 0), middle >> 16


def along_a_line(engine, rng):
    """Sets up a game that the book knows. Returns its moves."""
    line = rng.choice(LINES)
    moves = line[:rng.randrange(4, len(line) + 1)]
    engine.send("position startpos moves " + " ".join(moves))
    return moves


class Folder:
    """The engine's current directory: the files, and what they are known to hold."""

    def __init__(self, path, rng):
        self.path = path
        self.learned = EMPTY
        self.renew_book(rng)

    def renew_book(self, rng):
        self.book, self.offsets = make_book(rng)
        self.write("Book.cvt", self.book)

    def name(self, file):
        return os.path.join(self.path, file)

    def write(self, file, data):
        with open(self.name(file), "wb") as f:
            f.write(data)

    def read(self, file):
        with open(self.name(file), "rb") as f:
            return f.read()

    def configure(self, bound):
        self.write("Corvantis.ini", (
            "TranspositionSize = 16\nPawnHashSize = 12\nUseEGTB = off\nPondering = off\nLearning = on\n"
            f"UseLearningData = on\nLogLearningIntoFile = on\nBookLearningBound = {bound}\n").encode())

    def start(self, program):
        engine = Engine(program, self.path)
        lines = engine.sync()
        engine.send("uci")
        engine.read_until("uciok")
        check(f"{len(self.offsets)} nodes in openings book" in lines, lines)
        check(not any(line.startswith("Error opening") for line in lines), lines)
        return engine

    def examine(self, book_states, queue):
        """Compares the files with all that they may be. True when the writing had begun and
        not come to its end."""
        book, learned = self.read("Book.cvt"), self.read("Learn.cv1")
        check(book in book_states, "the book is none of its %d states" % len(book_states))
        states = learning_states(self.learned, queue, learned)
        check(learned in states, "the learning file is none of its %d states" % len(states))
        check(learned == self.learned or book == book_states[-1], "positions before games")
        check_chains(learned)
        log = self.read("learn.log").decode()
        check(re.fullmatch(r"(\d+\t(Add|Refresh): Depth = \d+\tOldEvaluation = -?\d+\tEvaluaton = -?\d+\tFEN = .*\n)*",
                           log), "learn.log")
        begun = book != self.book or learned != self.learned
        ended = book == book_states[-1] and learned == states[-1] and len(states) > len(queue)
        self.book, self.learned = book, learned
        return begun and not ended


def spin(seconds):
    end = time.perf_counter() + seconds
    while time.perf_counter() < end:
        pass


class Tracer:
    """Holds a process at each of its entries to the kernel and exits from it."""
    ATTACH, SYSCALL = 16, 24

    def __init__(self, pid):
        self.pid = pid
        self.call = ctypes.CDLL(None, use_errno=True).ptrace
        self.call.argtypes = [ctypes.c_long, ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p]
        self.attached = self.call(self.ATTACH, pid, None, None) == 0
        if self.attached:
            os.waitpid(pid, 0)
            self.call(self.SYSCALL, pid, None, None)

    def let_run(self, most_stops):
        """Goes on until the process has stopped that often or fallen idle. Returns how often."""
        for stops in range(most_stops):
            deadline = time.monotonic() + 1
            while os.waitpid(self.pid, os.WNOHANG)[0] == 0:
                if time.monotonic() > deadline:
                    return stops
            self.call(self.SYSCALL, self.pid, None, None)
        return most_stops


def prepare_to_learn(engine, folder, rng, known, by_score):
    """Brings the engine to where one command makes it write. Returns that command, the states
    of the book that this may lead to, one list for each result, and the queue."""
    if by_score:  # the only search is the one at the end of the game, and its score decides
        engine.send("setoption name OwnBook value false")
        moves = along_a_line(engine, rng)
        return "go depth 3", [book_states(folder.book, folder.offsets, moves, r) for r in ("won", "lost")], []
    queue = [queue_position(engine, fen) for fen in known + [random_position(rng) for _ in range(4)]]
    queue += [queue_position(engine, fen) for fen in rng.choices(known, k=4)]
    moves = along_a_line(engine, rng)
    search(engine, 2)
    return "reset", [book_states(folder.book, folder.offsets, moves, "drawn")], queue


def kill_while_learning(program, folder, rng, kills):
    folder.write("learn.log", b"")
    tracing = sys.platform.startswith("linux")
    known = [random_position(rng) for _ in range(4)]
    seconds, stops, in_the_middle = {}, {}, 0
    for number in range(-8, kills):  # the first ones run to their end, to see how long it takes
        by_score = number % 4 == 0
        traced = tracing and number % 8 > 2
        folder.configure(-1 if by_score else 32767)
        engine = folder.start(program)
        if number % 4 in (0, 3):  # with counters that are about to overflow
            engine.quit()
            folder.renew_book(rng)
            engine = folder.start(program)
        command, books, queue = prepare_to_learn(engine, folder, rng, known, by_score)
        engine.sync()
        tracer = Tracer(engine.process.pid) if traced else None
        if traced and not tracer.attached:
            print("SKIPPED: kills at system calls (no process may be traced here)")
            tracing = traced = False
        started = time.perf_counter()
        engine.send(command)
        if number >= 0:
            if traced:
                tracer.let_run(rng.randrange(stops[command]))
            else:
                spin(rng.random() * seconds.get(command, 0.01))
        elif traced:
            stops[command] = tracer.let_run(100000)
        else:
            if by_score:
                engine.read_until("bestmove .*")
            engine.sync()
            seconds[command] = time.perf_counter() - started
        engine.kill()
        book = folder.read("Book.cvt")
        middle = folder.examine(next((states for states in books if book in states), books[0]), queue)
        check(number >= 0 or not middle, "not all was written")
        in_the_middle += middle
    print(f"{kills} kills, {in_the_middle} of them in the middle of the writing; "
          f"{(len(folder.learned) - FIRST) // 24} records, {check_chains(folder.learned)} of them linked")


def kill_while_creating(program, folder, rng, kills):
    folder.configure(32767)
    started = time.perf_counter()
    folder.start(program).quit()
    window = time.perf_counter() - started
    for _ in range(kills):
        os.remove(folder.name("Learn.cv1"))
        engine = Engine(program, folder.path)
        spin(rng.random() * window)
        engine.kill()
        data = folder.read("Learn.cv1") if os.path.exists(folder.name("Learn.cv1")) else b""
        check(EMPTY.startswith(data), "a new learning file")
        folder.start(program).quit()
        check(folder.read("Learn.cv1") == EMPTY, "the learning file after a kill at its creation")
    folder.write("Learn.cv1", folder.learned)


def files_that_may_not_be_written_to(program, folder):
    nobody = {"user": 65534, "group": 65534} if os.geteuid() == 0 else {}
    os.chmod(folder.path, 0o755)
    for file in "Book.cvt", "Learn.cv1":
        os.chmod(folder.name(file), 0o444)
    try:
        try:
            engine = Engine(program, folder.path, **nobody)
        except PermissionError:
            print("SKIPPED: read-only files (another user cannot run the program where it lies)")
            return
        engine.send("uci", "position startpos", "bkm")
        lines = engine.sync()
        for line in 'Error opening "Book.cvt"!', 'Error opening "Learn.cv1"!', "No book loaded...":
            check(line in lines, lines)
        search(engine, 3)
        engine.send("reset")
        engine.quit()
        check(folder.read("Book.cvt") == folder.book and folder.read("Learn.cv1") == folder.learned, "changed")
    finally:
        for file in "Book.cvt", "Learn.cv1":
            os.chmod(folder.name(file), 0o644)


def full_disk(program, rng):
    path = tempfile.mkdtemp()
    if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "tmpfs", path], capture_output=True).returncode:
        print("SKIPPED: full disk (no right to mount a small one)")
        os.rmdir(path)
        return
    try:
        folder = Folder(path, rng)
        folder.configure(32767)
        # The page at the end of the file has room for two records and a half.
        records = (4096 - 23 - 60) // 24
        heads = bytearray(EMPTY)
        body = b""
        for i in range(records):
            struct.pack_into("<I", heads, 23 + 4 * i, FIRST + 24 * i)
            body += struct.pack("<IiIIII", 32, 5, 0, i, i, 0)
        folder.learned = bytes(heads) + body
        folder.write("Learn.cv1", folder.learned)
        fens = [random_position(rng) for _ in range(5)]
        engine = folder.start(program)
        with open(folder.name("filler"), "wb", buffering=0) as filler:
            try:
                while filler.write(bytes(4096)):
                    pass
            except OSError:
                pass
        queue = [queue_position(engine, fen) for fen in fens]
        moves = along_a_line(engine, rng)
        search(engine, 2)
        engine.send("reset")
        engine.quit()
        data = folder.read("Learn.cv1")
        whole = FIRST + (len(data) - FIRST) // 24 * 24
        check(FIRST + 24 * records < whole < len(data), f"a disk full in the middle of a record: {len(data)} bytes")
        check(data[:whole] in learning_states(folder.learned, queue, data), "the learning file on a full disk")
        check(folder.read("Book.cvt") == book_states(folder.book, folder.offsets, moves, "drawn")[-1],
              "the book on a full disk")
        os.remove(folder.name("filler"))
        engine = folder.start(program)
        queue = [queue_position(engine, fen) for fen in fens]
        engine.send("reset")
        engine.quit()
        check(folder.read("Learn.cv1") == learning_states(data[:whole], queue, folder.read("Learn.cv1"))[-1],
              "the learning file when there is room again")
        check(check_chains(folder.read("Learn.cv1")) == records + 5, "records after all")
        print("full disk: no half record was left for good")
    finally:
        subprocess.run(["umount", "-l", path], check=True)
        os.rmdir(path)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("engine")
    parser.add_argument("--kills", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    program = os.path.abspath(options.engine)
    rng = random.Random(options.seed)
    path = tempfile.mkdtemp()
    try:
        folder = Folder(path, rng)
        kill_while_learning(program, folder, rng, options.kills)
        kill_while_creating(program, folder, rng, options.kills // 10 + 1)
        files_that_may_not_be_written_to(program, folder)
        full_disk(program, rng)
    except AssertionError as failure:
        print("FAILED:", failure, file=sys.stderr)
        return 1
    finally:
        shutil.rmtree(path)
    return 0


if __name__ == "__main__":
    sys.exit(main())
