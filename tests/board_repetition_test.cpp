// board_repetition_test.cpp - repetitions, against a list of everything that stood on the board.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "board/repetition.h"
#include "tests/support/board_helpers.h"

namespace {

// A table of the tests' own, of exactly the size told: a byte beyond it is an error under the
// address sanitizer.
class Repetition : public ::testing::Test {
protected:
    void SetUp() override {
        static std::vector<uint64_t> memory(KeyDifferenceBytes / sizeof(uint64_t));
        AttachKeyDifferences(memory.data());
        differences = FillKeyDifferences();
    }
    void TearDown() override { SetInitialPosition(); }
    int differences = 0;
};

// What makes two positions the same: men, side to move, castling rights.
std::string Identity() {
    const std::string fen = WriteFen();
    size_t end = 0;
    for (int field = 0; field < 3; ++field) end = fen.find(' ', end) + 1;
    return fen.substr(0, end - 1);
}

int Earlier(const std::vector<std::string>& positions, const std::string& identity) {
    return int(std::count(positions.begin(), positions.end(), identity));
}

}  // namespace

// 168 knight, 210 king, 280 bishop, 448 rook and 728 queen pairs a colour; a full bucket
// would lose some.
TEST_F(Repetition, TableHoldsEveryReversibleMove) { EXPECT_EQ(differences, 2 * (168 + 210 + 280 + 448 + 728)); }

// So few men, or so little room for them, that positions return all the time.
TEST_F(Repetition, RandomGamesAgainstTheListOfPositions) {
    TestRandom random{1};
    for (const char* const fen :
         {"7k/8/8/8/8/8/8/K7 w - -", "1n5k/8/8/8/8/8/8/K5N1 w - -", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -",
          "4k3/8/8/b7/7B/8/8/4K3 w - -", "1q4k1/8/8/8/8/8/8/K6Q w - -", "4k3/p6p/8/8/8/8/P6P/R3K3 w Q -",
          "k1b5/1p1p4/1P1P4/8/8/1p1p4/1P1P4/K1B5 w - -", "kb6/1p6/pP6/P6p/7P/6p1/6P1/6NK w - -"}) {
        SCOPED_TRACE(fen);
        int repetitions = 0, upcoming = 0;
        for (int game = 0; game < 60; ++game) {
            SetFen(fen);
            std::vector<std::string> positions;  // all before the current one
            RandomGame(random, 120, [&](const MoveList& legal) {
                const std::string now = Identity();
                const int earlier = Earlier(positions, now);
                ASSERT_EQ(IsRepetition(), earlier > 0) << now << " " << history_count;
                ASSERT_EQ(CountRepetitions(), earlier) << now;
                positions.push_back(now);
                bool reachable = false;
                for (const Move m : legal) {
                    MakeMove(m);
                    reachable |= Earlier(positions, Identity()) > 0;
                    UnmakeMove();
                }
                ASSERT_EQ(UpcomingRepetition(), reachable) << now;
                repetitions += earlier > 0;
                upcoming += reachable;
            });
        }
        EXPECT_GT(repetitions, 10) << "the games show nothing";
        EXPECT_GT(upcoming, 10);
    }
}

// A pass is no move of the game: positions before it do not count.
TEST_F(Repetition, NothingBeyondANullMove) {
    SetInitialPosition();
    ASSERT_TRUE(PlayMoves("g1f3 g8f6"));
    MakeNullMove();
    ASSERT_TRUE(PlayMoves("f6g8"));
    MakeNullMove();
    ASSERT_TRUE(PlayMoves("g8f6"));
    EXPECT_FALSE(IsRepetition());
    EXPECT_FALSE(UpcomingRepetition());
}

// A cycle of five plies in which the other side's net change is one move: not ours to undo.
TEST_F(Repetition, UpcomingMoveMustBelongToTheSideToMove) {
    SetFen("k7/8/8/8/8/8/8/KB5b w - -");
    ASSERT_TRUE(PlayMoves("b1c2 h1g2 c2b3 g2h1 b3a2"));
    EXPECT_FALSE(IsRepetition());
    EXPECT_FALSE(UpcomingRepetition());
}

TEST_F(Repetition, WithoutATableNothingIsUpcoming) {
    AttachKeyDifferences(nullptr);
    SetInitialPosition();
    ASSERT_TRUE(PlayMoves("g1f3 g8f6 f3g1"));
    EXPECT_FALSE(UpcomingRepetition());
    EXPECT_EQ(FillKeyDifferences(), 0);
    SetUp();
    EXPECT_TRUE(UpcomingRepetition());
}
