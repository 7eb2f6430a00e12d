// eval_driver_test.cpp - what surrounds the full evaluation: fifty moves, lazy exit, styles,
// rules that override the terms, and the printed breakdown.
#include <gtest/gtest.h>

#include "board/console.h"
#include "board/settings.h"
#include "eval/eval_info.h"
#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"

namespace {

class EvaluationDriver : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        SetEvaluationRoot(WHITE);
        OpenWindow();
    }
    void TearDown() override {
        OpenWindow();
        SetEvaluationRoot(WHITE);
        ResetEngine();
        SetEvaluationRoot(WHITE);
    }
    static void OpenWindow() {
        LazyWindow[0] = -32767;
        LazyWindow[1] = 32767;
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
    FreshScore("4k3/pp3ppp/8/8/8/8/PPP2PPP/R3K3 b Q - 0 1");
    const int behind = Evaluate();
    ASSERT_LT(behind, 0);
    thread_board.fifty = 9;
    EXPECT_EQ(Evaluate(), -(-behind * 254 / 256));
}

struct LazyCase {
    const char* why;
    const char* fen;
    Colour root;
    int low, high;
    bool lazy;
    int score;  // when lazy, side to move's view
};
const LazyCase lazy_cases[] = {
    {"a queen up, above the window", "rnb1kbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", WHITE, -300, 300, true,
     900},
    {"inside the window", "rnb1kbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", WHITE, -300, 900, false, 0},
    {"the window is the root side's", "rnb1kbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", BLACK, -950, 300,
     false, 0},
    {"and turned for the other side", "rnb1kbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", BLACK, -800, 300,
     true, 900},
    {"behind", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNB1KBNR w KQkq - 0 1", WHITE, -300, 300, true, -900},
    {"behind with a pawn on the seventh", "rnbqkbnr/1pppppPp/8/8/8/8/PPPPPP1P/RNB1KBNR w KQkq - 0 1", WHITE, -300, 300,
     true, -600},
    {"behind with a pawn on the sixth", "rnbqkbnr/1ppppp1p/6P1/8/8/8/PPPPPP1P/RNB1KBNR w KQkq - 0 1", WHITE, -300, 300,
     true, -650},
    {"the pawn on the seventh brings it back inside", "rnbqkbnr/1ppppPpp/8/8/8/8/PPPPP1PP/RNB1KBNR w KQkq - 0 1", WHITE,
     -650, 300, false, 0},
    {"ahead, the enemy's pawn on its seventh", "rnb1kbnr/ppppppp1/8/8/8/8/PPPPPPpP/RNBQKBNR w KQkq - 0 1", WHITE, -300,
     300, true, 700},
    {"a lone rook ahead of nothing is not judged by material", "4k3/8/8/8/8/8/8/R3K3 w Q - 0 1", WHITE, -300, 300,
     false, 0},
    {"nor a minor with two pawns", "4k3/8/8/8/8/8/PP6/4KB2 w - - 0 1", WHITE, -300, 300, false, 0},
    {"two minors with two pawns are", "4k3/8/8/8/8/8/PP6/2B1KB2 w - - 0 1", WHITE, -300, 300, true, 800},
};

TEST_F(EvaluationDriver, LazyExit) {
    for (const LazyCase& c : lazy_cases) {
        SCOPED_TRACE(c.why);
        OpenWindow();
        SetEvaluationRoot(c.root);
        const int full = FreshScore(c.fen);
        LazyWindow[0] = c.low;
        LazyWindow[1] = c.high;
        EXPECT_EQ(Evaluate(), c.lazy ? c.score : full);
        if (c.lazy) {
            EXPECT_EQ(evaluation_passed[WHITE] | evaluation_passed[BLACK], 0u);
            EXPECT_EQ(evaluation_attacks[WHITE] | evaluation_attacks[BLACK], 0u);
        }
        // A lazy result must not have got into the cache.
        OpenWindow();
        EXPECT_EQ(Evaluate(), full);
    }
}

// A styled score depends on whose king is the engine's; a cached one must not survive a
// change of sides or styles.
TEST_F(EvaluationDriver, StylesReachCachedPositions) {
    const char* const weak_king = "r1bq1rk1/pp2b3/2n2n2/2pp4/3P4/2N1PN2/PP2BPPP/R1BQ1RK1 w - - 0 9";
    SetAggressivity(300);
    SetCowardice(0);
    SetEvaluationRoot(WHITE);
    SetFen(weak_king);
    const int attacking = Evaluate();
    EXPECT_EQ(attacking, FreshScore());
    SetEvaluationRoot(BLACK);
    const int careless = Evaluate();
    EXPECT_EQ(careless, FreshScore());
    EXPECT_GT(attacking, careless);
    SetCowardice(300);
    SetEvaluationRoot(BLACK);
    EXPECT_EQ(Evaluate(), FreshScore());
    EXPECT_GT(Evaluate(), careless);
}

TEST_F(EvaluationDriver, SidesToMoveDifferByTheBonusOnly) {
    // No queens, no attack: the score of the mover is the same plus the move.
    const char* const quiet = "4k3/pp3ppp/2n5/8/8/2N5/PP3PPP/4K3 %c - - 0 1";
    char fen[100];
    std::snprintf(fen, sizeof fen, quiet, 'w');
    const int white = FreshScore(fen);
    std::snprintf(fen, sizeof fen, quiet, 'b');
    EXPECT_EQ(white, FreshScore(fen));
    EXPECT_GE(white, 5);
    EXPECT_LE(white, 9);
}

TEST_F(EvaluationDriver, DrawsByRule) {
    struct {
        const char* why;
        const char* fen;
    } const cases[] = {
        {"bare kings", "4k3/8/8/8/8/8/8/4K3 w - - 0 1"},
        {"knight against bishop", "4kb2/8/8/8/8/8/8/4K1N1 w - - 0 1"},
        {"two knights against a king", "4k3/8/8/8/8/8/8/1N2K1N1 w - - 0 1"},
        {"bishops of one colour against a king", "4k3/8/8/8/8/8/8/B1B1K3 w - - 0 1"},
        {"wrong bishop for the rook pawn", "k7/8/8/P7/8/8/3B4/4K3 w - - 0 1"},
        {"and Black's", "8/8/4kb2/8/7p/8/6K1/8 w - - 0 1"},
        {"pawn each, nobody ahead", "8/3p4/3k4/8/8/3K4/3P4/8 w - - 0 1"},
    };
    for (const auto& c : cases) EXPECT_EQ(FreshScore(c.fen), 0) << c.why;
    // The right bishop wins.
    EXPECT_GT(FreshScore("k7/8/8/P7/8/8/3B4/4K2B w - - 0 1"), 300);
    EXPECT_GT(FreshScore("k7/8/8/P7/8/8/4B3/4K3 w - - 0 1"), 300);
}

TEST_F(EvaluationDriver, ASideThatCannotWinIsNeverAhead) {
    const char* const fens[] = {
        "8/8/8/8/8/5k2/6p1/4K1N1 w - - 0 1",
        "8/8/8/8/8/5k2/p7/N3K3 w - - 0 1",
        "8/p7/k7/8/8/8/8/K1B5 w - - 0 1",
        "8/p7/k7/8/8/8/8/K1NN4 w - - 0 1",
    };
    for (const char* fen : fens) EXPECT_LE(WhiteScore(fen), 8) << fen;
}

// '#' in the shape stands for a number.
bool MatchesShape(const char* shape, const char* text) {
    for (; *shape; ++shape) {
        if (*shape != '#') {
            if (*text++ != *shape) return false;
            continue;
        }
        if (*text == '-') ++text;
        if (!std::isdigit(static_cast<unsigned char>(*text))) return false;
        while (std::isdigit(static_cast<unsigned char>(*text))) ++text;
    }
    return *text == 0;
}

// Only the shape: the numbers change with the weights.
TEST_F(EvaluationDriver, BreakdownLines) {
    const char* const lines[] = {
        "Heuristic = #",
        "PassedVector[BLACK] = ....1... PassedVector[WHITE] = 1.......",
        "current_phase = #, black_phase = #, white_phase = #",
        "Material[WHITE] = 1100 thread_board.Material[BLACK] = 1100 EvaluateMaterial() = 0",
        "ENDING(WHITE) = 1 ENDING(BLACK) = 1",
        "black_defects_k = # black_defects_q = # white_defects_k = # white_defects_q = #",
        "thread_eval_info.shelter_penalty[BLACK] = 0 thread_eval_info.shelter_penalty[WHITE] = 0",
        "thread_eval_info.danger[BLACK] = 0 thread_eval_info.danger[WHITE] = 0",
        "Attacks[ChangeSide(thread_board.SideToMove)] = #",
        "Attacks[thread_board.SideToMove] = #",
        "Shelter[BLACK] = # Shelter[WHITE] = #",
        "Dng = #",
    };
    SetFen("r3k3/4p1pp/8/5b2/5B2/8/P5PP/R3K3 b - - 0 1");
    Flush();
    testing::internal::CaptureStdout();
    PrintEvaluation();
    Flush();
    const std::vector<std::string> got = Split(testing::internal::GetCapturedStdout(), '\n');
    ASSERT_EQ(got.size(), std::size(lines) + 1);
    for (size_t i = 0; i < std::size(lines); ++i)
        EXPECT_TRUE(MatchesShape(lines[i], got[i].c_str())) << lines[i] << "\n" << got[i];
    EXPECT_EQ(got[0], "Heuristic = " + std::to_string(FreshScore()));
}

}  // namespace
