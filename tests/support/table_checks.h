// table_checks.h - what tests ask of made tables through the engine.
#pragma once

#include <fstream>
#include <map>
#include <string>

#include "board/make_move.h"
#include "board/position.h"
#include "search/limits.h"
#include "search/root.h"
#include "tablebases/probe.h"
#include "tablebases/registry.h"
#include "tablebases/table_moves.h"
#include "tests/support/board_helpers.h"
#include "tests/support/table_folder.h"

inline TableIndex IndexOf(const std::string& name, Colour side) {
    TableMaterial material;
    TableIndex index;
    EXPECT_TRUE(ParseTableMaterial(name, &material) && BuildTableIndex(material, side, &index)) << name;
    return index;
}

// A position of the table, every second one from the slots of en passant where there are any; false
// for a slot without one.
inline bool RandomTablePosition(const TableIndex& index, TestRandom& random, TablePosition* position) {
    const uint64_t first = random.Below(2) && index.plain_slots < index.slots ? index.plain_slots : 0;
    return PositionOfSlot(index, first + random.Next() % (index.slots - first), position) && IsTablePosition(*position);
}

inline void UseTables(const TableFolder& tables) {
    testing::internal::CaptureStdout();
    RegisterTablebases(tables.folder.c_str());
    AllocateTablebaseCache(1 << 20);
    testing::internal::GetCapturedStdout();
}

// Verifies each, and compares the longest mates with White to move; -1: nothing to compare with.
inline void CheckLongestMates(const TableFolder& tables, const std::map<std::string, int>& longest) {
    for (const auto& [name, moves] : longest) {
        TableStatistics statistics;
        std::string reason;
        EXPECT_TRUE(VerifyTable(tables.Job(), name, &statistics, &reason)) << reason;
        EXPECT_TRUE(moves < 0 || moves == statistics.longest[WHITE]) << name << ' ' << statistics.longest[WHITE];
    }
}

// Positions with known distances, asked of the engine. Returns how many are in its tables.
inline int CheckKnownDistances() {
    std::ifstream file(CORVANTIS_SOURCE_DIR "/tests/data/endgame_dtm.epd");
    int found = 0;
    for (std::string line; std::getline(file, line);) {
        const size_t fields = line.find(" dm ");
        SetFen((line.substr(0, fields) + " 0 1").c_str());
        const int distance = std::stoi(line.substr(fields + 4));
        int score = 0;
        if (!ProbeTablebase(&score)) continue;
        EXPECT_EQ(score, distance > 0 ? MATE - 2 * distance : -MATE - 2 * distance) << line;
        ++found;
    }
    return found;
}

// Games from `count` random won positions of a material, both sides played by the search with
// 10 ms a move: every move must keep to the distance in the tables, until the mate.
inline void PlayWonPositions(const char* name, int count) {
    TestRandom random{9};
    const TableIndex index = IndexOf(name, WHITE);
    for (int played = 0; played < count;) {
        TablePosition position;
        if (!RandomTablePosition(index, random, &position)) continue;
        const std::string start = TableFen(position);
        SetFen(start.c_str());
        int score = 0;
        ASSERT_TRUE(ProbeTablebase(&score)) << start;
        if (score < MateBound) continue;
        ++played;
        ClearSearch();
        const int plies = MATE - score - 1;
        for (int ply = 0; ply < plies; ++ply) {
            ResetLimits();
            search_limits.MoveTime = 1;
            const SearchResult result = think(false);
            // What the search says is the distance that is left.
            const int left = plies - ply;
            if (result.searched) {
                EXPECT_EQ(result.score, ply % 2 == 0 ? MATE - left : left - MATE) << start << " at ply " << ply;
            }
            ASSERT_NE(result.best, 0u) << start << " at ply " << ply;
            MakeMove(result.best);
        }
        EXPECT_TRUE(InCheck(SideToMove()) && LegalMoveList().empty()) << start << ": no mate after " << plies;
        if (::testing::Test::HasFailure()) return;
    }
}
