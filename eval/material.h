// material.h - material, imbalance, game phases, and the table that holds them by signature.
#pragma once

#include <cstdint>
#include "board/types.h"

// One record a material signature (board/material_index.h).
struct MaterialRecord {
    uint8_t flags[2];       // [colour] bit 0 CannotWin, bit 1 ENDING
    int16_t current_phase;  // 0 all pieces .. 256 none
    int16_t black_phase, white_phase;
    int16_t correction;   // EvaluateMaterial() less (Material[BLACK] - Material[WHITE])
    int16_t time_factor;  // 256 = the base of a move; more while there is much to do
};
static_assert(sizeof(MaterialRecord) == 12);

enum : int { FlagCannotWin = 1, FlagEnding = 2 };

void BuildMaterialTable();
// The record of the current position; null when its material cannot be indexed.
const MaterialRecord* MaterialRecordOrNull();
// The record of a signature 0..531440.
const MaterialRecord& MaterialRecordOf(int signature);
// What the table would hold for the current position, worked out from its counts. Also for
// material that cannot be indexed; the correction is then cut to 16 bits.
MaterialRecord ComputeMaterialRecord();

// Material and imbalance from the counts of thread_board, centipawns, Black's view.
int EvaluateMaterial();
