// eval_endings_test.cpp - endings with few men against the verdicts of endgame theory.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"

namespace {

// White is the side that wins or would like to.
enum class Verdict { Won, Drawish, Dead };

struct EndingCase {
    const char* why;
    const char* fen;
    Verdict verdict;
};

const EndingCase cases[] = {
    // Against a bare king.
    {"queen", "8/8/4k3/8/8/8/8/KQ6 w - - 0 1", Verdict::Won},
    {"rook, Black to move", "8/8/4k3/8/8/8/8/KR6 b - - 0 1", Verdict::Won},
    {"two bishops", "8/8/4k3/8/8/8/8/KBB5 w - - 0 1", Verdict::Won},
    {"two bishops of one colour", "8/8/4k3/8/8/B7/8/K1B5 w - - 0 1", Verdict::Dead},
    {"bishop and knight", "8/8/4k3/8/8/8/8/KBN5 w - - 0 1", Verdict::Won},
    {"two knights", "8/8/4k3/8/8/8/8/KNN5 w - - 0 1", Verdict::Dead},
    {"three knights", "8/8/4k3/8/8/8/8/KNNN4 w - - 0 1", Verdict::Won},
    {"one bishop", "8/8/4k3/8/8/8/8/KB6 w - - 0 1", Verdict::Dead},
    {"queen and pawn", "8/8/4k3/8/8/8/P7/KQ6 w - - 0 1", Verdict::Won},
    {"knight and pawn", "8/8/4k3/8/2P5/2K5/8/5N2 w - - 0 1", Verdict::Won},

    // Pieces against pieces.
    {"queen against rook", "8/8/3k4/3r4/8/8/8/KQ6 w - - 0 1", Verdict::Won},
    {"queen against bishop", "8/8/3k4/3b4/8/8/8/KQ6 w - - 0 1", Verdict::Won},
    {"queen against knight", "8/8/3k4/3n4/8/8/8/KQ6 w - - 0 1", Verdict::Won},
    {"queen against two knights", "8/8/2nk4/3n4/8/8/8/KQ6 w - - 0 1", Verdict::Drawish},
    {"rook against bishop", "8/8/3k4/3b4/8/8/8/KR6 w - - 0 1", Verdict::Drawish},
    {"rook against knight", "8/8/3k4/3n4/8/8/8/KR6 w - - 0 1", Verdict::Drawish},
    {"rook and bishop against rook", "8/8/3k4/3r4/8/8/8/KRB5 w - - 0 1", Verdict::Drawish},
    {"rook and knight against rook", "8/8/3k4/3r4/8/8/8/KRN5 w - - 0 1", Verdict::Drawish},
    {"queen and knight against queen", "8/8/3k4/3q4/8/8/8/KQN5 w - - 0 1", Verdict::Drawish},
    {"two bishops against a knight win in the end", "8/8/3k4/3n4/8/8/8/KBB5 w - - 0 1", Verdict::Won},
    {"two rooks against a rook", "8/8/3k4/3r4/8/8/8/KRR5 w - - 0 1", Verdict::Won},

    // Queen against a pawn.
    {"the rook's pawn: stalemate", "8/8/8/8/4K3/8/pk6/6Q1 w - - 0 1", Verdict::Won},
    {"the rook's pawn, king far", "5Q2/8/6K1/8/8/8/pk6/8 w - - 0 1", Verdict::Drawish},
    {"the bishop's pawn, king far", "5Q2/8/6K1/8/8/8/1kp5/8 w - - 0 1", Verdict::Drawish},
    {"the knight's pawn, king far", "5Q2/8/6K1/8/8/8/kp6/8 w - - 0 1", Verdict::Won},
    {"the middle pawn, king far", "5Q2/7K/8/8/8/8/2kp4/8 w - - 0 1", Verdict::Won},
    {"the bishop's pawn one step back", "5Q2/8/6K1/8/8/1kp5/8/8 w - - 0 1", Verdict::Won},

    // Rook against a pawn.
    {"the king before the pawn", "8/8/8/R7/8/2kp4/8/3K4 w - - 0 1", Verdict::Won},
    {"the king far, the pawn with its king far down", "8/8/8/2K5/8/8/1kp5/7R w - - 0 1", Verdict::Drawish},
    {"the king comes in time", "8/8/8/8/2K5/5kp1/8/6R1 w - - 0 1", Verdict::Drawish},
    {"a pawn left alone", "7k/8/8/8/p7/8/8/K6R w - - 0 1", Verdict::Won},
    {"the pawn at home", "8/p7/k7/8/8/8/4K3/7R w - - 0 1", Verdict::Won},

    // Rook and pawn against rook.
    {"the rook on the third rank", "4k3/8/r7/4PK2/8/8/8/7R w - - 0 1", Verdict::Drawish},
    {"checks from behind against the sixth", "4k3/8/4P3/5K2/8/8/8/r6R w - - 0 1", Verdict::Drawish},
    {"the bridge", "3K4/3P1k2/8/8/8/8/2r5/4R3 w - - 0 1", Verdict::Won},
    {"last rank against the knight's pawn", "1k5r/R7/1PK5/8/8/8/8/8 b - - 0 1", Verdict::Drawish},
    {"shut in before the rook's pawn", "K7/P1k5/8/8/8/8/7R/1r6 w - - 0 1", Verdict::Drawish},
    {"rook's pawn defended from the side", "R7/6k1/P4r2/8/8/8/8/1K6 w - - 0 1", Verdict::Drawish},
    {"cut off by three files", "7k/8/8/3PK3/8/8/r7/6R1 w - - 0 1", Verdict::Won},

    // The corner and the rook's pawn.
    {"wrong bishop", "k7/8/1K6/P7/8/8/3B4/8 w - - 0 1", Verdict::Dead},
    {"wrong bishop, Black to move", "8/1k6/8/PK6/8/8/3B4/8 b - - 0 1", Verdict::Dead},
    {"wrong bishop and two pawns on the file", "k7/8/PK6/P7/8/8/3B4/8 w - - 0 1", Verdict::Dead},
    {"right bishop", "k7/8/1K6/P7/8/8/4B3/8 w - - 0 1", Verdict::Won},
    {"wrong bishop, the corner out of reach", "8/8/1K6/P7/8/8/3B3k/8 w - - 0 1", Verdict::Won},
    {"rook pawns on one file", "k7/8/1K6/P7/P7/8/8/8 w - - 0 1", Verdict::Dead},
    {"wrong bishop against a far pawn", "k7/8/1K6/P7/5p2/8/3B4/8 w - - 0 1", Verdict::Drawish},
    {"wrong bishop against a knight", "k7/8/1K6/P7/5n2/8/3B4/8 w - - 0 1", Verdict::Drawish},
    {"knight and rook's pawn on the seventh", "8/Pk6/8/1N6/8/4K3/8/8 w - - 0 1", Verdict::Dead},
    {"knight and rook's pawn on the sixth", "1k6/8/P7/1NK5/8/8/8/8 w - - 0 1", Verdict::Won},

    // Minor pieces with and against pawns.
    {"a bishop cannot win against pawns", "8/5p2/4k3/8/8/3BK3/8/8 w - - 0 1", Verdict::Drawish},
    {"a knight cannot win against pawns", "8/5p2/4k3/8/8/3NK3/8/8 w - - 0 1", Verdict::Drawish},
    {"two knights cannot win against a far pawn", "8/5p2/4k3/8/8/2NNK3/8/8 w - - 0 1", Verdict::Drawish},
    {"opposite bishops, one pawn", "8/3k4/8/3PK3/8/8/1b6/5B2 w - - 0 1", Verdict::Drawish},
    {"opposite bishops, two pawns on one file", "3k4/8/8/3PK3/3P4/8/1b6/5B2 w - - 0 1", Verdict::Drawish},
    {"opposite bishops, pawns side by side on the fifth", "8/3k4/1b6/3PP3/4K3/8/8/5B2 w - - 0 1", Verdict::Drawish},
    {"opposite bishops, pawns far apart", "8/5k2/P7/6P1/4K3/8/1b6/5B2 w - - 0 1", Verdict::Won},
    {"bishops of one colour, the king blocks on the other", "3k4/8/3P4/4K3/8/8/8/1b3B2 w - - 0 1", Verdict::Drawish},
    {"bishop and pawn against a knight, king before the pawn", "8/3k4/3P4/4K3/8/1n6/8/4B3 w - - 0 1", Verdict::Drawish},
    {"knight and pawn against a bishop on the path", "8/2k5/8/3P4/3K4/6b1/8/4N3 w - - 0 1", Verdict::Drawish},
    {"rook on the third rank holds the queen out", "3k4/2p5/3r4/8/3K4/8/8/Q7 w - - 0 1", Verdict::Drawish},

    // Pawns alone.
    {"two pawns against none", "8/3k4/8/8/8/1PP5/1K6/8 w - - 0 1", Verdict::Won},
    {"one pawn each, nothing doing", "8/3k4/3p4/8/8/3P4/3K4/8 w - - 0 1", Verdict::Drawish},
};

constexpr int WonAtLeast = 140, DrawishAtMost = 60;

void ExpectVerdict(const EndingCase& c, const std::string& fen, int score) {
    SCOPED_TRACE(std::string(c.why) + ": " + fen);
    switch (c.verdict) {
        case Verdict::Won: EXPECT_GE(score, WonAtLeast); break;
        case Verdict::Drawish: EXPECT_LE(std::abs(score), DrawishAtMost); break;
        case Verdict::Dead: EXPECT_EQ(score, 0); break;
    }
}

class Endings : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }
    void TearDown() override { ResetEngine(); }
};

