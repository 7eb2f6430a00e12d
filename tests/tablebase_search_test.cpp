// tablebase_search_test.cpp - the search with tablebases: exact distances, shortest mates.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "board/make_move.h"
#include "board/position.h"
#include "search/limits.h"
#include "search/root.h"
#include "search/root_lines.h"
#include "search/search_state.h"
#include "search/time_control.h"
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
        const char* why;
        const char* fen;
        const char* best;
    } cases[] = {
        {"the rook takes a queen", "8/8/8/q7/8/2k5/8/R6K w - - 0 1", "a1a5"},
        {"a pawn takes and promotes", "1n6/P7/8/8/8/2k5/8/7K w - - 0 1", "a7b8q"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
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
    const std::map<std::string, int> longest = {
        {"kbnk", 33}, {"kqkr", 35}, {"krkn", 40}, {"krkb", 29}, {"kqkp", 28}, {"krkp", 26}, {"kqkb", 17},
        {"kqkn", 21}, {"kbbk", 19}, {"kpkp", 33}, {"krkr", 19}, {"kqkq", 13}, {"kbpk", 31}, {"knpk", 27},
        {"kppk", 32}, {"krpk", 16}, {"knkp", 7},  {"kbkb", 1},  {"kbkn", 1},  {"knkn", 1},  {"knnk", 1},
    };
    const TableFolder tables(AllMaterials(4));
    const std::vector<std::string> names = AllMaterials(4);
    for (const std::string& name : names) {
        TableStatistics statistics;
        std::string reason;
        EXPECT_TRUE(VerifyTable(tables.Job(), name, &statistics, &reason)) << reason;
        if (longest.count(name)) {
            EXPECT_EQ(statistics.longest[WHITE], longest.at(name)) << name;
        }
    }
    UseTables(tables);
    const std::vector<std::string> three = AllMaterials(3);
    std::set<std::string> materials(names.begin(), names.end());
    materials.insert(three.begin(), three.end());
    EXPECT_EQ(CheckKnownDistances(materials), 43);
    for (const char* name : {"kbnk", "kqkr", "krkn", "kqkp"}) PlayWonPositions(name, 25);
}

}  // namespace
