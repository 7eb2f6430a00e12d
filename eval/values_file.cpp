// values_file.cpp - the parameter file "values.txt": 378 integers in a fixed order, one a
// line, no names, no header.
//
// The file is read by position, so the order of value_rows is a file format: append-only in
// spirit, and the total is fixed. The king-attack curves and the material corrections are
// not in the file; loading restores them to what is built in.
//
// State: the working curves and the material-correction arrays.
#include <algorithm>
#include <array>
#include <cstdio>

#include "board/console.h"
#include "board/types.h"
#include "eval/parameters.h"

// A pointer to the first int of a field and how many ints the field has.
#define ROW(field) \
    { reinterpret_cast<int*>(&(field)), int(sizeof(field) / (sizeof(int))) }
const ValueRow value_rows[ValueRowCount] = {
    ROW(weights.imbalance),
    ROW(tuned.EndingThreshold),
    ROW(tuned.QueenlessEndingThreshold),
    {nullptr, 6},
    ROW(weights.added),
    ROW(weights.pawn),
    ROW(weights.bishop),
    ROW(weights.rook),
    ROW(weights.queen),
    ROW(weights.knight_mobility),
    ROW(weights.bishop_mobility),
    ROW(weights.rook_mobility),
    ROW(weights.queen_mobility),
    ROW(weights.isolated),
    ROW(weights.isolated_half_open),
    ROW(weights.doubled),
    ROW(weights.backward),
    ROW(weights.backward_half_open),
    ROW(weights.shelter_third),
    ROW(weights.shelter_fourth),
    ROW(weights.shelter_missing),
    ROW(weights.shelter_open),
    ROW(weights.passed),
    ROW(weights.passed_free_percent),
    ROW(weights.passed_blockade_percent),
    ROW(weights.passed_own_king),
    ROW(weights.passed_enemy_king),
    ROW(weights.passed_rook_behind),
    ROW(weights.race_bonus),
    ROW(weights.kpk_bonus),
    ROW(weights.area_factor),
    ROW(weights.rook_ending_factor),
    ROW(weights.pawn_stop_factor),
    ROW(weights.single_bishop_factor),
    ROW(weights.opposite_bishop_factor),
    ROW(weights.bishop_pair),
    ROW(weights.knight_outpost_factor),
    ROW(weights.bishop_outpost),
    ROW(weights.rook_open_factor),
    ROW(weights.rook_half_open_factor),
    ROW(weights.rook_seventh_factor),
};
#undef ROW

// Everything of `weights` is in the file, plus the two thresholds and six dropped values.
static_assert(sizeof(EvaluationWeights) / sizeof(int) + 2 + 6 == FileValueCount);

namespace {

// DangerCurve[danger 0..127], centipawn-like: linear, then steep, then saturated.
constexpr std::array<int, 128> default_danger_curve = {
    0,   1,   2,   3,   4,   5,   6,   7,   8,   9,   10,  11,  12,  13,  14,  15,  17,  19,  21,  23,  26,  29,
    32,  35,  39,  43,  47,  51,  56,  61,  66,  71,  77,  83,  89,  95,  102, 109, 117, 125, 134, 144, 155, 167,
    179, 191, 203, 215, 225, 235, 245, 255, 265, 275, 285, 295, 305, 315, 325, 335, 345, 350, 354, 357, 359, 360,
    361, 362, 363, 364, 365, 366, 367, 368, 369, 370, 371, 372, 373, 374, 375, 376, 377, 378, 379, 380, 380, 380,
    380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380,
    380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380, 380,
};
static_assert(default_danger_curve[84] == 379 && default_danger_curve[127] == 380);

// ShelterScale[shelter penalty], 16 = neutral.
constexpr std::array<int, 64> default_shelter_scale = {
    8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29,
    30, 31, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32,
    32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32, 32,
};
static_assert(default_shelter_scale[23] == 31 && default_shelter_scale[63] == 32);

// ShelterCurve[shelter penalty], centipawns before the style factor.
constexpr std::array<int, 64> default_shelter_curve = {
    0,   4,   15,  24,  36,  42,  54,  72,  81,  90,  99,  108, 117, 126, 135, 144, 148, 152, 156, 160, 164, 168,
    172, 175, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180,
    180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180, 180,
};
static_assert(default_shelter_curve[23] == 175 && default_shelter_curve[63] == 180);

// AttackerScale[men hitting the king zone].
constexpr std::array<int, 17> default_attacker_scale = {
    0, 305, 603, 904, 1204, 1504, 1504, 1504, 1504, 1504, 1504, 1504, 1504, 1504, 1504, 1504, 1504,
};
static_assert(default_attacker_scale[16] == 1504);

// Values outside this range cannot be sane weights and would overflow later sums.
constexpr int FileValueLimit = 2000;

void ResetMaterialCorrections() {
    std::fill_n(&material_add[0][0][0][0][0][0], sizeof material_add / sizeof(int16_t), int16_t(0));
    std::fill_n(&material_scale[0][0][0][0][0][0], sizeof material_scale / sizeof(int16_t), int16_t(256));
    std::fill(std::begin(weights.imbalance), std::end(weights.imbalance), 0);
    std::fill(std::begin(weights.added), std::end(weights.added), 0);
}

}  // namespace

// Statically equal to the constant copies: a missing "values.txt" leaves them as they are.
constinit std::array<int, 128> DangerCurve = default_danger_curve;
constinit std::array<int, 64> ShelterScale = default_shelter_scale;
constinit std::array<int, 64> ShelterCurve = default_shelter_curve;
constinit std::array<int, 17> AttackerScale = default_attacker_scale;
int16_t material_add[2][3][3][3][3][9];
int16_t material_scale[2][3][3][3][3][9];

void LoadValues(const char* file_name) {
    std::FILE* file = std::fopen(file_name, "r");
    ResetMaterialCorrections();
    if (!file) {
        Print("Error loading values.txt\n");
        return;
    }
    bool more = true;
    for (const ValueRow& row : value_rows)
        for (int i = 0; i < row.count && more; ++i) {
            int value;
            more = std::fscanf(file, "%d\n", &value) == 1;
            if (more && row.target) row.target[i] = std::clamp(value, -FileValueLimit, FileValueLimit);
        }
    std::fclose(file);

    // A lone minor or two knights never win without pawns.
    for (int c = 0; c < 2; ++c) {
        material_scale[c][0][0][0][1][0] = 0;
        material_scale[c][0][0][1][0][0] = 0;
        material_scale[c][0][0][0][2][0] = 0;
    }
    DangerCurve = default_danger_curve;
    ShelterScale = default_shelter_scale;
    ShelterCurve = default_shelter_curve;
    AttackerScale = default_attacker_scale;
}

bool SaveValues(const char* file_name) {
    std::FILE* file = std::fopen(file_name, "w");
    if (!file) return false;
    for (const ValueRow& row : value_rows)
        for (int i = 0; i < row.count; ++i) std::fprintf(file, "%d\n", row.target ? row.target[i] : 0);
    const bool written = !std::ferror(file);
    return (std::fclose(file) == 0) && written;
}
