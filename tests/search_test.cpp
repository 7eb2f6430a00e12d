// search_test.cpp - the search as a whole: mates, draws, limits, and what it leaves behind.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "board/legality.h"
#include "board/ordering_data.h"
#include "board/settings.h"
#include "driver/game_state.h"
#include "search/host.h"
#include "search/limits.h"
#include "search/principal_variation.h"
#include "search/root.h"
#include "search/root_lines.h"
#include "search/search_state.h"
#include "search/time_control.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"
#include "tests/support/positions.h"
#include "tests/support/processor_time.h"

namespace {

struct SearchTest : ::testing::Test {
    void SetUp() override {
        ResetEngine();
        ClearSearch();
        output_suppressed = true;
    }
    void TearDown() override {
        output_suppressed = false;
        MultiPV = 1;
        search_host.input_available = [] { return 0; };
        search_host.handle_input = [] {};
    }
};

SearchResult SearchDepth(const char* fen, int depth) {
    SetFen(fen);
    ResetSearchMemory();
    ResetLimits();
    search_limits.MaxDepth = depth;
    return think(false);
}

// The published mates: the same file solved in a longer run with a time limit for each.
TEST_F(SearchTest, SolvesPublishedMatesInTwo) {
    std::ifstream file(std::string(CORVANTIS_SOURCE_DIR) + "/tests/data/mates.epd");
    int positions = 0;
    for (std::string line; std::getline(file, line);) {
        const size_t at = line.find("dm ");
        if (at == std::string::npos || line[at + 3] > '2') continue;
        const int moves = line[at + 3] - '0';
        ClearSearch();
        const SearchResult result = SearchDepth(line.c_str(), 2 * moves + 5);
        EXPECT_EQ(result.score, MATE - (2 * moves - 1)) << line << "\n  with " << MoveText(result.best);
        ++positions;
    }
    EXPECT_GT(positions, 100);
}

struct ScoreCase {
    const char *why, *fen;
    int depth;
    int least, most;  // the score lies between, both included
};

const ScoreCase score_cases[] = {
    {"mated in one", "8/8/8/8/8/2k5/7q/K7 w - - 0 1", 8, 2 - MATE, 2 - MATE},
    {"a knight mates in seven", "8/8/8/8/p7/8/N7/k1K5 w - - 0 1", 18, MATE - 13, MATE - 13},
    {"the only move that does not stalemate wins", "7k/8/5KQ1/8/8/8/8/8 w - - 0 1", 6, 900, MATE},
    {"wrong bishop, defender in the corner", "k7/8/P7/1K6/8/8/3B4/8 w - - 0 1", 12, -60, 60},
    {"perpetual check saves a lost game", "6k1/6p1/8/6KQ/1r6/q7/8/8 w - - 0 1", 10, 0, MATE},
};

TEST_F(SearchTest, ScoresOfClearPositions) {
    for (const ScoreCase& c : score_cases) {
        SCOPED_TRACE(c.why);
        ClearSearch();
        const SearchResult result = SearchDepth(c.fen, c.depth);
        EXPECT_GE(result.score, c.least);
        EXPECT_LE(result.score, c.most);
    }
}

// What was learned about ordering must not leak from game to game: the same search, the same nodes.
TEST_F(SearchTest, NewGameForgetsTheLast) {
    constexpr const char* Fen = "r1bq1rk1/pp2ppbp/2np2p1/2n5/P3PP2/N1P2N2/1PB3PP/R1B1QRK1 b - - 0 1";
    SearchDepth(Fen, 9);
    const int64_t fresh = nodes_searched;
    SearchDepth("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b KQkq - 0 1", 9);
    StartNewGame();
    SearchDepth(Fen, 9);
    EXPECT_EQ(nodes_searched, fresh);
}

// A move that the last search foresaw gets less time, but only where its whole line was played.
TEST_F(SearchTest, ExpectsAMoveOnlyAfterTheLineForeseen) {
    PredictedLine line;
    line.own = ParseCoordinate("e2e4");
    MakeMove(line.own);
    line.reply = ParseCoordinate("e7e5");
    MakeMove(line.reply);
    line.next = ParseCoordinate("g1f3");
    const struct {
        const char* moves;
        Move expected;
    } games[] = {{"e2e4 e7e5", line.next}, {"d2d4 e7e5", 0}, {"e2e4 c7c5", 0}, {"e2e4", 0}, {"", 0}};
    for (const auto& game : games) {
        SetInitialPosition();
        PlayMoves(game.moves);
        predicted_line = line;
        search_limits.MaxDepth = 1;
        think(false);
        EXPECT_EQ(expected_best_move, game.expected) << game.moves;
    }
}

// Every move of a line must be legal in its turn.
void ExpectLegalLine(const MoveList& line) {
    int made = 0;
    for (const Move m : line) {
        EXPECT_TRUE(IsFullyLegal(m)) << MoveText(m) << " at place " << made << " in " << WriteFen();
        if (!IsFullyLegal(m)) break;
        MakeMove(m);
        ++made;
    }
    while (made-- > 0) UnmakeMove();
}

TEST_F(SearchTest, EveryPositionYieldsALegalMoveAndLine) {
    for (const TestPosition& position : test_positions) {
        SCOPED_TRACE(position.why);
        ClearSearch();
        const SearchResult result = SearchDepth(position.fen, 7);
        if (LegalMoveList().empty()) {
            EXPECT_EQ(result.best, 0u);
            continue;
        }
        Move line[MaxPly + 2];
        const int length = PrincipalVariation(line, 8);
        ExpectLegalLine(MoveList(line, line + length));
        ExpectLegalLine(result.ponder != 0 ? MoveList{result.best, result.ponder} : MoveList{result.best});
    }
}

// A stop at any moment leaves the board as it was and a legal move to play.
int polls_left;
TEST_F(SearchTest, StoppedAnywhereLeavesTheBoardUntouched) {
    search_host.input_available = [] {
        poll_countdown = 0;  // look again at the next node
        return --polls_left <= 0 ? 1 : 0;
    };
    search_host.handle_input = [] { stop_flag = true; };
    TestRandom random{7};
    for (int i = 0; i < 200; ++i) {
        const TestPosition& position = test_positions[random.Below(int(std::size(test_positions)))];
        SCOPED_TRACE(position.fen);
        SetFen(position.fen);
        ResetLimits();
        search_limits.OwnTime = InfiniteTime;
        search_limits.MaxNodes = 40000;
        polls_left = random.Below(15000);
        MultiPV = i % 3 == 0 ? 3 : 1;
        const PositionBytes before = BytesOfPosition();
        const int plies = history_count;
        const SearchResult result = think(false);
        EXPECT_EQ(BytesOfPosition(), before);
        EXPECT_EQ(history_count, plies);
        EXPECT_EQ(move_count, 0);
        EXPECT_EQ(current_ply, 0);
        EXPECT_TRUE(IsFullyLegal(result.best) || LegalMoveList().empty());
    }
}

TEST_F(SearchTest, NodeLimitIsMet) {
    for (const int64_t limit : {1000, 150000}) {
        ClearSearch();
        SetInitialPosition();
        ResetLimits();
        search_limits.MaxNodes = limit;
        think(false);
        EXPECT_GE(nodes_searched, limit);
        EXPECT_LE(nodes_searched, limit + 500) << "checked at main nodes only, so a little beyond";
    }
}

TEST_F(SearchTest, MoveTimeIsMet) {
    const struct {
        const char *why, *fen;
        int least, most;  // centiseconds
    } cases[] = {
        {"start position", StartFen, 19, 40},
        {"captures breed captures: quiescence must still hear a stop",
         "qqqqkqqq/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQKQQQ w - - 0 1", 0, 200},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        ResetLimits();
        search_limits.MoveTime = 20;
        const double withheld = WithheldMilliseconds(getpid());
        const int64_t start = NowCentiseconds();
        const SearchResult result = think(false);
        const int64_t elapsed = NowCentiseconds() - start;
        EXPECT_GE(elapsed, c.least);
        EXPECT_LE(double(elapsed) - (WithheldMilliseconds(getpid()) - withheld) / 10, c.most);
        EXPECT_TRUE(IsFullyLegal(result.best));
    }
}

TEST_F(SearchTest, MultiPVLinesAreDifferentMovesInOrder) {
    MultiPV = 4;
    SearchDepth(test_positions[2].fen, 8);
    for (int i = 1; i < 4; ++i) {
        EXPECT_GE(root_moves[i - 1].score, root_moves[i].score);
        EXPECT_NE(root_moves[i - 1].move, root_moves[i].move);
    }
}

}  // namespace
