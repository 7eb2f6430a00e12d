// parameters.h - the evaluation's weights, the named list, and "values.txt".
//
// Three groups, all plain ints so that tuning and the parameter file can change them:
// `tuned` holds the named weights in the order tuning knows, `weights` those that only
// "values.txt" can change, and the king-attack curves stand by themselves. What is derived
// from them for speed (the piece-square table, packed mobility) is rebuilt by
// BuildPieceSquareTable(); after any change by hand call RebuildEvaluation().
//
// Units are centipawns unless a field says otherwise. An index [2] named "phase" is
// 0 opening, 1 endgame.
#pragma once

#include <array>
#include <cstdint>

// The tables of knight, king, pawn and bishop share one shape: [phase][file pair][rank], file pairs
// a/h, b/g, c/f, d/e, ranks counted from the owner's first.
using FilePairTables = int[2][4][8];

struct TunedParameters {
    int no_limit;                  // more than any score; heads the block
    int rook_against_minors[9];    // [files with a passed pawn of the rook's side]
    int lone_minor_pawn_bonus[9];  // [pawns of the side with the minor piece]
    int lone_rook_bonus[9];        // [pawns facing a rook or queen without any piece]
    FilePairTables knight;
    FilePairTables king;
    int chained_pawn[4][8];   // [file pair][rank]
    int supported_passed[8];  // [rank]
    // Three multipliers of supported_passed, 16 being neutral each:
    int supported_opponent_pieces_coeff[14];  // [(enemy piece units + 1) / 2, at most 12]
    int supported_king_hor_coeff[9];          // [files between the pawn and the enemy king]
    int supported_king_dist_diff_coeff[15];   // [7 + enemy king distance - own king distance]
    int EndingThreshold;                      // piece units, see Ending()
    int QueenlessEndingThreshold;
};
extern TunedParameters tuned;

// A table given by the sum of a rank part and a file-pair part.
struct RankFileParts {
    int rank[8];
    int file_pair[4];
};

struct EvaluationWeights {
    int imbalance[6];  // bases V1..V6 of EvaluateMaterial(), 0 as shipped
    int added[6];      // AddedWeight, 0 as shipped
    FilePairTables pawn;
    FilePairTables bishop;
    RankFileParts rook[2], queen[2];  // [phase]
    int knight_mobility[2][9];        // [phase][squares]
    int bishop_mobility[2][14];
    int rook_mobility[2][15];
    int queen_mobility[2][28];
    int isolated[2], isolated_half_open[2];
    int doubled[2];
    int backward[2], backward_half_open[2];
    int shelter_third, shelter_fourth;  // shelter defects of a pawn moved to that rank,
    int shelter_missing, shelter_open;  // gone, and with no pawn of either side on the file
    int passed[2][6];                   // [phase][rank 2..7]
    int passed_free_percent, passed_blockade_percent;
    int passed_own_king, passed_enemy_king;  // per step of distance, see passed.cpp
    int passed_rook_behind;
    int race_bonus;
    int kpk_bonus;
    // Factors of special endings, 256 = unchanged.
    int area_factor;
    int rook_ending_factor[4];  // rook pawn, knight pawn, other, king not in front
    int pawn_stop_factor[3];    // no pieces, no passed pawn, passed pawn
    int single_bishop_factor, opposite_bishop_factor;
    int bishop_pair[2];
    int knight_outpost_factor;  // 64 = unchanged, as are the rook factors
    int bishop_outpost;
    int rook_open_factor, rook_half_open_factor, rook_seventh_factor;
};
extern EvaluationWeights weights;

// Meaning of weights.added: centipawns added to a term built in elsewhere.
enum AddedWeight : int {
    AddedBishopPairOpening,
    AddedBishopPairEndgame,
    AddedKnightOutpost,
    AddedRookSeventh,
    AddedTrappedRook,
    AddedTempo
};

// King-attack curves, see king.cpp. The constant copies are what LoadValues() restores.
extern std::array<int, 128> DangerCurve;   // [danger]
extern std::array<int, 64> ShelterScale;   // [shelter penalty], 16 = neutral
extern std::array<int, 64> ShelterCurve;   // [shelter penalty]
extern std::array<int, 17> AttackerScale;  // [men hitting the king zone]

// Corrections of the low-material evaluator by one colour's own men:
// [colour][queens][rooks][bishops][knights][pawns]; centipawns, and a factor (256 = one) on
// a lead of that colour.
extern int16_t material_add[2][3][3][3][3][9];
extern int16_t material_scale[2][3][3][3][3][9];

struct NamedParameter {
    const char* name;  // such as "knight_opening_ah[6]"
    int* value;
};
constexpr int NamedParameterCount = 165;
// The tuned parameters in tuning order.
const NamedParameter* NamedParameters();

// The layout of "values.txt": rows of consecutive ints. A row without a target is read and
// dropped. Reader and writer share it.
struct ValueRow {
    int* target;
    int count;
};
constexpr int FileValueCount = 378;
constexpr int ValueRowCount = 41;
extern const ValueRow value_rows[ValueRowCount];

// Reads 378 integers from the file into the fixed list of weights. A missing file prints
// "Error loading values.txt" and leaves the defaults; a short one leaves the rest.
void LoadValues(const char* file_name);
// Writes the weights in the form LoadValues() reads. False when the file cannot be written.
bool SaveValues(const char* file_name);

// Derives the working piece-square table and the packed weights from the weights.
void BuildPieceSquareTable();

// After weights have changed: rebuilds piece-square table and material table, brings the sums
// of the live position and of its history up to date, clears pawn hash and evaluation cache.
void RebuildEvaluation();
