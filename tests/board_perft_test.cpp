// board_perft_test.cpp - the move generators, against published node counts.
//
// A wrong count says that some legal move is missing or some illegal one present; the walk
// through the same trees in CheckedPerft looks at what a count cannot show.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "board/perft.h"
#include "tests/support/board_helpers.h"
#include "tests/support/positions.h"

namespace {

struct PerftCase {
    const char* why;
    const char* fen;
    int depth;
    uint64_t leaves;
};

const PerftCase perft_cases[] = {
    {"start position", StartFen, 5, 4865609},
    {"castling, pins, en passant and promotions together",
     "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", 4, 4085603},
    {"en passant that bares a king along the rank", "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", 5, 674624},
    {"promotion by capture on a castling rook", "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -", 4,
     422333},
    {"the same with colours changed", "r2q1rk1/pP1p2pp/Q4n2/bbp1p3/Np6/1B3NBn/pPPP1PPP/R3K2R b KQ -", 4, 422333},
    {"promotion next to the enemy king", "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -", 4, 2103487},
    {"quiet middlegame", "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - -", 4, 3894594},
};

const PerftCase deep_perft_cases[] = {
    {"start position", StartFen, 6, 119060324},
    {"castling, pins, en passant and promotions together",
     "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", 5, 193690690},
    {"en passant that bares a king along the rank", "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", 6, 11030083},
    {"promotion by capture on a castling rook", "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -", 5,
     15833292},
};

// One count of one position of the suite in data/perft.epd.
struct SuiteCount {
    std::string fen;
    int depth;
    uint64_t leaves;
};

// Lines read "<FEN> ;D1 20 ;D2 400 ...".
std::vector<SuiteCount> ReadSuite() {
    std::vector<SuiteCount> counts;
    std::ifstream file(CORVANTIS_SOURCE_DIR "/tests/data/perft.epd");
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string fen, field;
        std::getline(fields, fen, ';');
        while (std::getline(fields, field, ';')) {
            std::istringstream numbers(field.substr(1));
            SuiteCount count{fen, 0, 0};
            numbers >> count.depth >> count.leaves;
            counts.push_back(count);
        }
    }
    return counts;
}

// Counts every position of the suite whose number of leaves lies within the bounds.
void CountSuite(uint64_t (*perft)(int), uint64_t least, uint64_t most) {
    const std::vector<SuiteCount> counts = ReadSuite();
    ASSERT_EQ(counts.size(), 127u * 6u) << "the suite is not complete";
    for (const SuiteCount& c : counts) {
        if (c.leaves < least || c.leaves > most) continue;
        SetFen(c.fen.c_str());
        EXPECT_EQ(perft(c.depth), c.leaves) << c.fen << " depth " << c.depth;
    }
}

// Counts leaves, and at every node on the way compares each field that MakeMove() keeps up
// to date with one built from nothing, and each byte after UnmakeMove() with what was there.
uint64_t CheckedPerft(int depth) {
    EXPECT_EQ(DifferingField(thread_board, RecomputePosition(thread_board)), "") << WriteFen();
    if (depth == 0) return 1;
    uint64_t leaves = 0;
    for (const Move m : LegalMoveList()) {
        const PositionBytes before = BytesOfPosition();
        MakeMove(m);
        leaves += CheckedPerft(depth - 1);
        UnmakeMove();
        EXPECT_EQ(before, BytesOfPosition()) << WriteFen() << " " << MoveText(m);
        if (::testing::Test::HasFailure()) break;  // one report is enough
    }
    return leaves;
}

}  // namespace

TEST(Perft, PublishedCounts) {
    for (const PerftCase& c : perft_cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        EXPECT_EQ(Perft(c.depth), c.leaves);
    }
}

TEST(Perft, PublishedCountsThroughTheListOfLegalMoves) {
    for (const PerftCase& c : perft_cases) {
        if (c.leaves > 1000000) continue;
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        EXPECT_EQ(PerftReference(c.depth), c.leaves);
    }
}

TEST(Perft, Suite) { CountSuite(Perft, 0, 1000000); }

TEST(Perft, SuiteThroughTheListOfLegalMoves) { CountSuite(PerftReference, 0, 20000); }

TEST(Perft, BothCountersAgreeOnUnusualPositions) {
    for (const TestPosition& t : test_positions) {
        SCOPED_TRACE(t.why);
        SetFen(t.fen);
        EXPECT_EQ(Perft(2), PerftReference(2));
    }
}

TEST(Perft, BoardStaysConsistentInTheWholeTree) {
    struct {
        const char* fen;
        int depth;
        uint64_t leaves;
    } const cases[] = {
        {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", 3, 97862},
        {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", 4, 43238},
        {"n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - -", 3, 9483},
    };
    for (const auto& c : cases) {
        SetFen(c.fen);
        EXPECT_EQ(CheckedPerft(c.depth), c.leaves) << c.fen;
    }
}

TEST(Perft, DepthsWithoutMovesCountTheRoot) {
    SetInitialPosition();
    EXPECT_EQ(Perft(0), 1u);
    EXPECT_EQ(Perft(-3), 1u);
    EXPECT_EQ(PerftReference(0), 1u);
    EXPECT_EQ(Perft(1), 20u);
}

TEST(SlowPerft, DeepCounts) {
    for (const PerftCase& c : deep_perft_cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        EXPECT_EQ(Perft(c.depth), c.leaves);
    }
}

TEST(SlowPerft, DeepSuite) { CountSuite(Perft, 1000001, 200000000); }

TEST(SlowPerft, DeepSuiteThroughTheListOfLegalMoves) { CountSuite(PerftReference, 20001, 1000000); }
