// eval_material_test.cpp - the material table, phases, ENDING flags and imbalance.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "board/material_index.h"
#include "eval/eval_info.h"
#include "eval/material.h"
#include "tests/support/engine_environment.h"
#include "tests/support/eval_helpers.h"

namespace {

class Material : public testing::Test {
protected:
    void TearDown() override { ResetEngine(); }
};

// The table is filled by counters, the direct path reads the board's counts: both must
// agree on which signature is which.
TEST_F(Material, TableEqualsDirectPathForEverySignature) {
    auto& n = thread_board.PieceCount;
    for (int signature = 0; signature < MaterialSignatures; ++signature) {
        int rest = signature;
        for (const int type : {QUEEN, ROOK, BISHOP, KNIGHT})
            for (int c = 0; c < 2; ++c, rest /= 3) n[type][c] = rest % 3;
        for (int c = 0; c < 2; ++c, rest /= 9) n[PAWN][c] = rest % 9;
        const MaterialRecord direct = ComputeMaterialRecord();
        ASSERT_EQ(std::memcmp(&direct, &MaterialRecordOf(signature), sizeof direct), 0) << signature;
    }
}

struct PhaseCase {
    const char *why, *fen;
    int white, black, common;
    int ending_white, ending_black;
};
const PhaseCase phase_cases[] = {
    {"start position", StartFen, 0, 0, 0, 0, 0},
    {"bare kings", "4k3/8/8/8/8/8/8/4K3 w - -", 256, 256, 256, 1, 1},
    {"one minor off: half a step of both", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/R1BQKBNR w - -", 21, 0, 11, 0, 0},
    {"promoted men: not below zero", "rnbqkbnr/pppp4/8/8/8/8/4PPPP/RNBQKBNQ w - -", 0, 0, 0, 0, 0},
    {"a queen, 9 units: the other king is free", "3qk3/8/8/8/8/8/8/3QK2R w - -", 128, 171, 149, 1, 0},
    {"14 units without a queen", "r1b1k1n1/8/8/8/8/8/8/3QK3 w - -", 171, 171, 171, 1, 1},
    {"15 units without a queen", "r2rk2r/8/8/8/8/8/8/4K2Q w - -", 171, 128, 149, 0, 1},
};

TEST_F(Material, PhasesAndEndingFlags) {
    for (const PhaseCase& c : phase_cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);  // runs the set-up hook
        EXPECT_EQ(thread_eval_info.phase[WHITE], c.white);
        EXPECT_EQ(thread_eval_info.phase[BLACK], c.black);
        EXPECT_EQ(Ending(WHITE), c.ending_white);
        EXPECT_EQ(Ending(BLACK), c.ending_black);
        FreshScore();
        EXPECT_EQ(thread_eval_info.current_phase, c.common);
        EXPECT_EQ(thread_eval_info.ending[WHITE], c.ending_white);
        EXPECT_EQ(thread_eval_info.ending[BLACK], c.ending_black);
    }
}

// The clock spends more while there is more to decide, and always more than neutral.
TEST_F(Material, TimeFactorFallsWithTheMen) {
    int last = INT16_MAX;
    for (const char* fen :
         {StartFen, "rnb1kbnr/pppppppp/8/8/8/8/PPPPPPPP/RNB1KBNR w - -", "4k2r/pppp4/8/8/8/8/PPPP4/4K2R w - -",
          "4k2r/ppp5/8/8/8/8/PPP5/4K2R w - -", "4k3/8/8/8/8/8/8/4K3 w - -"}) {
        SetFen(fen);
        const int factor = ComputeMaterialRecord().time_factor;
        EXPECT_LT(factor, last) << fen;
        EXPECT_GT(factor, 256) << fen;
        last = factor;
    }
}

struct ImbalanceCase {
    const char *why, *fen;
    int white;  // White's advantage in centipawns, worked out by hand
};
const ImbalanceCase imbalance_cases[] = {
    {"a queen more: 900 + 120", "rnb1kbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w - -", 1020},
    {"rook for knight: 200 + 30 - 15, being among sixteen pawns", "1nbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/R1BQKBNR w - -",
     215},
    {"two minors for a rook: 100 + 120 + 15", "r1bqk1nr/pppppppp/8/8/8/8/PPPPPPPP/1NBQKBNR w - -", 235},
    {"bare two minors against a rook: 100 + (90 - 15) / 4", "4k2r/8/8/8/8/8/8/2B1K1N1 w - -", 118},
    {"a lone minor with three pawns: 300 + 110", "4k3/ppp5/8/8/8/8/PPP5/2B1K3 w - -", 410},
    {"the same with one pawn each: 300 + 60 / 2", "4k3/p7/8/8/8/8/P7/2B1K3 w - -", 330},
    {"two pawns: 300 + 100 * 4 / 5", "4k3/pp6/8/8/8/8/PP6/2B1K3 w - -", 380},
    {"queen for two rooks: -100 + 60 + 2 * 15", "r3k2r/pppppppp/8/8/8/8/PPPPPPPP/3QK3 w - -", -10},
    {"queen and knight beat queen and bishop", "2bqk3/pppp4/8/8/8/8/PPPP4/3QK1N1 w - -", 15},
    {"no pawns, no such bonus", "2bqk3/8/8/8/8/8/8/3QK1N1 w - -", 0},
    {"Black's knight counts for both", "3qk1n1/pppp4/8/8/8/8/PPPP4/2BQK3 w - -", -15},
    {"rook and bishop beat rook and knight", "r3k1n1/pppp4/8/8/8/8/PPPP4/R1B1K3 w - -", 15},
    {"queen for rook and minor: 100 + 30 + 30 - 1", "r1b1k3/pppp4/8/8/8/8/PPPP4/3QK3 w - -", 159},
};

TEST_F(Material, ImbalanceByHandAndMirrored) {
    for (const ImbalanceCase& c : imbalance_cases) {
        SCOPED_TRACE(c.why);
        SetFen(c.fen);
        EXPECT_EQ(-EvaluateMaterial(), c.white);
        FreshScore();
        EXPECT_EQ(-evaluation_material, c.white);
        if (!MirrorsExactly()) continue;
        SetFen(ColourFlipped(WriteFen()).c_str());
        EXPECT_EQ(EvaluateMaterial(), c.white);
    }
}

TEST_F(Material, WhatHasNoSignatureTakesTheDirectPath) {
    for (const char* fen : {"QQQ1k3/8/8/8/8/8/8/4K3 w - -",
                            "4k3/P7/8/8/8/8/PPPPPPPP/4K3 w - -",  // would carry into Black's pawn count
                            "4k3/pppppppp/p7/8/8/8/8/4K3 w - -"}) {
        SetFen(fen);
        EXPECT_EQ(MaterialRecordOrNull(), nullptr) << fen;
    }
    // Phases and flags of three queens are those of two queens: both are capped.
    SetFen("QQQ1k3/8/8/8/8/8/8/R3K3 w - -");
    const MaterialRecord three = ComputeMaterialRecord();
    SetFen("QQ2k3/8/8/8/8/8/8/RR2K3 w - -");
    const MaterialRecord two = ComputeMaterialRecord();
    EXPECT_EQ(three.white_phase, two.white_phase);
    EXPECT_EQ(three.flags[WHITE], two.flags[WHITE]);
    EXPECT_EQ(three.flags[BLACK], two.flags[BLACK]);
}

}  // namespace
