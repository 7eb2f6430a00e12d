// eval_endings_test.cpp - endings with few men against the verdicts of endgame theory.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"

namespace {

// White is the side that wins or would like to.
// Better: won, but only just; no draw at any rate. CannotWin: White is not ahead.
enum class Verdict { Won, Better, Drawish, Dead, CannotWin };

struct EndingCase {
    const char *why, *fen;
    Verdict verdict;
};

const EndingCase cases[] = {
    // Against a bare king.
    {"two bishops", "8/8/4k3/8/8/8/8/KBB5 w - - 0 1", Verdict::Won},
    {"two bishops of one colour", "8/8/4k3/8/8/B7/8/K1B5 w - - 0 1", Verdict::Dead},
    {"bishop and knight", "8/8/4k3/8/8/8/8/KBN5 w - - 0 1", Verdict::Won},
    {"knight against bishop", "4kb2/8/8/8/8/8/8/4K1N1 w - - 0 1", Verdict::Dead},
    {"two knights", "8/8/4k3/8/8/8/8/KNN5 w - - 0 1", Verdict::Dead},
    {"three knights", "8/8/4k3/8/8/8/8/KNNN4 w - - 0 1", Verdict::Won},
    {"knight and pawn", "8/8/4k3/8/2P5/2K5/8/5N2 w - - 0 1", Verdict::Won},

    // Pieces against pieces.
    {"queen against rook", "8/8/3k4/3r4/8/8/8/KQ6 w - - 0 1", Verdict::Won},
    {"queen against two knights", "8/8/2nk4/3n4/8/8/8/KQ6 w - - 0 1", Verdict::Drawish},
    {"queen against bishop and knight", "8/8/3k4/3nb3/8/8/8/KQ6 w - - 0 1", Verdict::Won},
    {"queen against two bishops", "8/8/3k4/3bb3/8/8/8/KQ6 w - - 0 1", Verdict::Won},
    {"two rooks against rook and bishop", "8/8/3k4/3rb3/8/8/8/KRR5 w - - 0 1", Verdict::Better},
    {"rook against bishop", "8/8/3k4/3b4/8/8/8/KR6 w - - 0 1", Verdict::Drawish},
    {"the same, in the corner of the bishop's colour", "8/8/8/8/8/2R2K2/8/5b1k w - - 0 1", Verdict::Won},
    {"the same, Black to move", "8/8/8/8/8/2R2K2/8/5b1k b - - 0 1", Verdict::Won},
    {"the same, Black to move, our king a step farther", "8/8/8/8/8/1R2K3/8/5b1k b - - 0 1", Verdict::Drawish},
    {"the same, beside it, face to face", "8/8/8/8/8/R5K1/8/5bk1 w - - 0 1", Verdict::Won},
    {"the same, beside it, a file apart", "8/8/8/8/8/2R2K2/8/5bk1 w - - 0 1", Verdict::Won},
    {"the same, beside it on the file", "8/8/8/8/8/3R4/5K1k/5b2 w - - 0 1", Verdict::Won},
    {"the same, in the other corner", "8/8/8/8/8/2R2K2/8/6bk w - - 0 1", Verdict::Drawish},
    {"rook and bishop against rook", "8/8/3k4/3r4/8/8/8/KRB5 w - - 0 1", Verdict::Drawish},
    {"queen and knight against queen", "8/8/3k4/3q4/8/8/8/KQN5 w - - 0 1", Verdict::Drawish},
    {"two bishops against a knight win in the end", "8/8/3k4/3n4/8/8/8/KBB5 w - - 0 1", Verdict::Better},
    {"two rooks against a rook", "8/8/3k4/3r4/8/8/8/KRR5 w - - 0 1", Verdict::Won},

    // Queen against a pawn.
    {"the rook's pawn, king just near enough", "5Q2/8/8/8/4K3/8/pk6/8 w - - 0 1", Verdict::Won},
    {"the rook's pawn, king near enough on its own rank", "5Q2/8/8/3K4/8/8/pk6/8 w - - 0 1", Verdict::Won},
    {"the rook's pawn: stalemate, king one file too far", "5Q2/8/8/8/5K2/8/pk6/8 w - - 0 1", Verdict::Drawish},
    {"the rook's pawn, king slantwise too far", "5Q2/8/8/4K3/8/8/pk6/8 w - - 0 1", Verdict::Drawish},
    {"the rook's pawn not yet there, the queen comes before it", "5Q2/8/6K1/8/8/pk6/8/8 b - - 0 1", Verdict::Won},
    {"the bishop's pawn about to reach the seventh", "5Q2/8/6K1/8/8/1kp5/8/8 b - - 0 1", Verdict::Drawish},
    {"the bishop's pawn, king far", "5Q2/8/6K1/8/8/8/1kp5/8 w - - 0 1", Verdict::Drawish},
    {"the knight's pawn, king far", "5Q2/8/6K1/8/8/8/kp6/8 w - - 0 1", Verdict::Won},
    {"the middle pawn, king far", "5Q2/7K/8/8/8/8/2kp4/8 w - - 0 1", Verdict::Won},
    {"the bishop's pawn one step back", "5Q2/8/6K1/8/8/1kp5/8/8 w - - 0 1", Verdict::Won},

    // Rook against a pawn.
    {"the king before the pawn", "8/8/8/R7/8/2kp4/8/3K4 w - - 0 1", Verdict::Won},
    {"the king far, the pawn with its king far down", "8/8/8/2K5/8/8/1kp5/7R w - - 0 1", Verdict::Drawish},
    {"the king comes too late", "8/8/8/8/2K5/5kp1/8/6R1 w - - 0 1", Verdict::Drawish},
    {"on the seventh, its king on the other side", "8/8/8/7k/8/8/1p3K2/1R6 w - - 0 1", Verdict::Won},
    {"on the seventh, the rook comes before it", "7k/8/8/8/8/8/p4K2/6R1 w - - 0 1", Verdict::Won},
    {"on the sixth, its king far, Black to move", "7k/8/8/8/8/p7/6K1/R7 b - - 0 1", Verdict::Won},
    {"on the sixth, the rook behind it", "8/5k2/8/8/R7/p7/6K1/8 w - - 0 1", Verdict::Won},
    {"a pawn left alone", "7k/8/8/8/p7/8/8/K6R w - - 0 1", Verdict::Won},
    {"the pawn at home", "8/p7/k7/8/8/8/4K3/7R w - - 0 1", Verdict::Won},

    // Rook and pawn against rook.
    {"the rook on the third rank", "4k3/8/r7/4PK2/8/8/8/7R w - - 0 1", Verdict::Drawish},
    {"checks from behind against the sixth", "4k3/8/4P3/5K2/8/8/8/r6R w - - 0 1", Verdict::Drawish},
    {"the bridge", "3K4/3P1k2/8/8/8/8/2r5/4R3 w - - 0 1", Verdict::Won},
    {"last rank against the knight's pawn", "1k5r/R7/1PK5/8/8/8/8/8 b - - 0 1", Verdict::Drawish},
    {"shut in before the rook's pawn", "K7/P1k5/8/8/8/8/7R/1r6 w - - 0 1", Verdict::Drawish},
    {"rook's pawn defended from the side", "R7/6k1/P4r2/8/8/8/8/1K6 w - - 0 1", Verdict::Drawish},
    {"the same, the king within reach of a check", "R7/5k2/P4r2/8/8/8/8/1K6 w - - 0 1", Verdict::Better},
    {"rook before its pawn on the seventh, king on h7", "R7/P6k/8/8/8/8/8/r5K1 w - - 0 1", Verdict::Drawish},
    {"the same, a rook check behind the king wins", "R7/P4k2/8/8/8/8/8/r5K1 w - - 0 1", Verdict::Better},
    {"checks from behind, the king past them", "5k2/3K4/4P3/8/8/8/7R/6r1 w - - 0 1", Verdict::Better},
    {"last rank, the pawn on the seventh", "1k5r/1P6/1K6/8/8/8/8/R7 w - - 0 1", Verdict::Better},
    {"the king on the sixth mates", "4k2r/R7/4K3/4P3/8/8/8/8 w - - 0 1", Verdict::Better},
    {"cut off by three files", "7k/8/8/3PK3/8/8/r7/6R1 w - - 0 1", Verdict::Won},
    {"cut off by three files, the pawn on the fourth", "r7/8/5k2/8/1P6/1K6/8/4R3 w - - 0 1", Verdict::Won},
    {"the king left behind", "8/8/8/8/1k1P4/3K4/r7/4R3 w - - 0 1", Verdict::Better},

    // The corner and the rook's pawn.
    {"wrong bishop", "k7/8/1K6/P7/8/8/3B4/8 w - - 0 1", Verdict::Dead},
    {"wrong bishop and two pawns on the file", "k7/8/PK6/P7/8/8/3B4/8 w - - 0 1", Verdict::Dead},
    {"right bishop", "k7/8/1K6/P7/8/8/4B3/8 w - - 0 1", Verdict::Won},
    {"wrong bishop, the corner in reach", "8/2k5/8/P7/8/2B5/8/K7 w - - 0 1", Verdict::Drawish},
    {"wrong bishop, the corner in reach, Black to move", "3k4/8/8/P7/8/2B5/8/K7 b - - 0 1", Verdict::Drawish},
    {"wrong bishop, the corner out of reach", "8/8/1K6/P7/8/8/3B3k/8 w - - 0 1", Verdict::Won},
    {"rook pawns on one file", "k7/8/1K6/P7/P7/8/8/8 w - - 0 1", Verdict::Dead},
    {"wrong bishop against a far pawn", "k7/8/1K6/P7/5p2/8/3B4/8 w - - 0 1", Verdict::Drawish},
    {"wrong bishop against a knight", "k7/8/1K6/P7/5n2/8/3B4/8 w - - 0 1", Verdict::Drawish},
    {"knight and rook's pawn on the seventh", "8/Pk6/8/1N6/8/4K3/8/8 w - - 0 1", Verdict::Dead},
    {"the same with our king there", "k7/P7/1K6/1N6/8/8/8/8 w - - 0 1", Verdict::Won},
    {"the same with the corner guarded", "8/PkN5/8/8/4K3/8/8/8 w - - 0 1", Verdict::Won},
    {"knight and rook's pawn on the sixth", "1k6/8/P7/1NK5/8/8/8/8 w - - 0 1", Verdict::Won},

    // Minor pieces with and against pawns.
    {"a bishop cannot win against pawns", "8/5p2/4k3/8/8/3BK3/8/8 w - - 0 1", Verdict::Drawish},
    {"a knight before a pawn", "8/8/8/8/8/5k2/6p1/4K1N1 w - - 0 1", Verdict::CannotWin},
    {"a knight caught by a pawn", "8/8/8/8/8/5k2/p7/N3K3 w - - 0 1", Verdict::CannotWin},
    {"a bishop and a rook's pawn at home", "8/p7/k7/8/8/8/8/K1B5 w - - 0 1", Verdict::CannotWin},
    {"two knights and a rook's pawn at home", "8/p7/k7/8/8/8/8/K1NN4 w - - 0 1", Verdict::CannotWin},
    {"two knights cannot win against a far pawn", "8/5p2/4k3/8/8/2NNK3/8/8 w - - 0 1", Verdict::Drawish},
    {"opposite bishops, two pawns on one file", "3k4/8/8/3PK3/3P4/8/1b6/5B2 w - - 0 1", Verdict::Drawish},
    {"opposite bishops, pawns side by side on the fifth", "8/3k4/1b6/3PP3/4K3/8/8/5B2 w - - 0 1", Verdict::Drawish},
    {"opposite bishops, side by side, the king before one", "8/2k5/1b6/3PP3/4K3/8/8/5B2 w - - 0 1", Verdict::Drawish},
    {"opposite bishops, pawns far apart", "8/5k2/P7/6P1/4K3/8/1b6/5B2 w - - 0 1", Verdict::Won},
    {"bishops of one colour, the king blocks on the other", "3k4/8/3P4/4K3/8/8/8/1b3B2 w - - 0 1", Verdict::Drawish},
    {"bishop and pawn against a knight, king before the pawn", "8/3k4/3P4/4K3/8/1n6/8/4B3 w - - 0 1", Verdict::Drawish},
    {"knight and pawn against a bishop on the path", "8/2k5/8/3P4/3K4/6b1/8/4N3 w - - 0 1", Verdict::Drawish},
    {"queen against a bishop and a pawn", "8/8/1Q1K4/8/6p1/8/4b3/7k w - - 0 1", Verdict::Won},
    {"rook and pawn against a knight, king before the pawn", "8/5n2/8/8/8/7k/7P/3K3R w - - 0 1", Verdict::Won},
    {"rook on the third rank holds the queen out", "3k4/2p5/3r4/8/3K4/8/8/Q7 w - - 0 1", Verdict::Drawish},

    // Pawns alone.
    {"opposition held", "8/8/8/4k3/8/4K3/4P3/8 w - - 0 1", Verdict::Dead},
    {"one pawn each, nothing doing", "8/3k4/3p4/8/8/3P4/3K4/8 w - - 0 1", Verdict::Drawish},
};

void ExpectVerdict(const EndingCase& c, const std::string& fen, int score) {
    SCOPED_TRACE(std::string(c.why) + ": " + fen);
    switch (c.verdict) {
        case Verdict::Won: EXPECT_GE(score, 200); break;
        case Verdict::Better: EXPECT_GE(score, 70); break;
        case Verdict::Drawish: EXPECT_LE(std::abs(score), 60); break;
        case Verdict::Dead: EXPECT_EQ(score, 0); break;
        case Verdict::CannotWin: EXPECT_LE(score, 8); break;
    }
}

struct Endings : testing::Test {
    Endings() { ResetEngine(); }
    ~Endings() override { ResetEngine(); }
};

TEST_F(Endings, VerdictsOfTheory) {
    for (const EndingCase& c : cases) {
        ExpectVerdict(c, c.fen, WhiteScore(c.fen));
        ExpectVerdict(c, FilesReversed(c.fen), WhiteScore(FilesReversed(c.fen)));
        ExpectVerdict(c, ColourFlipped(c.fen), -WhiteScore(ColourFlipped(c.fen)));
    }
}

// A man more must not be worth less, or the winner gives it away.
TEST_F(Endings, MoreMenAreWorthMore) {
    const struct {
        const char *why, *fewer, *more;
    } pairs[] = {
        {"two pawns apart, one about to fall", "8/8/8/8/1K6/1P5k/8/8 w - - 0 1", "8/8/8/8/1K5k/1P5P/8/8 b - - 0 1"},
        {"the king before the pawn that wins", "8/8/4K3/4P3/8/6k1/8/8 w - - 0 1", "8/8/4K3/4P3/8/6P1/6k1/8 b - - 0 1"},
        {"knight", "8/8/8/8/6k1/2KP4/8/8 w - - 0 1", "8/8/8/8/6k1/2KP4/8/5N2 w - - 0 1"},
        {"bishop", "8/8/8/8/6k1/2KP4/8/8 w - - 0 1", "8/8/8/8/6k1/2KP4/8/5B2 w - - 0 1"},
        {"bishop, the king before the pawn", "8/8/4k3/2K5/3P4/8/8/8 w - - 0 1", "8/8/3k4/8/2KP4/8/8/5B2 w - - 0 1"},
        {"doubled pawns", "8/8/3k4/8/3P4/3K4/8/8 b - - 0 1", "8/8/3k4/8/3P4/3K4/3P4/8 b - - 0 1"},
        {"rook and pawn", "k7/8/1K6/8/8/8/8/7R b - - 0 1", "k7/8/1K6/8/8/8/7P/7R b - - 0 1"},
        {"queen and pawn", "k7/8/1K6/8/8/8/8/7Q b - - 0 1", "k7/8/1K6/8/8/8/7P/7Q b - - 0 1"},
        {"bishop, knight and pawn", "k7/8/1K6/4N3/4B3/8/8/8 b - - 0 1", "k7/8/1K6/4N3/4B3/8/7P/8 b - - 0 1"},
        {"rook, bishop and knight", "k7/8/1K6/4N3/4B3/8/8/8 b - - 0 1", "8/8/8/3k4/8/8/8/RNB1K3 b - - 0 1"},
    };
    for (const auto& p : pairs) EXPECT_GE(WhiteScore(p.more), WhiteScore(p.fewer)) << p.why;
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
// would make every position met earlier look better than progress. The full evaluation knows
// nothing of quiet moves in any case.
TEST_F(Endings, WonEndingsDoNotFadeWithTheMoves) {
    for (const char* fen : {"8/8/4k3/8/8/8/8/KBN5 w - - 0 1", "8/8/3k4/3r4/8/8/8/KQ6 b - - 0 1"}) {
        SetFen(fen);
        const int fresh = Evaluate();
        for (const int plies : {9, 40, 99}) {
            thread_board.fifty = plies;
            EXPECT_EQ(Evaluate(), fresh) << fen << " after " << plies;
            EXPECT_EQ(FreshScore(), fresh) << fen << " after " << plies;
        }
    }
}

}  // namespace
