// board_perft_test.cpp - the move generators, against published node counts.
//
// A wrong count says that some legal move is missing or some illegal one present, be it that the
// generators err or that making and unmaking moves does.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "board/perft.h"
#include "tests/support/board_helpers.h"

// Counts every position of the suite whose number of leaves lies within the bounds. Its lines read
// "<FEN> ;D1 20 ;D2 400 ...".
static void CountSuite(uint64_t (*perft)(int), uint64_t least, uint64_t most) {
    std::ifstream file(CORVANTIS_SOURCE_DIR "/tests/data/perft.epd");
    int counts = 0;
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string fen, field;
        std::getline(fields, fen, ';');
        while (std::getline(fields, field, ';')) {
            int depth = 0;
            uint64_t leaves = 0;
            std::istringstream(field.substr(1)) >> depth >> leaves;
            ++counts;
            if (leaves < least || leaves > most) continue;
            SetFen(fen.c_str());
            EXPECT_EQ(perft(depth), leaves) << fen << " depth " << depth;
        }
    }
    EXPECT_EQ(counts, 132 * 6) << "the suite is not complete";
}

TEST(Perft, Suite) { CountSuite(Perft, 0, 5000000); }

TEST(Perft, SuiteThroughTheListOfLegalMoves) { CountSuite(PerftReference, 0, 100000); }

TEST(Perft, DepthsWithoutMovesCountTheRoot) {
    for (const int depth : {0, -3}) EXPECT_EQ(Perft(depth), 1u) << depth;
}

TEST(SlowPerft, Suite) { CountSuite(Perft, 5000001, 200000000); }

TEST(SlowPerft, SuiteThroughTheListOfLegalMoves) { CountSuite(PerftReference, 100001, 1000000); }
