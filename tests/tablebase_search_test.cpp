// tablebase_search_test.cpp - the search with tablebases: exact distances, shortest mates.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "board/make_move.h"
#include "board/position.h"
#include "search/limits.h"
#include "search/root.h"
#include "search/search_state.h"
#include "tablebases/probe.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"
#include "tests/support/table_checks.h"
#include "tests/support/table_folder.h"

namespace {

struct TablebaseSearch : ::testing::Test {
    void SetUp() override {
        ResetEngine();
        output_suppressed = true;
    }
    void TearDown() override {
        output_suppressed = false;
        RegisterTablebases("");
    }
};

TEST_F(TablebaseSearch, MatesInTheTablesNumberOfMoves) {
    const TableFolder tables({"kpk"});
    UseTables(tables);
    tablebase_hits = 0;
    for (const char* name : {"kqk", "krk", "kpk"}) PlayWonPositions(name, 12);
    EXPECT_GT(tablebase_hits, 0);
}

// One ply from the root every move is looked up: a search of two plies knows the distance, also when
// a capture or promotion leads into the tables and when the position itself has too many men.
TEST_F(TablebaseSearch, KnowsWhatACaptureLeadsTo) {
    const TableFolder tables({"kpk"});
    UseTables(tables);
    const struct {
        const char *fen, *best;
    } cases[] = {
        {"8/8/8/q7/8/2k5/8/R6K w - - 0 1", "a1a5"},
        {"1n6/P7/8/8/8/2k5/8/7K w - - 0 1", "a7b8q"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fen);
        ClearSearch();
        SetFen(c.fen);
        ResetLimits();
        search_limits.MaxDepth = 2;
        const SearchResult result = think(false);
        EXPECT_EQ(MoveText(result.best), c.best);
        MakeMove(result.best);
        int score = 0;
        ASSERT_TRUE(ProbeTablebase(&score));
        EXPECT_EQ(result.score, -(score + 1));
    }
}

struct SlowTablebases : TablebaseSearch {};

// All four-men tables, against the lengths that the literature gives and against themselves.
TEST_F(SlowTablebases, FourMen) {
    std::map<std::string, int> longest = {
        {"kbnk", 33}, {"kqkr", 35}, {"krkn", 40}, {"krkb", 29}, {"kqkp", 28}, {"krkp", 26}, {"kqkb", 17},
        {"kqkn", 21}, {"kbbk", 19}, {"kpkp", 33}, {"krkr", 19}, {"kqkq", 13}, {"kbpk", 31}, {"knpk", 27},
        {"kppk", 32}, {"krpk", 16}, {"knkp", 7},  {"kbkb", 1},  {"kbkn", 1},  {"knkn", 1},  {"knnk", 1},
    };
    for (const std::string& name : AllMaterials(4)) longest.emplace(name, -1);
    const TableFolder tables(AllMaterials(4));
    CheckLongestMates(tables, longest);
    UseTables(tables);
    EXPECT_EQ(CheckKnownDistances(), 43);
    for (const char* name : {"kbnk", "kqkr", "krkn", "kqkp"}) PlayWonPositions(name, 25);
}

}  // namespace
