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
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "board/console.h"
#include "board/file_access.h"
#include "board/file_names.h"
#include "board/types.h"
#include "eval/parameters.h"

// How many numbers a field is.
template <class Field> static constexpr int Numbers(const Field&) {
    // NOLINTNEXTLINE(bugprone-sizeof-expression): a field may be one number
    return int(sizeof(Field) / sizeof(int));
}

// A term's row of one phase.
#define HALF(phase, term) \
    { #term, phase, &term_weights[phase][term], term##Last - term + 1 }
#define BOTH(term) HALF(0, term), HALF(1, term)
#define FIELD(field) \
    { #field, -1, reinterpret_cast < int*>(&(field)), Numbers(field) }
const ValueRow value_rows[ValueRowCount] = {
    FIELD(weights.imbalance),
    FIELD(tuned.EndingThreshold),
    FIELD(tuned.QueenlessEndingThreshold),
    {"unused", -1, nullptr, 6},
    FIELD(weights.added),
    BOTH(PawnSquares),
    BOTH(BishopSquares),
    HALF(0, RookRanks),
    HALF(0, RookFiles),
    HALF(1, RookRanks),
    HALF(1, RookFiles),
    HALF(0, QueenRanks),
    HALF(0, QueenFiles),
    HALF(1, QueenRanks),
    HALF(1, QueenFiles),
    BOTH(KnightMobility),
    BOTH(BishopMobility),
    BOTH(RookMobility),
    BOTH(QueenMobility),
    BOTH(IsolatedPawn),
    BOTH(IsolatedHalfOpen),
    BOTH(DoubledPawn),
    BOTH(BackwardPawn),
    BOTH(BackwardHalfOpen),
    FIELD(weights.shelter_third),
    FIELD(weights.shelter_fourth),
    FIELD(weights.shelter_missing),
    FIELD(weights.shelter_open),
    BOTH(PassedPawn),
    FIELD(weights.race_bonus),
    FIELD(weights.kpk_bonus),
    FIELD(weights.area_factor),
    FIELD(weights.rook_ending_factor),
    FIELD(weights.pawn_stop_factor),
    FIELD(weights.single_bishop_factor),
    FIELD(weights.opposite_bishop_factor),
    BOTH(BishopPair),
    BOTH(KnightOutpost),
    BOTH(BishopOutpost),
    BOTH(RookOpen),
    BOTH(RookHalfOpen),
    BOTH(RookSeventh),
};
#undef HALF
#undef BOTH
#undef FIELD

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

// The next word as a number, the nearest possible one where it is too large. False at the end and
// when it is none.
bool ReadNumber(std::FILE* file, long* value) {
    char word[32];
    if (std::fscanf(file, "%31s", word) != 1) return false;
    char* end;
    *value = std::strtol(word, &end, 10);
    return end != word && *end == '\0';
}

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
    ResetMaterialCorrections();
    if (!file_name) return;
    std::FILE* file = OpenText(file_name);
    if (!file) {
        Print("Error loading values.txt\n");
        return;
    }
    bool more = true;
    for (const ValueRow& row : value_rows)
        for (int i = 0; i < row.count && more; ++i) {
            long value;
            more = ReadNumber(file, &value);
            if (more && row.target) row.target[i] = int(std::clamp<long>(value, -FileValueLimit, FileValueLimit));
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

// Written beside the target first: a file cut short by a full disk would be read as valid.
bool SaveValues(const char* file_name) {
    const std::filesystem::path target = PathOf(file_name), temporary = PathOf(std::string(file_name) + ".new");
    std::FILE* file = OpenFile(temporary, "w");
    if (!file) return false;
    for (const ValueRow& row : value_rows)
        for (int i = 0; i < row.count; ++i) std::fprintf(file, "%d\n", row.target ? row.target[i] : 0);
    bool written = !std::ferror(file);
    written &= std::fclose(file) == 0;
    std::error_code error;
    if (written) {
        std::filesystem::rename(temporary, target, error);
        written = !error;
    }
    if (!written) std::filesystem::remove(temporary, error);
    return written;
}
