// board_exchange_test.cpp - static exchanges, against playing the captures out on a plain board.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>

#include "board/exchange.h"
#include "tests/support/board_helpers.h"
#include "tests/support/positions.h"

namespace {

// A board of letters, upper case White, '.' empty: the slow truth shares nothing with the
// engine's tables.
struct LetterBoard {
    char at[64];
};

LetterBoard ReadBoard() {
    LetterBoard board;
    for (Square s = A1; s <= H8; ++s) {
        const char letter = ".KNP?RBQ"[thread_board.board[s]];
        board.at[s] = thread_board.colour[BLACK] & Bit(s) ? char(std::tolower(letter)) : letter;
    }
    return board;
}

bool IsWhite(char man) { return man >= 'A' && man <= 'Z'; }

int ValueOf(char man) {
    switch (std::toupper(man)) {
        case 'P': return 100;
        case 'N':
        case 'B': return 300;
        case 'R': return 500;
        case 'Q': return 900;
        case 'K': return 10000;
        default: return 0;
    }
}

bool Reaches(const LetterBoard& board, Square from, Square to) {
    const int files = FileOf(to) - FileOf(from), ranks = RankOf(to) - RankOf(from);
    const int far = std::max(std::abs(files), std::abs(ranks));
    const bool straight = files == 0 || ranks == 0, diagonal = std::abs(files) == std::abs(ranks);
    switch (std::toupper(board.at[from])) {
        case 'P': return std::abs(files) == 1 && ranks == (IsWhite(board.at[from]) ? 1 : -1);
        case 'N': return std::abs(files * ranks) == 2;
        case 'K': return far == 1;
        case 'R':
            if (!straight) return false;
            break;
        case 'B':
            if (!diagonal) return false;
            break;
        case 'Q':
            if (!straight && !diagonal) return false;
            break;
        default: return false;
    }
    const int step = (files > 0) - (files < 0) + 8 * ((ranks > 0) - (ranks < 0));
    for (Square s = from + step; s != to; s += step)
        if (board.at[s] != '.') return false;
    return true;
}

std::vector<Square> Attackers(const LetterBoard& board, Square target, bool white) {
    std::vector<Square> found;
    for (Square s = A1; s <= H8; ++s)
        if (s != target && board.at[s] != '.' && IsWhite(board.at[s]) == white && Reaches(board, s, target))
            found.push_back(s);
    return found;
}

// What the side can win on the target by capturing with a cheapest man or by stopping. Which
// one of several equally cheap men goes first is open and may matter, since each uncovers
// another line: all outcomes are returned.
std::set<int> Outcomes(const LetterBoard& board, Square target, bool white) {
    std::vector<Square> attackers = Attackers(board, target, white);
    if (attackers.empty()) return {0};
    int cheapest = 20000;
    for (const Square s : attackers) cheapest = std::min(cheapest, ValueOf(board.at[s]));
    if (cheapest == 10000 && !Attackers(board, target, !white).empty()) return {0};
    std::set<int> outcomes;
    for (const Square s : attackers) {
        if (ValueOf(board.at[s]) != cheapest) continue;
        LetterBoard next = board;
        next.at[target] = board.at[s];
        next.at[s] = '.';
        for (const int reply : Outcomes(next, target, !white))
            outcomes.insert(std::max(0, ValueOf(board.at[target]) - reply));
    }
    return outcomes;
}

std::set<int> OutcomesOf(Move m) {
    LetterBoard board = ReadBoard();
    const bool white = SideToMove() == WHITE;
    const Square from = MoveFrom(m), to = MoveTo(m);
    int won = ValueOf(board.at[to]);
    board.at[to] = board.at[from];
    board.at[from] = '.';
    if (IsEnPassant(m)) {
        board.at[SquareAt(FileOf(to), RankOf(from))] = '.';
        won = 100;
    }
    if (MovePromotion(m)) {
        const char letter = ".KNP?RBQ"[MovePromotion(m)];
        board.at[to] = white ? letter : char(std::tolower(letter));
        won += ValueOf(letter) - 100;
    }
    std::set<int> outcomes;
    for (const int reply : Outcomes(board, to, !white)) outcomes.insert(won - reply);
    return outcomes;
}

}  // namespace

