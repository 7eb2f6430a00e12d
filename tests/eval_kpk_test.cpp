// eval_kpk_test.cpp - the king-and-pawn bitbase against a plain solver and known positions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "eval/kpk.h"
#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"

namespace {

int Steps(Square a, Square b) { return std::max(std::abs(FileOf(a) - FileOf(b)), std::abs(RankOf(a) - RankOf(b))); }
bool PawnHits(Square pawn, Square s) {
    return RankOf(s) == RankOf(pawn) + 1 && std::abs(FileOf(s) - FileOf(pawn)) == 1;
}

// Square-by-square backward solution, White's pawn. Slow and obvious.
class PlainSolver {
public:
    PlainSolver() : won_(2 * 64 * 64 * 64, 0) {
        for (bool changed = true; changed;) {
            changed = false;
            for (Square pawn = 8; pawn < 56; ++pawn)
                for (Square w = 0; w < 64; ++w)
                    for (Square b = 0; b < 64; ++b)
                        for (int side = 0; side < 2; ++side) {
                            if (Won(w, b, pawn, side) || !Legal(w, b, pawn, side)) continue;
                            if (side == WHITE ? WhiteWins(w, b, pawn) : BlackLoses(w, b, pawn)) {
                                won_[Index(w, b, pawn, side)] = 1;
                                changed = true;
                            }
                        }
        }
    }
    bool Won(Square w, Square b, Square pawn, int side) const { return won_[Index(w, b, pawn, side)] != 0; }
    static bool Legal(Square w, Square b, Square pawn, int side) {
        if (w == b || w == pawn || b == pawn || Steps(w, b) <= 1) return false;
        return side == BLACK || !PawnHits(pawn, b);
    }

private:
    static size_t Index(Square w, Square b, Square pawn, int side) {
        return ((size_t(w) * 64 + size_t(b)) * 64 + size_t(pawn)) * 2 + size_t(side);
    }
    // Does a queen or rook on s hit `target`, with only the white king in the way?
    static bool Hits(bool queen, Square s, Square target, Square w) {
        const int df = FileOf(target) - FileOf(s), dr = RankOf(target) - RankOf(s);
        const bool straight = (df == 0) != (dr == 0), slanted = df != 0 && std::abs(df) == std::abs(dr);
        if (!straight && !(queen && slanted)) return false;
        const int step = (df > 0) - (df < 0) + 8 * ((dr > 0) - (dr < 0));
        for (Square x = s + step; x != target; x += step)
            if (x == w) return false;
        return true;
    }
    // Just promoted, Black to move: lost unless Black takes the piece or is stalemated.
    static bool PromotionWins(bool queen, Square s, Square w, Square b) {
        bool can_move = false;
        for (Square to = 0; to < 64; ++to) {
            if (Steps(b, to) != 1 || Steps(w, to) <= 1) continue;
            if (to == s) return false;
            if (!Hits(queen, s, to, w)) can_move = true;
        }
        return can_move || Hits(queen, s, b, w);
    }
    bool WhiteWins(Square w, Square b, Square pawn) const {
        for (Square to = 0; to < 64; ++to)
            if (Steps(w, to) == 1 && to != pawn && Steps(to, b) > 1 && Won(to, b, pawn, BLACK)) return true;
        const Square next = pawn + 8;
        if (next == w || next == b) return false;
        if (next >= 56) return PromotionWins(true, next, w, b) || PromotionWins(false, next, w, b);
        if (Won(w, b, next, BLACK)) return true;
        return pawn < 16 && next + 8 != w && next + 8 != b && Won(w, b, next + 8, BLACK);
    }
    bool BlackLoses(Square w, Square b, Square pawn) const {
        bool can_move = false;
        for (Square to = 0; to < 64; ++to) {
            if (Steps(b, to) != 1 || Steps(w, to) <= 1 || PawnHits(pawn, to)) continue;
            if (to == pawn || !Won(w, to, pawn, WHITE)) return false;
            can_move = true;
        }
        return can_move || PawnHits(pawn, b);
    }
    std::vector<char> won_;
};

TEST(Kpk, EqualsThePlainSolver) {
    const PlainSolver solver;
    int wins = 0;
    for (Square pawn = 8; pawn < 56; ++pawn)
        for (Square w = 0; w < 64; ++w)
            for (Square b = 0; b < 64; ++b)
                for (int side = 0; side < 2; ++side) {
                    const bool won = solver.Won(w, b, pawn, side);
                    ASSERT_EQ(KpkWon(WHITE, w, b, pawn, Colour(side)), won)
                        << w << " " << b << " " << pawn << " " << side;
                    // The black pawn's positions, colours and ranks swapped.
                    ASSERT_EQ(KpkWon(BLACK, w ^ 56, b ^ 56, pawn ^ 56, Colour(side ^ 1)), won)
                        << w << " " << b << " " << pawn << " " << side;
                    wins += won;
                }
    EXPECT_GT(wins, 100000);
}

struct KnownPosition {
    const char* why;
    const char* fen;
    int result;  // White's view: 1, 0, -1
};
const KnownPosition known_positions[] = {
    {"king on the sixth before its pawn wins", "4k3/8/4K3/4P3/8/8/8/8 w - - 0 1", 1},
    {"and with Black to move", "4k3/8/4K3/4P3/8/8/8/8 b - - 0 1", 1},
    {"opposition held", "8/8/8/4k3/8/4K3/4P3/8 w - - 0 1", 0},
    {"opposition lost", "8/8/8/4k3/8/4K3/4P3/8 b - - 0 1", 1},
    {"rook pawn, king in the corner", "k7/8/K7/P7/8/8/8/8 w - - 0 1", 0},
    {"stalemate on the last rank", "4k3/4P3/4K3/8/8/8/8/8 b - - 0 1", 0},
    {"the pawn outruns the king", "8/7P/8/8/k7/8/8/K7 b - - 0 1", 1},
    {"inside the square", "8/8/8/5k1P/8/8/8/K7 b - - 0 1", 0},
    {"the pawn falls at once", "8/8/8/8/3kP3/8/8/K7 b - - 0 1", 0},
    {"Black's pawn wins", "8/8/8/8/4p3/4k3/8/4K3 b - - 0 1", -1},
};

TEST(Kpk, KnownPositions) {
    for (const KnownPosition& c : known_positions) {
        SCOPED_TRACE(c.why);
        const int score = WhiteScore(c.fen);
        if (c.result == 0) EXPECT_EQ(score, 0);
        else EXPECT_GT(score * c.result, 500);
    }
    ResetEngine();
}

// A won pawn ending must become better as the pawn goes forward, or it never does.
TEST(Kpk, ScoreGrowsTowardsPromotion) {
    int last = 0;
    for (int rank = 1; rank < 7; ++rank) {
        ResetEngine();
        ClearBoard();
        PlacePiece(SquareAt(4, 7), WHITE, KING);
        PlacePiece(A1, BLACK, KING);
        PlacePiece(SquareAt(7, rank), WHITE, PAWN);
        FinishSetup(WHITE, 0);
        const int score = FreshScore();
        EXPECT_GT(score, last) << rank;
        last = score;
    }
    ResetEngine();
}

}  // namespace
