// tablebase_index_test.cpp - slots of table positions.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <tuple>

#include "tablebases/generate.h"
#include "tablebases/table_index.h"
#include "tests/support/table_checks.h"

namespace {

TEST(TablebaseIndex, SlotsAreAsManyAsInThePublishedTables) {
    const std::tuple<const char*, uint64_t, uint64_t> published[] = {
        {"kqk", 25635, 28644},      {"krk", 27036, 28644},
        {"kbk", 27243, 28644},      {"knk", 26282, 28644},
        {"kpk", 81664, 86688},      {"kqkr", 1563735, 1649196},
        {"krkb", 1649196, 1661823}, {"kbkn", 1661823, 1603202},
        {"kqqk", 699072, 873642},   {"kbnk", 1550621, 1747284},
        {"kppk", 1806671, 2037168}, {"krpk", 4779624, 5287968},
        {"krkp", 5072832, 4981504}, {"kpkp", 3838208 + 25284, 3838208 + 25284},
    };
    for (const auto& [name, white, black] : published) {
        EXPECT_EQ(IndexOf(name, WHITE).slots, white) << name;
        EXPECT_EQ(IndexOf(name, BLACK).slots, black) << name;
    }
}

// Every slot's position has that slot, or another one that stands for the same position: where two
// pawns can capture the same one.
TEST(TablebaseIndex, PositionsAndSlotsBelongTogether) {
    TestRandom random{1};
    for (const char* name :
         {"kqk", "kpk", "kbnk", "kqqk", "kpkp", "kqkp", "kqqqk", "krpkr", "kppkp", "krpkp", "kppkr"}) {
        for (const Colour side : {WHITE, BLACK}) {
            const TableIndex index = IndexOf(name, side);
            const uint64_t tries = std::min<uint64_t>(index.slots, 100000);
            uint64_t placed = 0, other = 0;
            for (uint64_t i = 0; i < tries; ++i) {
                const uint64_t slot = tries == index.slots ? i : random.Next() % index.slots;
                TablePosition position, again;
                if (!PositionOfSlot(index, slot, &position)) continue;
                const uint64_t back = SlotOf(index, position);
                if (back == NoSlot) continue;
                ++placed;
                if (back == slot) continue;
                ++other;
                ASSERT_TRUE(PositionOfSlot(index, back, &again));
                EXPECT_NE(position.en_passant, NoEnPassant) << name << ' ' << slot;
                EXPECT_EQ(again.en_passant, position.en_passant);
                EXPECT_EQ(SlotOf(index, again), back);
            }
            EXPECT_GT(placed, tries * 8 / 10) << name;
            EXPECT_LT(other, tries / 50) << name;
        }
    }
}

// A symmetry of the board that the material allows leads to the same slot or its mirror slot.
TEST(TablebaseIndex, SymmetricPositionsShareASlot) {
    TestRandom random{2};
    for (const char* name : {"kbnk", "krkb", "kqqk", "krpkp", "kppk"}) {
        const TableIndex index = IndexOf(name, BLACK);
        for (int i = 0; i < 20000; ++i) {
            TablePosition position;
            if (!PositionOfSlot(index, random.Next() % index.slots, &position)) continue;
            const uint64_t slot = SlotOf(index, position);
            const int symmetry = index.pawns ? 1 : random.Below(8);
            const auto turn = [&](auto& square) {
                int file = square & 7, rank = square >> 3;
                if (symmetry & 1) file = 7 - file;
                if (symmetry & 2) rank = 7 - rank;
                if (symmetry & 4) std::swap(file, rank);
                square = uint8_t(rank * 8 + file);
            };
            TablePosition turned = position;
            for (int side = 0; side < 2; ++side) {
                turn(turned.king[side]);
                for (int k = 0; k < position.men[side]; ++k) turn(turned.square[side][k]);
            }
            if (position.en_passant != NoEnPassant) turn(turned.en_passant);
            const uint64_t other = SlotOf(index, turned);
            EXPECT_TRUE(other == slot || other == MirrorSlot(index, position, slot)) << name << ' ' << slot;
        }
    }
}

TEST(TablebaseIndex, NamesAreReadInTheOrientationOfTheTablesOnly) {
    TableMaterial material;
    std::set<std::pair<int, int>> codes;
    size_t names = 0;
    for (const int men : {3, 4, 5, 6}) {
        for (const std::string& name : AllMaterials(men)) {
            EXPECT_TRUE(ParseTableMaterial(name, &material)) << name;
            EXPECT_EQ(TableMaterialName(material), name);
            const int white = SideCode(material.count[WHITE]), black = SideCode(material.count[BLACK]);
            EXPECT_TRUE(white >= 0 && white < SideCodes && black >= 0 && black < SideCodes) << name;
            codes.insert({white, black});
            ++names;
        }
    }
    EXPECT_EQ(codes.size(), names);
    EXPECT_EQ(names, 5u + 30u + 110u + 365u);
    for (const char* name :
         {"", "k", "kk", "kkq", "knbk", "kbkr", "kqkqk", "kqxk", "qkk", "KQK", "krpppkr", "kqk ", "kpkn"})
        EXPECT_FALSE(ParseTableMaterial(name, &material)) << name;
}

}  // namespace
