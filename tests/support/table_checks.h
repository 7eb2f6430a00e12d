// table_checks.h - what tests ask of made tables through the engine.
#pragma once

#include <fstream>
#include <set>
#include <sstream>
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

inline void UseTables(const TableFolder& tables) {
    testing::internal::CaptureStdout();
    RegisterTablebases(tables.folder.c_str());
    AllocateTablebaseCache(1 << 20);
    testing::internal::GetCapturedStdout();
}

// Positions with known distances, asked of the engine. Those of the named materials only.
inline int CheckKnownDistances(const std::set<std::string>& materials) {
    std::ifstream file(CORVANTIS_SOURCE_DIR "/tests/data/endgame_dtm.epd");
    int checked = 0;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string board, side, castling, en_passant, dm;
        int distance = 0;
        words >> board >> side >> castling >> en_passant >> dm >> distance;
        SetFen((board + " " + side + " - - 0 1").c_str());
        TableMaterial material = {};
        for (int c = 0; c < 2; ++c)
            for (int t = 0; t < TableTypes; ++t)
                material.count[c][t] = uint8_t(thread_board.PieceCount[TableType[t]][c]);
        OrientMaterial(&material);
        if (!materials.count(TableMaterialName(material))) continue;
        int score = 0;
        EXPECT_TRUE(ProbeTablebase(&score)) << line;
        EXPECT_EQ(score, distance > 0 ? MATE - 2 * distance : -MATE - 2 * distance) << line;
        ++checked;
    }
    return checked;
}

// Games from `count` random won positions of a material, both sides played by the search with
// 10 ms a move: every move must keep to the distance in the tables, until the mate.
inline void PlayWonPositions(const char* name, int count) {
    TestRandom random{9};
    TableMaterial material;
    TableIndex index;
    ASSERT_TRUE(ParseTableMaterial(name, &material) && BuildTableIndex(material, WHITE, &index));
    for (int played = 0; played < count;) {
        TablePosition position;
        if (!PositionOfSlot(index, random.Next() % index.slots, &position) || !IsTablePosition(position)) continue;
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
