// eval_symmetry_test.cpp - the evaluation against itself: mirrored boards, the other side to
// move, cached against fresh. Over random games, so that every term takes part.
#include <gtest/gtest.h>

#include "board/attacks.h"
#include "board/settings.h"
#include "eval/eval_info.h"
#include "eval/trace.h"
#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"
#include "tests/support/random_games.h"

namespace {

class EvaluationSymmetry : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        ClearEvaluationTables();
        SetEvaluationRoot(WHITE);
    }
    void TearDown() override { ResetEngine(); }
};

std::vector<std::string> FensOfGames(int plies) {
    std::vector<std::string> fens;
    AtManyPositions(1, plies, [&](const MoveList&) { fens.push_back(WriteFen()); });
    return fens;
}

std::vector<Bitboard> LeftSquares() {
    return {evaluation_passed[WHITE], evaluation_passed[BLACK], evaluation_attacks[WHITE], evaluation_attacks[BLACK]};
}

TEST_F(EvaluationSymmetry, ColoursSwappedGiveTheSameScore) {
    SetAggressivity(300);  // styles follow the root side, which is swapped too
    SetCowardice(40);
    SetEvaluationRoot(WHITE);
    std::vector<std::pair<std::string, int>> scored;
    AtManyPositions(1, 60, [&](const MoveList&) {
        if (MirrorsExactly()) scored.emplace_back(WriteFen(), FreshScore());
    });
    ASSERT_GT(scored.size(), 1000u);
    SetEvaluationRoot(BLACK);
    for (const auto& [fen, score] : scored) ASSERT_EQ(score, FreshScore(ColourFlipped(fen))) << fen;
}

TEST_F(EvaluationSymmetry, FilesReversedGiveTheSameScore) {
    for (const std::string& fen : FensOfGames(60)) {
        const std::string reversed = FilesReversed(fen);
        ASSERT_EQ(FreshScore(reversed), FreshScore(FilesReversed(reversed))) << fen;
    }
}

// One evaluation serves both sides to move through the cache; what is derived that way must
// be what a direct evaluation gives, or results would depend on what was searched before.
TEST_F(EvaluationSymmetry, CachedEqualsFresh) {
    // A small odd size makes slots collide; either side may be the first to fill one.
    ASSERT_TRUE(AllocateEvalCache(1001));
    TestRandom random{7};
    AtManyPositions(1, 60, [&](const MoveList&) {
        const int saved_fifty = thread_board.fifty;
        thread_board.fifty = 0;
        const int fresh = FreshScore();
        const std::vector<Bitboard> squares = LeftSquares();
        const int material = evaluation_material, spread = EvalSpread;
        const bool both_sides = thread_eval_info.SymmetryValid;
        if (random.Below(2)) {
            thread_board.SideToMove ^= 1;
            Evaluate();
            thread_board.SideToMove ^= 1;
        }
        for (int again = 0; again < 2; ++again) {
            ASSERT_EQ(Evaluate(), fresh);
            ASSERT_EQ(evaluation_material, material);
            ASSERT_EQ(LeftSquares(), squares);
            if (both_sides) {
                ASSERT_EQ(EvalSpread, spread);
            }
        }
        thread_board.fifty = saved_fifty;
    });
    ASSERT_TRUE(AllocateEvalCache(EvalCacheSize));
}

// A term that counts but is not noted, or noted but not counted, breaks the sum.
TEST_F(EvaluationSymmetry, TracedTermsAddUpToTheScore) {
    int settled = 0, positions = 0;
    AtManyPositions(1, 120, [&](const MoveList&) {
        int score = NotEvaluated;
        TracePosition(score);
        ASSERT_EQ(TracedScore(), score);
        ASSERT_EQ(FreshScore(), score);
        settled += evaluation_trace.exact;
        ++positions;
    });
    EXPECT_GT(positions - settled, 1000);
}

// The pawn hash and its one-record copy must not show either, at any size.
TEST_F(EvaluationSymmetry, PawnHashSizeDoesNotMatter) {
    const std::vector<std::string> fens = FensOfGames(30);
    std::vector<int> scores;
    for (const std::string& fen : fens) scores.push_back(FreshScore(fen));
    for (const uint32_t entries : {0u, 1u, 97u, 262144u}) {
        ASSERT_TRUE(AllocatePawnHash(entries));
        for (size_t i = fens.size(); i-- > 0;) ASSERT_EQ(FreshScore(fens[i]), scores[i]) << entries << " " << fens[i];
    }
    ASSERT_TRUE(AllocatePawnHash(PawnHashSize));
}

// What evaluation_attacks promises, from another table: IsAttacked() without the king.
TEST_F(EvaluationSymmetry, AttackSetsAreTrue) {
    int compared = 0;
    AtManyPositions(1, 20, [&](const MoveList&) {
        FreshScore();
        if (evaluation_attacks[WHITE] == 0 && evaluation_attacks[BLACK] == 0) return;  // settled by a rule
        ++compared;
        for (int c = 0; c < 2; ++c)
            for (Square s = 0; s < 64; ++s) {
                const bool attacked = (evaluation_attacks[c] & Bit(s)) != 0;
                const bool by_king = king_attacks[thread_board.king_square[c]] & Bit(s);
                ASSERT_TRUE(attacked == IsAttacked(s, Colour(c)) || (!attacked && by_king)) << s;
            }
    });
    EXPECT_GT(compared, 300);
}

// Nonsense set-ups may come from a console; the score stays in range and nothing breaks.
TEST_F(EvaluationSymmetry, OddSetUpsStayInRange) {
    for (const char* fen : {
             "QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ w - - 0 1",
             "pppppppp/pppppppp/pppppppp/pppppppp/8/8/8/K6k w - - 0 1",
             "kkkkkkkk/8/8/8/8/8/8/KKKKKKKK w KQkq - 0 1",
             "8/8/8/8/8/8/8/8 w - - 0 1",
             "rrrrrrrr/rrrrrrrr/8/8/8/8/bbbbbbbb/kK6 b - - 0 1",
             "4k3/PPPPPPPP/PP6/8/8/8/8/4K2B w - - 0 1",
             "8/8/8/3pNBN1/8/8/8/8 w - - 0 1",
         }) {
        for (const std::string& text : {std::string(fen), ColourFlipped(fen)}) {
            SetFen(text.c_str());
            EXPECT_LE(std::abs(FreshScore()), 30000) << text;
            for (const int window : {100, 32767}) {
                LazyWindow[0] = -window;
                LazyWindow[1] = window;
                EXPECT_LE(std::abs(Evaluate()), 30000) << text;
            }
        }
    }
}

}  // namespace
