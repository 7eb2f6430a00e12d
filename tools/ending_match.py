#!/usr/bin/env python3
"""Plays won endings out against a reference engine and counts the mates.

For each class of material it draws random positions, keeps those that are certainly won, and
lets the engine under test win them against the best defence another UCI engine finds with its
own evaluation by hand: a network is switched off where there is the option "Use NNUE". A game
fails when the mate takes longer than the limit, the position repeats three times, a piece is
lost so that the win is gone, or the defender is stalemated. One line a class: positions, mated,
longest mate in moves, average; then each failure with its position.

    tools/ending_match.py build/corvantis /usr/games/stockfish --count 200 --class KBNK

Positions depend on the seed and on what the referee takes for won. Both engines play without
tablebases and with a new hash table for each game. Only the standard library is used.
"""
import argparse
import random
import sys

from uci_engine import Engine

FILES = "abcdefgh"
KING_STEPS = [(1, 0), (-1, 0), (0, 1), (0, -1), (1, 1), (1, -1), (-1, 1), (-1, -1)]
KNIGHT_STEPS = [(1, 2), (2, 1), (-1, 2), (-2, 1), (1, -2), (2, -1), (-1, -2), (-2, -1)]
STRAIGHT, SLANTED = KING_STEPS[:4], KING_STEPS[4:]
SLIDES = {"r": STRAIGHT, "b": SLANTED, "q": KING_STEPS}

# What each side has besides its king, and how sure the referee must be that it is won:
# centipawns at its confirming search. None: almost every position is won, and a short search
# finds the exceptions, such as a piece that is lost at once.
CLASSES = {
    "KQK": ("Q", "", None),
    "KRK": ("R", "", None),
    "KBBK": ("BB", "", 400),
    "KBNK": ("BN", "", 400),
    "KPK": ("P", "", 400),
    "KQKR": ("Q", "r", 350),
}


class Board:
    """Just enough of the rules to place men, see checks and count repetitions."""

    def __init__(self, men, white_to_move):
        self.men = men  # {(file, rank): letter}
        self.white_to_move = white_to_move
        self.quiet_plies = 0

    def fen(self):
        rows = []
        for rank in range(7, -1, -1):
            row = "".join(self.men.get((file, rank), "1") for file in range(8))
            for n in range(8, 1, -1):
                row = row.replace("1" * n, str(n))
            rows.append(row)
        return "%s %s - - 0 1" % ("/".join(rows), "w" if self.white_to_move else "b")

    def key(self):
        return self.white_to_move, tuple(sorted(self.men.items()))

    def attacked(self, square, by_white):
        def stands(file, rank, kinds):
            man = self.men.get((file, rank))
            return man is not None and man.isupper() == by_white and man.lower() in kinds

        file, rank = square
        for steps, kind in ((KING_STEPS, "k"), (KNIGHT_STEPS, "n")):
            if any(stands(file + df, rank + dr, kind) for df, dr in steps):
                return True
        back = -1 if by_white else 1
        if stands(file - 1, rank + back, "p") or stands(file + 1, rank + back, "p"):
            return True
        for kind, steps in SLIDES.items():
            for df, dr in steps:
                f, r = file + df, rank + dr
                while 0 <= f < 8 and 0 <= r < 8:
                    if (f, r) in self.men:
                        if stands(f, r, kind):
                            return True
                        break
                    f, r = f + df, r + dr
        return False

    def in_check(self, white):
        king = next(s for s, man in self.men.items() if man == ("K" if white else "k"))
        return self.attacked(king, not white)

    def play(self, move):
        source = FILES.index(move[0]), int(move[1]) - 1
        target = FILES.index(move[2]), int(move[3]) - 1
        man = self.men.pop(source)
        quiet = target not in self.men and man.lower() != "p"
        self.quiet_plies = self.quiet_plies + 1 if quiet else 0
        if len(move) > 4:
            man = move[4].upper() if man.isupper() else move[4]
        self.men[target] = man
        self.white_to_move = not self.white_to_move


