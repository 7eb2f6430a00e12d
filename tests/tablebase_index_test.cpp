// tablebase_index_test.cpp - slots of table positions.
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <tuple>

#include "tablebases/table_index.h"

namespace {

TableMaterial Material(const std::string& name) {
    TableMaterial material;
    EXPECT_TRUE(ParseTableMaterial(name, &material)) << name;
    return material;
}

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
        TableIndex index;
        ASSERT_TRUE(BuildTableIndex(Material(name), WHITE, &index));
        EXPECT_EQ(index.slots, white) << name;
        ASSERT_TRUE(BuildTableIndex(Material(name), BLACK, &index));
        EXPECT_EQ(index.slots, black) << name;
    }
}

// Every slot's position has that slot, or another one that stands for the same position.
TEST(TablebaseIndex, PositionsAndSlotsBelongTogether) {
    std::mt19937_64 random(1);
    for (const char* name :
         {"kqk", "kpk", "kbnk", "kqqk", "kpkp", "kqkp", "kqqqk", "krpkr", "kppkp", "krpkp", "kppkr"}) {
        for (const Colour side : {WHITE, BLACK}) {
            TableIndex index;
            ASSERT_TRUE(BuildTableIndex(Material(name), side, &index));
            const uint64_t tries = index.slots < 100000 ? index.slots : 100000;
            uint64_t placed = 0, other = 0;
            for (uint64_t i = 0; i < tries; ++i) {
                const uint64_t slot = tries == index.slots ? i : random() % index.slots;
                TablePosition position;
                if (!PositionOfSlot(index, slot, &position)) continue;
                const uint64_t back = SlotOf(index, position);
                if (back == NoSlot) continue;
                ++placed;
                if (back == slot) continue;
                // Two pawns that can capture the same one.
                ++other;
                TablePosition again;
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
    std::mt19937_64 random(2);
    for (const char* name : {"kbnk", "krkb", "kqqk", "krpkp", "kppk"}) {
        TableIndex index;
        ASSERT_TRUE(BuildTableIndex(Material(name), BLACK, &index));
        for (int i = 0; i < 20000; ++i) {
            TablePosition position, turned;
            if (!PositionOfSlot(index, random() % index.slots, &position)) continue;
            const uint64_t slot = SlotOf(index, position);
            const int symmetry = index.pawns ? 1 : int(random() % 8);
            const auto turn = [&](int square) {
                int file = square & 7, rank = square >> 3;
                if (symmetry & 1) file = 7 - file;
                if (symmetry & 2) rank = 7 - rank;
                return symmetry & 4 ? file * 8 + rank : rank * 8 + file;
            };
            turned = position;
            for (int side = 0; side < 2; ++side) {
                turned.king[side] = uint8_t(turn(position.king[side]));
                for (int k = 0; k < position.men[side]; ++k)
                    turned.square[side][k] = uint8_t(turn(position.square[side][k]));
            }
            if (position.en_passant != NoEnPassant) turned.en_passant = turn(position.en_passant);
            const uint64_t other = SlotOf(index, turned);
            EXPECT_TRUE(other == slot || other == MirrorSlot(index, position, slot)) << name << ' ' << slot;
        }
    }
}

TEST(TablebaseIndex, NamesAreReadInTheOrientationOfTheTablesOnly) {
    for (const char* name : {"kqk", "kbnk", "krkn", "kpkp", "krppkr", "kqqkpp", "kqnkrr"}) {
        TableMaterial material;
        EXPECT_TRUE(ParseTableMaterial(name, &material)) << name;
        EXPECT_EQ(TableMaterialName(material), name);
    }
    for (const char* name :
         {"", "k", "kk", "kkq", "knbk", "kbkr", "kqkqk", "kqxk", "qkk", "KQK", "krpppkr", "kqk ", "kpkn"}) {
        TableMaterial material;
        EXPECT_FALSE(ParseTableMaterial(name, &material)) << name;
    }
    std::set<int> codes;
    for (int n = 0; n < 3125; ++n) {
        const uint8_t count[5] = {uint8_t(n % 5), uint8_t(n / 5 % 5), uint8_t(n / 25 % 5), uint8_t(n / 125 % 5),
                                  uint8_t(n / 625)};
        if (count[0] + count[1] + count[2] + count[3] + count[4] > 4) continue;
        const int code = SideCode(count);
        EXPECT_TRUE(code >= 0 && code < SideCodes && codes.insert(code).second) << n;
    }
    EXPECT_EQ(codes.size(), size_t(SideCodes));
}

}  // namespace
