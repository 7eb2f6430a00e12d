// search_transposition_test.cpp - what the table keeps, gives back and throws out.
//
// A table of one entry has a single bucket, so that replacement can be watched: every
// position lands in the same four slots.
#include <gtest/gtest.h>

#include "board/ordering_data.h"
#include "search/transposition.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"

namespace {

constexpr int NoPly = 0;

struct TranspositionTest : ::testing::Test {
    void SetUp() override {
        ResetEngine();
        AllocateTable(1024);
    }
    void TearDown() override { AllocateTable(524288); }
};

TableProbe Probe(int alpha, int beta, int depth, int ply = NoPly, bool cutoffs = true) {
    TableProbe probe;
    ProbeMain(probe, alpha, beta, depth, ply, cutoffs);
    return probe;
}

// Positions that differ, one legal first move each.
const char* const first_moves[] = {"a2a3", "b2b3", "c2c3", "d2d3", "e2e3", "f2f3"};

void SetUpAfter(const char* move) {
    SetInitialPosition();
    MakeMove(ParseCoordinate(move));
}

void StoreAfter(const char* move, int depth, int score) {
    SetUpAfter(move);
    StoreTable(depth, 0, score, BoundExact, 0, 0, NoPly);
}

bool KnownAfter(const char* move) {
    SetUpAfter(move);
    return PeekTable() != nullptr;
}

TEST_F(TranspositionTest, GivesBackWhatWasStored) {
    const Move move = ParseCoordinate("g1f3");
    StoreTable(24, move, -57, BoundLower, 1, FlagNoCaptures, NoPly);
    const TableProbe probe = Probe(-100, 100, 20);
    EXPECT_TRUE(probe.hit);
    EXPECT_EQ(probe.move, move);
    EXPECT_EQ(probe.score, -57);
    EXPECT_EQ(probe.depth, 24);
    EXPECT_EQ(probe.bound, BoundLower);
    EXPECT_EQ(probe.flags, FlagNoCaptures);
    EXPECT_TRUE(probe.node_mark);
}

// Asked for 16 quarter plies within 0 and 50.
TEST_F(TranspositionTest, CutsOffOnlyWhereTheBoundProvesIt) {
    constexpr int alpha = 0, beta = 50, wanted = 16;
    const struct {
        const char* why;
        int depth, bound, score;
        bool cutoff, null_forbidden, singular;
    } cases[] = {
        {"exact and deep enough", 16, BoundExact, 10, true, true, true},
        {"exact but too shallow by a quarter ply", 15, BoundExact, 10, false, true, true},
        {"too shallow even to single a move out", 7, BoundExact, 10, false, true, false},
        {"upper bound at alpha", 16, BoundUpper, 0, true, true, false},
        {"upper bound inside the window", 16, BoundUpper, 20, false, true, false},
        {"upper bound above beta forbids nothing", 16, BoundUpper, 60, false, false, false},
        {"lower bound at beta", 16, BoundLower, 50, true, false, true},
        {"lower bound inside the window", 16, BoundLower, 20, false, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        ClearTable();
        StoreTable(c.depth, 0, c.score, c.bound, 0, 0, NoPly);
        const TableProbe probe = Probe(alpha, beta, wanted);
        EXPECT_EQ(probe.cutoff, c.cutoff);
        EXPECT_EQ(probe.value, c.cutoff ? c.score : 0);
        EXPECT_EQ(probe.null_forbidden, c.null_forbidden);
        EXPECT_EQ(probe.singular_mark, c.singular);
        EXPECT_FALSE(Probe(alpha, beta, wanted, NoPly, false).cutoff) << "cut-offs were not allowed";
        for (const bool allowed : {true, false}) {
            TableProbe quiescence;
            ProbeQuiescence(quiescence, alpha, beta, NoPly, allowed);
            EXPECT_TRUE(quiescence.hit);
            EXPECT_EQ(quiescence.cutoff, allowed && (c.cutoff || c.depth < wanted)) << "compares no depth";
        }
    }
}

TEST_F(TranspositionTest, WhatMakesPositionsDiffer) {
    const struct {
        const char *why, *stored, *probed;
        bool hit;
    } cases[] = {
        {"the other side to move", "4k3/8/8/8/8/8/8/4K3 w - -", "4k3/8/8/8/8/8/8/4K3 b - -", false},
        {"en passant that nobody can play", "4k3/8/8/8/4P3/8/8/4K3 b - e3", "4k3/8/8/8/4P3/8/8/4K3 b - -", true},
        {"en passant", "4k3/8/8/8/3pP3/8/8/4K3 b - e3", "4k3/8/8/8/3pP3/8/8/4K3 b - -", false},
    };
    for (const auto& c : cases) {
        SetFen(c.stored);
        StoreTable(8, 0, 1, BoundExact, 0, 0, NoPly);
        SetFen(c.probed);
        EXPECT_EQ(Probe(-10, 10, 4).hit, c.hit) << c.why;
    }
}

// Mate in 7 plies from the root, found at ply 5, is mate in 2 plies from the node.
TEST_F(TranspositionTest, MateDistancesMoveWithThePly) {
    const struct {
        int score, bound, stored, at_ply_3;
    } cases[] = {
        {MATE - 7, BoundExact, MATE - 2, MATE - 5},
        {7 - MATE, BoundExact, 2 - MATE, 5 - MATE},
        {MATE - 7, BoundLower, MateBound, MateBound},  // a bound carries no mate distance
        {7 - MATE, BoundUpper, -MateBound, -MateBound},
    };
    for (const auto& c : cases) {
        ClearTable();
        StoreTable(8, 0, c.score, c.bound, 0, 0, 5);
        EXPECT_EQ(PeekTable()->score, c.stored);
        EXPECT_EQ(Probe(-10, 10, 4, 3).value, c.at_ply_3);
    }
}

TEST_F(TranspositionTest, ShallowerResultOfTheSamePositionOnlyAddsFlags) {
    const Move deep = ParseCoordinate("e2e4"), shallow = ParseCoordinate("a2a3");
    StoreTable(20, deep, 30, BoundExact, 0, FlagNoCaptures, NoPly);
    AgeTable(1);
    StoreTable(16, shallow, -30, BoundExact, 0, FlagNoQuietChecks, NoPly);
    const TableEntry* const entry = PeekTable();
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->packed & 0x1FFFFF, deep);
    EXPECT_EQ(entry->score, 30);
    EXPECT_EQ(entry->flags, FlagNoCaptures | FlagNoQuietChecks);
    EXPECT_EQ(entry->age, table_generation);
    StoreTable(20, shallow, -30, BoundExact, 0, 0, NoPly);
    EXPECT_EQ(PeekTable()->score, -30) << "equal depth replaces";
    EXPECT_EQ(PeekTable()->flags, FlagNoCaptures | FlagNoQuietChecks) << "facts stay";
}

TEST_F(TranspositionTest, FullBucketGivesUpItsShallowestOrOldest) {
    AllocateTable(1);
    for (int i = 0; i < 4; ++i) StoreAfter(first_moves[i], 40 + 4 * i, i);
    StoreAfter(first_moves[4], 20, 4);
    EXPECT_FALSE(KnownAfter(first_moves[4])) << "a shallow result must not evict a deeper current one";
    StoreAfter(first_moves[4], 60, 4);
    EXPECT_TRUE(KnownAfter(first_moves[4]));
    EXPECT_FALSE(KnownAfter(first_moves[0])) << "the shallowest goes";

    // After ageing, a probe renews one entry; the next victim is an old one however deep.
    AgeTable(1);
    SetUpAfter(first_moves[1]);
    Probe(-10, 10, 4);
    StoreAfter(first_moves[5], 4, 5);
    EXPECT_TRUE(KnownAfter(first_moves[5]));
    EXPECT_TRUE(KnownAfter(first_moves[1]));
    EXPECT_FALSE(KnownAfter(first_moves[2])) << "the shallowest of the old ones goes";
}

TEST_F(TranspositionTest, HashFullCountsSlotsTakenBySearch) {
    AllocateTable(1000);
    writes_this_search = 0;
    EXPECT_EQ(HashFull(), 0);
    for (int i = 0; i < 3; ++i) StoreAfter(first_moves[i], 8, 0);
    EXPECT_EQ(HashFull(), 3);
    StoreAfter(first_moves[0], 12, 0);
    EXPECT_EQ(HashFull(), 3) << "a refresh takes no new slot";
}

TEST_F(TranspositionTest, SizeZeroSwitchesTheTableOff) {
    ASSERT_TRUE(AllocateTable(0));
    StoreTable(8, 0, 1, BoundExact, 0, 0, NoPly);
    EXPECT_FALSE(Probe(-10, 10, 4).hit);
    EXPECT_EQ(HashFull(), 0);
    ClearTable();
    PrefetchTable(PositionKey(), WHITE);
}

// Random games through tables of odd sizes: what was stored last for a position is found
// until something else takes its slot, and then it is another position's entry, never a
// wrong one. The last bucket runs over the end, which the sanitizers watch.
TEST_F(TranspositionTest, NeverGivesAnotherPositionsEntry) {
    TestRandom random{2024};
    for (const uint32_t size : {1u, 2u, 3u, 1021u, 4096u}) {
        AllocateTable(size);
        for (int game = 0; game < 20; ++game) {
            SetInitialPosition();
            RandomGame(random, 80, [&](const MoveList&) {
                const int mark = int(PositionKey() >> 40 & 1023) + 2 * SideToMove();
                const TableEntry* const entry = PeekTable();
                EXPECT_EQ(entry != nullptr ? entry->score : mark, mark);
                StoreTable(4, 0, mark, BoundExact, 0, 0, NoPly);
            });
        }
    }
}

}  // namespace
