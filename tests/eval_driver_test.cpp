// eval_driver_test.cpp - what surrounds the full evaluation: fifty moves, lazy exit, styles, and
// the printed breakdown.
#include <gtest/gtest.h>

#include "board/console.h"
#include "board/settings.h"
#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"

namespace {

class EvaluationDriver : public testing::Test {
protected:
    void SetUp() override { Restore(); }
    void TearDown() override { Restore(); }
    static void Restore() {
        ResetEngine();
        SetEvaluationRoot(WHITE);
        SetWindow(-32767, 32767);
    }
    static void SetWindow(int low, int high) {
        LazyWindow[0] = low;
        LazyWindow[1] = high;
    }
};

TEST_F(EvaluationDriver, FiftyMoveScaling) {
    const int score = FreshScore("4k3/pp3ppp/8/8/8/8/PPP2PPP/R3K3 w Q - 0 1");
    ASSERT_GT(score, 256);
    struct {
        int plies, factor;
    } const cases[] = {{0, 256}, {8, 256}, {9, 254}, {58, 156}, {100, 72}, {136, 0}};
    for (const auto& c : cases) {
        thread_board.fifty = c.plies;
        EXPECT_EQ(Evaluate(), score * c.factor / 256) << c.plies;
        EXPECT_EQ(EvalSpread, 6300 * c.factor / 256) << c.plies;
    }
    // Rounded towards zero for the side behind as well.
    const int behind = FreshScore("4k3/pp3ppp/8/8/8/8/PPP2PPP/R3K3 b Q - 0 1");
    ASSERT_LT(behind, 0);
    thread_board.fifty = 9;
    EXPECT_EQ(Evaluate(), -(-behind * 254 / 256));
}

constexpr const char* QueenUp = "rnb1kbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w - -";
constexpr int Full = NotEvaluated;
struct LazyCase {
    const char *why, *fen;
    Colour root;
    int low, high;
    int score;  // side to move's view; Full when not lazy
};
const LazyCase lazy_cases[] = {
    {"above the window", QueenUp, WHITE, -300, 300, 900},
    {"inside the window", QueenUp, WHITE, -300, 900, Full},
    {"the window is the root side's", QueenUp, BLACK, -950, 300, Full},
    {"and turned for the other side", QueenUp, BLACK, -800, 300, 900},
    {"behind", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNB1KBNR w - -", WHITE, -300, 300, -900},
    {"a pawn on the seventh", "rnbqkbnr/1pppppPp/8/8/8/8/PPPPPP1P/RNB1KBNR w - -", WHITE, -300, 300, -600},
    {"a pawn on the sixth", "rnbqkbnr/1ppppp1p/6P1/8/8/8/PPPPPP1P/RNB1KBNR w - -", WHITE, -300, 300, -650},
    {"which brings it inside", "rnbqkbnr/1ppppPpp/8/8/8/8/PPPPP1PP/RNB1KBNR w - -", WHITE, -650, 300, Full},
    {"the enemy's on the seventh", "rnb1kbnr/ppppppp1/8/8/8/8/PPPPPPpP/RNBQKBNR w - -", WHITE, -300, 300, 700},
    {"a lone rook is not trusted", "4k3/8/8/8/8/8/8/R3K3 w - -", WHITE, -300, 300, Full},
    {"nor a minor with two pawns", "4k3/8/8/8/8/8/PP6/4KB2 w - -", WHITE, -300, 300, Full},
    {"two minors with two pawns are", "4k3/8/8/8/8/8/PP6/2B1KB2 w - -", WHITE, -300, 300, 800},
};

TEST_F(EvaluationDriver, LazyExit) {
    for (const LazyCase& c : lazy_cases) {
        SCOPED_TRACE(c.why);
        SetWindow(-32767, 32767);
        SetEvaluationRoot(c.root);
        const int full = FreshScore(c.fen);
        SetWindow(c.low, c.high);
        EXPECT_EQ(Evaluate(), c.score == Full ? full : c.score);
        if (c.score != Full) {
            EXPECT_EQ(evaluation_passed[WHITE] | evaluation_passed[BLACK], 0u);
            EXPECT_EQ(evaluation_attacks[WHITE] | evaluation_attacks[BLACK], 0u);
        }
        SetWindow(-32767, 32767);
        EXPECT_EQ(Evaluate(), full) << "a lazy result has got into the cache";
    }
}

// A styled score depends on whose king is the engine's; a cached one must not survive a
// change of sides or styles.
TEST_F(EvaluationDriver, StylesReachCachedPositions) {
    SetFen("r1bq1rk1/pp2b3/2n2n2/2pp4/3P4/2N1PN2/PP2BPPP/R1BQ1RK1 w - - 0 9");  // a weak black king
    int scores[3];
    const struct {
        int aggressivity, cowardice;
        Colour root;
    } styles[] = {{300, 0, WHITE}, {300, 0, BLACK}, {300, 300, BLACK}};
    for (int i = 0; i < 3; ++i) {
        SetAggressivity(styles[i].aggressivity);
        SetCowardice(styles[i].cowardice);
        SetEvaluationRoot(styles[i].root);
        scores[i] = Evaluate();
        EXPECT_EQ(scores[i], FreshScore()) << i;
    }
    EXPECT_GT(scores[0], scores[1]) << "attacking against careless";
    EXPECT_GT(scores[2], scores[1]);
}

// No queens, no attack: the score of the mover is the same plus the move.
TEST_F(EvaluationDriver, SidesToMoveDifferByTheBonusOnly) {
    const int white = FreshScore("4k3/pp3ppp/2n5/8/8/2N5/PP3PPP/4K3 w - - 0 1");
    EXPECT_EQ(white, FreshScore("4k3/pp3ppp/2n5/8/8/2N5/PP3PPP/4K3 b - - 0 1"));
    EXPECT_GE(white, 5);
    EXPECT_LE(white, 9);
}

// Where White and Black stand in the breakdown.
TEST_F(EvaluationDriver, Breakdown) {
    SetFen("r3k3/4p1pp/8/5b2/5B2/8/P5PP/R3K3 b - - 0 1");
    Flush();
    testing::internal::CaptureStdout();
    PrintEvaluation();
    Flush();
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(text.find("Heuristic = " + std::to_string(FreshScore()) + "\n"), 0u) << text;
    for (const char* line :
         {"PassedVector[BLACK] = ....1... PassedVector[WHITE] = 1.......\n",
          "Material[WHITE] = 1100 thread_board.Material[BLACK] = 1100 EvaluateMaterial() = 0\n",
          "ENDING(WHITE) = 1 ENDING(BLACK) = 1\n",
          "thread_eval_info.shelter_penalty[BLACK] = 0 thread_eval_info.shelter_penalty[WHITE] = 0\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
}

}  // namespace