TEST_F(Endings, VerdictsOfTheory) {
    for (const EndingCase& c : cases) {
        ExpectVerdict(c, c.fen, WhiteScore(c.fen));
        ExpectVerdict(c, FilesReversed(c.fen), WhiteScore(FilesReversed(c.fen)));
        ExpectVerdict(c, ColourFlipped(c.fen), -WhiteScore(ColourFlipped(c.fen)));
    }
}

// Each step on the way to the mate scores higher, or the winner walks in circles.
TEST_F(Endings, TheWayToMateLeadsUpwards) {
    const struct {
        const char* why;
        const char* fens[4];
    } ways[] = {
        {"bishop and knight along the edge, from the wrong corner to the right one",
         {"7k/8/5K2/4N3/4B3/8/8/8 b - - 0 1", "4k3/8/4K3/4N3/4B3/8/8/8 b - - 0 1", "2k5/8/2K5/4N3/4B3/8/8/8 b - - 0 1",
          "k7/8/1K6/4N3/4B3/8/8/8 b - - 0 1"}},
        {"rook: from the middle to the edge to the corner",
         {"8/8/8/3k4/8/3K4/8/7R b - - 0 1", "8/8/3k4/8/3K4/8/8/7R b - - 0 1", "3k4/8/3K4/8/8/8/8/7R b - - 0 1",
          "k7/8/1K6/8/8/8/8/7R b - - 0 1"}},
        {"queen: the rook parted from its king",
         {"8/8/8/3kr3/8/3K4/8/7Q b - - 0 1", "8/3kr3/8/3K4/8/8/8/7Q b - - 0 1", "3kr3/8/3K4/8/8/8/8/7Q b - - 0 1",
          "3k4/8/3K4/8/8/4r3/8/7Q b - - 0 1"}},
    };
    for (const auto& way : ways)
        for (int i = 1; i < 4; ++i)
            EXPECT_GT(WhiteScore(way.fens[i]), WhiteScore(way.fens[i - 1])) << way.why << ", step " << i;
}

// Thirty moves without a capture are on schedule in these endings. A score that faded meanwhile
// would make every position met earlier look better than progress.
TEST_F(Endings, WonEndingsDoNotFadeWithTheMoves) {
    for (const char* fen : {"8/8/4k3/8/8/8/8/KBN5 w - - 0 1", "8/8/3k4/3r4/8/8/8/KQ6 b - - 0 1"}) {
        SetFen(fen);
        const int fresh = Evaluate();
        for (const int plies : {9, 40, 99}) {
            thread_board.fifty = plies;
            EXPECT_EQ(Evaluate(), fresh) << fen << " after " << plies;
        }
    }
}

}  // namespace