def random_board(draw, white_men, black_men):
    """A legal position with these men, either colour the stronger, either side to move."""
    while True:
        squares = draw.sample([(f, r) for f in range(8) for r in range(8)], 2 + len(white_men) + len(black_men))
        letters = "K" + white_men + "k" + black_men
        if draw.random() < 0.5:
            letters = letters.swapcase()
        men = dict(zip(squares, letters))
        if any(man in "pP" and rank in (0, 7) for (_, rank), man in men.items()):
            continue
        bishops = [(f + r) % 2 for (f, r), man in men.items() if man in "bB"]
        if len(bishops) == 2 and bishops[0] == bishops[1]:
            continue
        board = Board(men, draw.random() < 0.5)
        kings = [s for s, man in men.items() if man in "kK"]
        if max(abs(kings[0][0] - kings[1][0]), abs(kings[0][1] - kings[1][1])) <= 1:
            continue
        if not board.in_check(not board.white_to_move):
            return board


class Player(Engine):
    def go(self, fen, moves, limit):
        """The move chosen, and the last score seen, mates as +-100000."""
        score = 0
        lines = self.search(fen, limit, moves)
        for line in lines:
            words = line.split()
            if "score" in words:
                kind, value = words[words.index("score") + 1:words.index("score") + 3]
                score = int(value) if kind == "cp" else (100000 if int(value) > 0 else -100000)
        return lines[-1].split()[1], score


def certainly_won(referee, board, strong_is_white, margin):
    """Has the weaker side a move at all, and does the referee see a win?"""
    move, score = referee.go(board.fen(), [], "depth 18" if margin else "depth 6")
    if move in ("(none)", "0000"):
        return False
    if board.white_to_move != strong_is_white:
        score = -score
    return score > (margin or 300)


def play_out(engine, defender, board, strong_is_white, move_budget, move_limit):
    """Moves until mate, or 0 and the reason of the failure."""
    engine.new_game()
    defender.new_game()
    fen, moves, seen = board.fen(), [], {board.key(): 1}
    own_moves = 0
    while True:
        engines_turn = board.white_to_move == strong_is_white
        player = engine if engines_turn else defender
        move, _ = player.go(fen, moves, move_budget)
        if move in ("(none)", "0000"):
            if engines_turn:
                return 0, "mated itself or stalemated"
            if not board.in_check(board.white_to_move):
                return 0, "stalemate"
            return own_moves, ""
        if board.quiet_plies >= 100:
            return 0, "fifty moves"
        if engines_turn:
            own_moves += 1
            if own_moves > move_limit:
                return 0, "no mate within the limit"
        board.play(move)
        moves.append(move)
        strong = [m.lower() for m in board.men.values() if m.isupper() == strong_is_white]
        if not set(strong) & set("qrp") and len(strong) < 3:
            return 0, "the winning piece was lost at move %d" % own_moves
        seen[board.key()] = seen.get(board.key(), 0) + 1
        if seen[board.key()] == 3:
            return 0, "threefold repetition at move %d" % own_moves


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("engine")
    parser.add_argument("defender", help="a UCI engine that defends and confirms the wins")
    parser.add_argument("--count", type=int, default=60, help="positions a class (%(default)s)")
    parser.add_argument("--class", dest="classes", action="append", choices=list(CLASSES), help="default: all")
    parser.add_argument("--movetime", type=int, default=50, help="ms a move, both sides (%(default)s)")
    parser.add_argument("--nodes", type=int, help="nodes a move instead of time, for a machine with other work")
    parser.add_argument("--limit", type=int, default=50, help="moves until mate (%(default)s)")
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()

    engine = Player(arguments.engine, [("OwnBook", "false")])
    defender = Player(arguments.defender, [("Use NNUE", "false")])
    budget = "nodes %d" % arguments.nodes if arguments.nodes else "movetime %d" % arguments.movetime
    failed = False
    for name in arguments.classes or CLASSES:
        strong_men, weak_men, margin = CLASSES[name]
        draw = random.Random("%s %d" % (name, arguments.seed))
        lengths, failures = [], []
        while len(lengths) + len(failures) < arguments.count:
            board = random_board(draw, strong_men, weak_men)
            strong_is_white = any(man in strong_men for man in board.men.values() if man != "K")
            defender.new_game()
            if not certainly_won(defender, board, strong_is_white, margin):
                continue
            fen = board.fen()
            length, reason = play_out(engine, defender, board, strong_is_white, budget, arguments.limit)
            if reason:
                failures.append("%s  %s" % (fen, reason))
            else:
                lengths.append(length)
        average = sum(lengths) / len(lengths) if lengths else 0
        print("%-5s positions %d mated %d longest %d average %.1f"
              % (name, arguments.count, len(lengths), max(lengths, default=0), average))
        for failure in failures:
            print("      " + failure)
        sys.stdout.flush()
        failed = failed or bool(failures)
    engine.quit()
    defender.quit()
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
