// eval_kpk_test.cpp - the king-and-pawn bitbase against a plain solver and known positions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "eval/kpk.h"
#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"
#include "tests/support/plain_board.h"

namespace {

int Steps(Square a, Square b) { return std::max(std::abs(FileOf(a) - FileOf(b)), std::abs(RankOf(a) - RankOf(b))); }
bool PawnHits(Square pawn, Square s) {
    return RankOf(s) == RankOf(pawn) + 1 && std::abs(FileOf(s) - FileOf(pawn)) == 1;
}

template <typename Visit> void EachPosition(Visit visit) {
    for (Square pawn = 8; pawn < 56; ++pawn)
        for (Square w = 0; w < 64; ++w)
            for (Square b = 0; b < 64; ++b)
                for (const Colour side : {WHITE, BLACK}) visit(w, b, pawn, side);
}

// Square-by-square backward solution, White's pawn. Slow and obvious.
class PlainSolver {
public:
    PlainSolver() : won_(2 * 64 * 64 * 64, 0) {
        for (bool changed = true; changed;) {
            changed = false;
            EachPosition([&](Square w, Square b, Square pawn, Colour side) {
                if (Won(w, b, pawn, side) || !Legal(w, b, pawn, side)) return;
                if (side == WHITE ? WhiteWins(w, b, pawn) : BlackLoses(w, b, pawn))
                    won_[Index(w, b, pawn, side)] = changed = true;
            });
        }
    }
    bool Won(Square w, Square b, Square pawn, Colour side) const { return won_[Index(w, b, pawn, side)] != 0; }

private:
    static size_t Index(Square w, Square b, Square pawn, Colour side) {
        return ((size_t(w) * 64 + size_t(b)) * 64 + size_t(pawn)) * 2 + size_t(side);
    }
    static bool Legal(Square w, Square b, Square pawn, Colour side) {
        return w != b && w != pawn && b != pawn && Steps(w, b) > 1 && (side == BLACK || !PawnHits(pawn, b));
    }
    // Just promoted, Black to move: lost unless Black takes the piece or is stalemated.
    static bool PromotionWins(char piece, Square s, Square w, Square b) {
        PlainBoard board;
        board.at[w] = 'K';
        const Bitboard hit = PlainAttacks(board, piece, s);
        bool can_move = false;
        for (Square to = 0; to < 64; ++to) {
            if (Steps(b, to) != 1 || Steps(w, to) <= 1) continue;
            if (to == s) return false;
            can_move |= !(hit & Bit(to));
        }
        return can_move || (hit & Bit(b));
    }
    bool WhiteWins(Square w, Square b, Square pawn) const {
        for (Square to = 0; to < 64; ++to)
            if (Steps(w, to) == 1 && to != pawn && Steps(to, b) > 1 && Won(to, b, pawn, BLACK)) return true;
        const Square next = pawn + 8;
        if (next == w || next == b) return false;
        if (next >= 56) return PromotionWins('Q', next, w, b) || PromotionWins('R', next, w, b);
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

}  // namespace

TEST(Kpk, EqualsThePlainSolver) {
    const PlainSolver solver;
    int wins = 0;
    EachPosition([&](Square w, Square b, Square pawn, Colour side) {
        const bool won = solver.Won(w, b, pawn, side);
        ASSERT_EQ(KpkWon(WHITE, w, b, pawn, side), won) << w << " " << b << " " << pawn << " " << side;
        // The black pawn's positions, colours and ranks swapped.
        ASSERT_EQ(KpkWon(BLACK, w ^ 56, b ^ 56, pawn ^ 56, ChangeSide(side)), won)
            << w << " " << b << " " << pawn << " " << side;
        wins += won;
    });
    EXPECT_GT(wins, 100000);
}

// A won pawn ending must become better as the pawn goes forward, or it never does.
TEST(Kpk, ScoreGrowsTowardsPromotion) {
    int last = 0;
    for (const char* fen : {"4K3/8/8/8/8/8/7P/k7 w - -", "4K3/8/8/8/8/7P/8/k7 w - -", "4K3/8/8/8/7P/8/8/k7 w - -",
                            "4K3/8/8/7P/8/8/8/k7 w - -", "4K3/8/7P/8/8/8/8/k7 w - -", "4K3/7P/8/8/8/8/8/k7 w - -"}) {
        const int score = FreshScore(fen);
        EXPECT_GT(score, last) << fen;
        last = score;
    }
    ResetEngine();
}
