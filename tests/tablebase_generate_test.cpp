// tablebase_generate_test.cpp - making tables: their moves, their longest mates, their checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "board/position.h"
#include "tablebases/loaded_tables.h"
#include "tablebases/table_moves.h"
#include "tablebases/table_writer.h"
#include "tests/support/board_helpers.h"
#include "tests/support/table_checks.h"
#include "tests/support/table_folder.h"

namespace {

// What a move leads to, as FEN without counters and en-passant square.
std::string Placement(const std::string& fen) { return fen.substr(0, fen.find(" -")); }

// Calls visit(index, position) for random positions of these materials, either side to move.
template <typename Visit>
void ForRandomPositions(const std::initializer_list<const char*>& names, int tries, Visit visit) {
    TestRandom random{3};
    for (const char* name : names) {
        for (const Colour side : {WHITE, BLACK}) {
            const TableIndex index = IndexOf(name, side);
            TablePosition position;
            for (int i = 0; i < tries; ++i)
                if (RandomTablePosition(index, random, &position)) visit(index, position);
        }
    }
}

TEST(TablebaseMoves, AreThoseOfTheEngine) {
    int en_passant = 0, promotions = 0;
    const auto compare = [&](const TableIndex&, const TablePosition& position) {
        std::multiset<std::string> ours, engine;
        ForEachMove(position, [&](const TablePosition& after, bool) { ours.insert(Placement(TableFen(after))); });
        const std::string fen = TableFen(position);
        SetFen(fen.c_str());
        ASSERT_TRUE(IsPlayable()) << fen;
        for (const Move m : LegalMoveList()) {
            en_passant += IsEnPassant(m);
            promotions += MovePromotion(m) != EMPTY;
            MakeMove(m);
            engine.insert(Placement(WriteFen()));
            UnmakeMove();
        }
        EXPECT_EQ(ours, engine) << fen;
    };
    ForRandomPositions({"kqk", "krkb", "kqkn", "kpkp", "kppkp", "krpkp", "kbpkn", "kppkr"}, 4000, compare);
    EXPECT_GT(en_passant, 1000);
    EXPECT_GT(promotions, 2000);
}

// Backwards is the reverse of forwards: it finds every position from which a move leads here, and no other.
TEST(TablebaseMoves, BackwardsIsTheReverseOfForwards) {
    int en_passant = 0;
    const auto leads = [](const TablePosition& before, const TableIndex& index, uint64_t slot) {
        bool found = false;
        ForEachMove(before, [&](const TablePosition& after, bool conversion) {
            found |= !conversion && SlotOf(index, after) == slot;
        });
        return found;
    };
    const auto compare = [&](const TableIndex& index, const TablePosition& position) {
        const TableIndex other_index = IndexOf(TableMaterialName(index.material), ChangeSide(index.side_to_move));
        const uint64_t slot = SlotOf(index, position);
        ForEachMove(position, [&](const TablePosition& after, bool conversion) {
            if (conversion) return;
            std::set<uint64_t> back;
            ForEachUnmove(after, [&](const TablePosition& before) { back.insert(SlotOf(index, before)); });
            EXPECT_TRUE(back.count(slot)) << TableFen(position) << " to " << TableFen(after);
        });
        ForEachUnmove(position, [&](const TablePosition& before) {
            if (SlotOf(other_index, before) == NoSlot || !IsTablePosition(before)) return;
            EXPECT_TRUE(leads(before, index, slot)) << TableFen(before) << " to " << TableFen(position);
            en_passant += position.en_passant != NoEnPassant;
        });
    };
    ForRandomPositions({"krkb", "kpkp", "kppkp", "kqkp", "krpkp"}, 2000, compare);
    EXPECT_GT(en_passant, 50);
}

// Longest mates are the figures that every endgame book gives.
TEST(TablebaseGenerator, LongestMatesAndKnownDistances) {
    const TableFolder tables({"kpk", "kbk", "knk", "krrk"});
    CheckLongestMates(tables, {{"kqk", 10}, {"krk", 16}, {"kbk", 0}, {"knk", 0}, {"kpk", 28}, {"krrk", 7}});
    UseTables(tables);
    EXPECT_EQ(CheckKnownDistances(), 4);
    RegisterTablebases("");
}

TEST(TablebaseGenerator, FindsWrongValuesAndWhatIsMissing) {
    const TableFolder tables({"kqk"});
    const std::string white = TablePath(tables.Job(), "kqk", WHITE), black = TablePath(tables.Job(), "kqk", BLACK);
    EXPECT_TRUE(TableIsMade(tables.Job(), "kqk"));
    LoadedTable table;
    std::string reason;
    ASSERT_TRUE(LoadTable(tables.folder, "kqk", &table, &reason)) << reason;
    const TableIndex& index = table.index[WHITE];
    uint64_t slot = 12345;
    TablePosition position;
    while (!PositionOfSlot(index, slot, &position) || !IsTablePosition(position)) ++slot;
    uint8_t* const bytes = table.bytes[WHITE].get();
    bytes[slot] = bytes[slot] == 0;
    const TableContents contents = {"kqk", WHITE, table.values[WHITE], bytes, index.slots};
    ASSERT_TRUE(WriteTableFile(white, contents, true, 1, &reason)) << reason;
    EXPECT_TRUE(TableIsMade(tables.Job(), "kqk"));
    TableStatistics statistics;
    EXPECT_FALSE(VerifyTable(tables.Job(), "kqk", &statistics, &reason));
    EXPECT_NE(reason.find("kqk: "), std::string::npos) << reason;

    // A bit of the last block: the head is as it was.
    std::fstream(black, std::ios::binary | std::ios::in | std::ios::out).seekp(-1, std::ios::end).put('\x5a');
    EXPECT_FALSE(TableIsMade(tables.Job(), "kqk"));
    EXPECT_EQ(ForeignTable(tables.Job(), "kqk"), "");
    std::ofstream(black, std::ios::binary) << "somebody else's";
    EXPECT_EQ(ForeignTable(tables.Job(), "kqk"), black);
    std::filesystem::remove(black);
    EXPECT_FALSE(TableIsMade(tables.Job(), "kqk"));
}

// The page on the format shows the first bytes of a file, 16 a line behind their place.
TEST(TablebaseGenerator, TheWorkedExampleIsTrue) {
    const TableFolder tables({"kqk"});
    std::ifstream file(TablePath(tables.Job(), "kqk", WHITE), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::ifstream page(CORVANTIS_SOURCE_DIR "/doc/tablebases.md");
    int lines = 0;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("    " + std::to_string(lines) + "0  ", 0) != 0) continue;
        std::istringstream words(line.substr(8));
        for (int i = 0, byte; i < 16; ++i) {
            ASSERT_TRUE(words >> std::hex >> byte) << line;
            EXPECT_EQ(byte, uint8_t(bytes.at(size_t(16 * lines + i)))) << line;
        }
        ++lines;
    }
    EXPECT_EQ(lines, 5);
}