TEST(Exchange, RandomGamesAgainstPlayingItOut) {
    TestRandom random{20240617};
    int compared = 0, losing = 0;
    for (const TestPosition& t : test_positions) {
        SCOPED_TRACE(t.why);
        for (int game = 0; game < 6; ++game) {
            SetFen(t.fen);
            RandomGame(random, 60, [&](const MoveList& legal) {
                if (::testing::Test::HasFailure()) return;
                for (const Move m : legal) {
                    if (IsCastling(m)) continue;
                    const std::set<int> truth = OutcomesOf(m);
                    const int gain = ExchangeGain(m);
                    EXPECT_TRUE(truth.count(gain))
                        << WriteFen() << " " << MoveText(m) << " gives " << gain << " instead of " << *truth.begin();
                    EXPECT_EQ(PassesExchange(m), gain >= 0) << WriteFen() << " " << MoveText(m);
                    ++compared;
                    losing += gain < 0;
                }
            });
        }
    }
    EXPECT_GT(compared, 50000);
    EXPECT_GT(losing, 1000);
}

TEST(Exchange, KnownCases) {
    struct {
        const char* why;
        const char* fen;
        const char* move;
        int gain;
    } const cases[] = {
        {"free pawn", "4k3/8/8/3p4/8/8/8/3RK3 w - -", "d1d5", 100},
        {"guarded pawn", "4k3/8/4p3/3p4/8/8/8/3RK3 w - -", "d1d5", -400},
        {"rook behind rook joins in", "3rk3/3r4/8/3p4/8/8/3R4/3RK3 w - -", "d2d5", -400},
        {"hidden queen behind the bishop", "4k3/8/4p3/3p4/8/1B6/Q7/4K3 w - -", "b3d5", -100},
        {"the king may take only when nobody guards", "8/8/3k4/3p4/8/8/8/3RK3 w - -", "d1d5", -400},
        {"the king may not take a guarded man", "8/8/3k4/3p4/8/8/3R4/3RK3 w - -", "d2d5", 100},
        {"en passant opens a file", "3rk3/8/8/2Pp4/8/8/8/3RK3 w - d6", "c5d6", 100},
        {"promotion that is taken", "3r3k/4P3/8/8/8/8/8/4K3 w - -", "e7e8q", -100},
        {"promotion by capture", "3r3k/4P3/8/8/8/8/8/4K3 w - -", "e7d8q", 500 + 800},
        {"quiet move to a guarded square", "4k3/8/4p3/8/8/8/8/3RK3 w - -", "d1d5", -500},
        {"quiet move to a safe square", "4k3/8/4p3/8/8/8/8/3RK3 w - -", "d1d4", 0},
        {"equal trade", "4k3/2p5/3n4/8/8/8/7B/4K3 w - -", "h2d6", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        const Move m = ParseCoordinate(c.move);
        ASSERT_NE(m, 0u);
        EXPECT_EQ(ExchangeGain(m), c.gain);
        EXPECT_EQ(PassesExchange(m), c.gain >= 0);
    }
}

TEST(Exchange, Threats) {
    struct {
        const char* why;
        const char* fen;
        int margin;
        bool threatened;
    } const cases[] = {
        {"nothing attacked", "4k3/8/8/8/8/8/8/R3K3 w - -", 0, false},
        {"undefended rook attacked by a rook", "4k3/8/8/8/r6R/8/8/4K3 w - -", 0, true},
        {"defended rook attacked by a rook", "4k3/8/8/8/r6R/6P1/8/4K3 w - -", 0, false},
        {"defended rook attacked by a bishop", "4k1b1/8/8/3R4/2P5/8/8/4K3 w - -", 0, true},
        {"defended knight attacked by a pawn", "4k3/8/4p3/3N4/2P5/8/8/4K3 w - -", 0, true},
        {"more than the margin", "4k3/8/8/8/r6R/8/8/4K3 w - -", 499, true},
        {"not more than the margin", "4k3/8/8/8/r6R/8/8/4K3 w - -", 500, false},
        {"undefended pawn attacked", "4k3/8/8/8/r6P/8/8/4K3 w - -", 0, true},
        {"pawn about to promote", "4k3/8/8/8/8/8/p7/4K3 w - -", 0, true},
        {"pawn about to promote, blocked", "4k3/8/8/8/8/1K6/p7/N7 w - -", 0, false},
        {"our own attack is no threat to us", "4k3/8/8/8/R6n/8/8/4K3 w - -", 0, false},
        {"Black to move, mirrored", "4k3/8/8/R6r/8/8/8/4K3 b - -", 0, true},
    };
    for (const auto& c : cases) {
        SetFen(c.fen);
        EXPECT_EQ(OpponentThreatens(c.margin), c.threatened) << c.why;
    }
}
