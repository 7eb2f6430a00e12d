// tablebase_generate_test.cpp - making tables: their moves, their longest mates, their checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include "board/position.h"
#include "tablebases/registry.h"
#include "tablebases/table_moves.h"
#include "tablebases/table_writer.h"
#include "tests/support/board_helpers.h"
#include "tests/support/table_checks.h"
#include "tests/support/table_folder.h"

namespace {

TableIndex Index(const std::string& name, Colour side) {
    TableMaterial material;
    TableIndex index;
    EXPECT_TRUE(ParseTableMaterial(name, &material) && BuildTableIndex(material, side, &index)) << name;
    return index;
}

// What a move leads to, as FEN without counters and en-passant square.
std::string Placement(const std::string& fen) { return fen.substr(0, fen.find(" -")); }

// The table's own moves against the engine's, in random positions of every kind of man.
TEST(TablebaseMoves, AreThoseOfTheEngine) {
    TestRandom random{3};
    int en_passant = 0, promotions = 0;
    for (const char* name : {"kqk", "krkb", "kqkn", "kpkp", "kppkp", "krpkp", "kbpkn", "kppkr"}) {
        for (const Colour side : {WHITE, BLACK}) {
            const TableIndex index = Index(name, side);
            for (int i = 0; i < 4000; ++i) {
                TablePosition position;
                // Every second from the slots of en passant.
                const uint64_t first = i % 2 == 0 && index.plain_slots < index.slots ? index.plain_slots : 0;
                const uint64_t slot = first + random.Next() % (index.slots - first);
                if (!PositionOfSlot(index, slot, &position) || !IsTablePosition(position)) continue;
                std::multiset<std::string> ours, engine;
                ForEachMove(position,
                            [&](const TablePosition& after, bool) { ours.insert(Placement(TableFen(after))); });
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
            }
        }
    }
    EXPECT_GT(en_passant, 1000);
    EXPECT_GT(promotions, 2000);
}

// Backwards is the reverse of forwards: whoever can be reached by a move finds his way back.
TEST(TablebaseMoves, BackwardsFindsEveryPositionThatMovesForwards) {
    TestRandom random{4};
    for (const char* name : {"krkb", "kpkp", "kppkp", "kqkp"}) {
        const TableIndex index = Index(name, WHITE);
        for (int i = 0; i < 2000; ++i) {
            TablePosition position;
            const uint64_t slot = random.Next() % index.slots;
            if (!PositionOfSlot(index, slot, &position) || !IsTablePosition(position)) continue;
            ForEachMove(position, [&](const TablePosition& after, bool conversion) {
                if (conversion) return;
                std::set<uint64_t> back;
                ForEachUnmove(after, [&](const TablePosition& before) { back.insert(SlotOf(index, before)); });
                EXPECT_TRUE(back.count(SlotOf(index, position))) << TableFen(position) << " to " << TableFen(after);
            });
        }
    }
}

TEST(TablebaseMoves, BackwardsFindsNothingElse) {
    TestRandom random{5};
    int en_passant = 0;
    for (const char* name : {"krkb", "kpkp", "kppkp", "krpkp"}) {
        for (const Colour side : {WHITE, BLACK}) {
            const TableIndex index = Index(name, side), before_index = Index(name, ChangeSide(side));
            for (int i = 0; i < 1000; ++i) {
                TablePosition position;
                const uint64_t first = i % 4 == 0 && index.plain_slots < index.slots ? index.plain_slots : 0;
                if (!PositionOfSlot(index, first + random.Next() % (index.slots - first), &position)
                    || !IsTablePosition(position))
                    continue;
                const uint64_t slot = SlotOf(index, position);
                ForEachUnmove(position, [&](const TablePosition& before) {
                    if (SlotOf(before_index, before) == NoSlot || !IsTablePosition(before)) return;
                    bool found = false;
                    ForEachMove(before, [&](const TablePosition& after, bool conversion) {
                        found |= !conversion && SlotOf(index, after) == slot;
                    });
                    EXPECT_TRUE(found) << TableFen(before) << " to " << TableFen(position);
                    en_passant += position.en_passant != NoEnPassant;
                });
            }
        }
    }
    EXPECT_GT(en_passant, 50);
}

// Longest mates with White to move: the figures that every endgame book gives.
TEST(TablebaseGenerator, ThreeMenTablesHaveTheKnownLongestMates) {
    const std::map<std::string, int> longest = {{"kqk", 10}, {"krk", 16}, {"kbk", 0}, {"knk", 0}, {"kpk", 28}};
    const TableFolder tables({"kpk", "kbk", "knk"});
    for (const auto& [name, moves] : longest) {
        TableStatistics statistics;
        std::string reason;
        EXPECT_TRUE(VerifyTable(tables.Job(), name, &statistics, &reason)) << reason;
        EXPECT_EQ(statistics.longest[WHITE], moves) << name;
        EXPECT_EQ(statistics.longest[BLACK], 0) << name;
    }
}

TEST(TablebaseGenerator, VerifyingFindsAWrongValue) {
    const TableFolder tables({"kqk"});
    TableStatistics statistics;
    std::string reason;
    const TableIndex index = Index("kqk", WHITE);
    TableContents contents;
    contents.material = "kqk";
    contents.side_to_move = WHITE;
    contents.slots = index.slots;
    std::vector<uint8_t> bytes(TableBlocks(index.slots) * TableBlock);
    TableFile file;
    ASSERT_TRUE(OpenTableFile(TablePath(tables.Job(), "kqk", WHITE), "kqk", WHITE, index.slots, &file, &reason));
    for (uint64_t block = 0; block < TableBlocks(index.slots); ++block)
        ASSERT_TRUE(ReadTableBlock(file, block, bytes.data() + block * TableBlock));
    contents.values = file.values;
    CloseTableFile(&file);
    uint64_t slot = 12345;
    TablePosition position;
    while (!PositionOfSlot(index, slot, &position) || !IsTablePosition(position)) ++slot;
    bytes[slot] = bytes[slot] == 0;
    contents.bytes = bytes.data();
    ASSERT_TRUE(WriteTableFile(TablePath(tables.Job(), "kqk", WHITE), contents, true, 1, &reason)) << reason;
    EXPECT_FALSE(VerifyTable(tables.Job(), "kqk", &statistics, &reason));
    EXPECT_NE(reason.find("kqk: "), std::string::npos) << reason;
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

TEST(TablebaseGenerator, AMaterialIsMadeWhenBothFilesAreWhole) {
    const TableFolder tables({"kqk"});
    EXPECT_TRUE(TableIsMade(tables.Job(), "kqk"));
    const std::string black = TablePath(tables.Job(), "kqk", BLACK), kept = tables.folder + "/kept";
    std::filesystem::copy_file(black, kept);
    std::filesystem::remove(black);
    EXPECT_FALSE(TableIsMade(tables.Job(), "kqk"));
    std::filesystem::copy_file(kept, black);
    EXPECT_TRUE(TableIsMade(tables.Job(), "kqk"));
    // A bit of the last block: the head is as it was.
    std::fstream(black, std::ios::binary | std::ios::in | std::ios::out).seekp(-1, std::ios::end).put('\x5a');
    EXPECT_FALSE(TableIsMade(tables.Job(), "kqk"));
    EXPECT_EQ(ForeignTable(tables.Job(), "kqk"), "");
    std::ofstream(black, std::ios::binary) << "somebody else's";
    EXPECT_EQ(ForeignTable(tables.Job(), "kqk"), black);
}

// Plain files hold the same, and another folder's tables are not taken for this one's.
TEST(TablebaseGenerator, PlainFilesAndFolders) {
    TableJob job;
    job.folder = TemporaryPath("-plain");
    job.packed = false;
    std::filesystem::remove_all(job.folder);
    std::filesystem::create_directories(job.folder);
    TableStatistics statistics;
    std::string reason;
    for (const std::string& name : TablesToMake({"kpk"}))
        EXPECT_TRUE(MakeTable(job, name, &statistics, &reason)) << reason;
    EXPECT_TRUE(VerifyTable(job, "kpk", &statistics, &reason)) << reason;
    EXPECT_EQ(statistics.longest[WHITE], 28);
    std::filesystem::remove_all(job.folder);
    job.folder = TemporaryPath("-empty");
    std::filesystem::create_directories(job.folder);
    EXPECT_FALSE(MakeTable(job, "kpk", &statistics, &reason));
    std::filesystem::remove_all(job.folder);
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
    EXPECT_LT(place("krkp"), place("krpkr"));
    EXPECT_LT(place("kqkr"), place("krkp"));
    TableStatistics statistics;
    std::string reason;
    TableJob job;
    job.folder = TemporaryPath("-empty");
    std::filesystem::create_directories(job.folder);
    EXPECT_FALSE(MakeTable(job, "kpk", &statistics, &reason));
    EXPECT_NE(reason.find("kqk"), std::string::npos) << reason;
    std::filesystem::remove_all(job.folder);
}

TEST(TablebaseGenerator, KnownDistances) {
    const TableFolder tables({"kpk", "krrk"});
    TableStatistics statistics;
    std::string reason;
    EXPECT_TRUE(VerifyTable(tables.Job(), "krrk", &statistics, &reason)) << reason;
    UseTables(tables);
    EXPECT_EQ(CheckKnownDistances({"kqk", "krk", "kpk", "krrk"}), 4);
    RegisterTablebases("");
}

}  // namespace