// Plain files hold the same, and another folder's tables are not taken for this one's.
TEST(TablebaseGenerator, PlainFilesAndFolders) {
    const TableFolder empty({});
    TableJob job = empty.Job();
    job.packed = false;
    TableStatistics statistics;
    std::string reason;
    for (const std::string& name : TablesToMake({"kpk"}))
        EXPECT_TRUE(MakeTable(job, name, &statistics, &reason)) << reason;
    EXPECT_TRUE(VerifyTable(job, "kpk", &statistics, &reason)) << reason;
    EXPECT_EQ(statistics.longest[WHITE], 28);
    job.folder += "/other";
    std::filesystem::create_directories(job.folder);
    EXPECT_FALSE(MakeTable(job, "kpk", &statistics, &reason));
    EXPECT_NE(reason.find("kqk"), std::string::npos) << reason;
}

TEST(TablebaseGenerator, OrderAndNamesOfWhatIsMade) {
    EXPECT_EQ(AllMaterials(3).size(), 5u);
    EXPECT_EQ(AllMaterials(4).size(), 30u);
    EXPECT_EQ(AllMaterials(5).size(), 110u);
    const std::vector<std::string> order = TablesToMake({"krpkr"});
    const auto place = [&](const char* name) { return std::find(order.begin(), order.end(), name) - order.begin(); };
    EXPECT_EQ(order.back(), "krpkr");
    // Promotions, captures, and promotions by capture.
    for (const char* below : {"kqrkr", "krbkr", "krkr", "krkp", "krpk", "kqrk"})
        EXPECT_LT(place(below), place("krpkr")) << below;
    EXPECT_LT(place("kqkr"), place("krkp"));
}

}  // namespace
