// board_repetition_test.cpp - repetitions, against a list of everything that stood on the board.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "board/repetition.h"
#include "tests/support/board_helpers.h"

namespace {

// A table of the tests' own, of exactly the size told: a byte beyond it is an error under the
// address sanitizer.
class Repetition : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        static std::vector<uint64_t> memory(KeyDifferenceBytes / sizeof(uint64_t));
        AttachKeyDifferences(memory.data());
        differences = FillKeyDifferences();
    }
    void TearDown() override { SetInitialPosition(); }
    static int differences;
};
int Repetition::differences = 0;

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

// Random games with so few men that positions return all the time.
void CompareWithTheListOfPositions(const char* fen, int games, int plies, uint64_t seed) {
    TestRandom random{seed};
    int repetitions = 0, upcoming = 0;
    for (int game = 0; game < games; ++game) {
        SetFen(fen);
        std::vector<std::string> positions;  // all before the current one
        RandomGame(random, plies, [&](const MoveList& legal) {
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

}  // namespace

// 168 knight, 210 king, 280 bishop, 448 rook and 728 queen pairs a colour; a full bucket
// would lose some.
TEST_F(Repetition, TableHoldsEveryReversibleMove) { EXPECT_EQ(differences, 2 * (168 + 210 + 280 + 448 + 728)); }

TEST_F(Repetition, RandomGamesOfFewMen) {
    const char* const fens[] = {
        "7k/8/8/8/8/8/8/K7 w - -",     "1n5k/8/8/8/8/8/8/K5N1 w - -", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -",
        "4k3/8/8/b7/7B/8/8/4K3 w - -", "1q4k1/8/8/8/8/8/8/K6Q w - -", "4k3/p6p/8/8/8/8/P6P/R3K3 w Q -",
    };
    uint64_t seed = 1;
    for (const char* const fen : fens) {
        SCOPED_TRACE(fen);
        CompareWithTheListOfPositions(fen, 60, 120, seed++);
    }
}

// Nearly no choice: every man shuffles, so long cycles close as well as short ones.
TEST_F(Repetition, RandomGamesInTightPositions) {
    CompareWithTheListOfPositions("k1b5/1p1p4/1P1P4/8/8/1p1p4/1P1P4/K1B5 w - -", 40, 150, 99);
    CompareWithTheListOfPositions("kb6/1p6/pP6/P6p/7P/6p1/6P1/6NK w - -", 40, 150, 100);
}

TEST_F(Repetition, Sequences) {
    struct {
        const char* why;
        const char* fen;
        const char* moves;
        int earlier;
        bool upcoming;
    } const cases[] = {
        {"knights out and back", StartFen, "g1f3 g8f6 f3g1 f6g8", 1, true},
        {"the third occurrence", StartFen, "g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8", 2, true},
        {"Black can go back now", StartFen, "g1f3 g8f6 f3g1", 0, true},
        {"only the other side could go back", StartFen, "g1f3 g8f6", 0, false},
        {"a pawn move between", StartFen, "g1f3 g8f6 e2e3 f6g8 f3g1", 0, false},
        {"same men, castling right lost", "4k2r/8/8/8/8/8/8/4K3 w k -", "e1e2 h8g8 e2e1 g8h8", 0, false},
        {"after that loss positions count again", "4k2r/8/8/8/8/8/8/4K3 w k -",
         "e1e2 h8g8 e2e1 g8h8 e1e2 h8g8 e2e1 g8h8", 1, true},
        {"a way that is blocked now", "6k1/8/8/8/8/8/8/QN2K3 b - -", "g8f8 a1b2 f8f7 b2c1 f7g8", 0, false},
        {"king triangle: same men, other side to move", "k7/8/8/8/8/8/8/K7 w - -", "a1b1 a8b8 b1b2 b8a8 b2a1", 0,
         false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        ASSERT_TRUE(PlayMoves(c.moves));
        EXPECT_EQ(IsRepetition(), c.earlier > 0);
        EXPECT_EQ(CountRepetitions(), c.earlier);
        EXPECT_EQ(UpcomingRepetition(), c.upcoming);
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
    SetUpTestSuite();
    EXPECT_TRUE(UpcomingRepetition());
}
