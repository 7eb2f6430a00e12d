// parameters.h - the evaluation's weights, the named list, and "values.txt".
//
// All plain ints so that tuning and the parameter file can change them: `tuned` holds the named
// weights in the order tuning knows, term_weights and `weights` the free ones of weights.def,
// and the king-attack curves stand by themselves. What is derived from them for speed (the
// piece-square table, packed terms) is rebuilt by BuildPieceSquareTable(); after any change by
// hand call RebuildEvaluation().
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

// The free weights, listed and explained in weights.def. A term's name is the slot of its first
// weight; slot name + i is the weight with index i.
enum Term : int {
#define TERM(name, count, text, opening, endgame) name, name##Last = name + (count)-1,
#define SQUARE_TERM TERM
#define PASSED_TERM TERM
#define OWN_TERM TERM
#include "eval/weights.def"
    TermSlots
};
extern int term_weights[2][TermSlots];  // [phase][slot]

struct EvaluationWeights {
    int imbalance[6];  // bases V1..V6 of EvaluateMaterial(), 0 as shipped
    int added[6];      // AddedWeight, 0 as shipped
#define NUMBER(name, value, low, high, text) int name;
#define NUMBERS(name, count, low, high, text, values) int name[count];
#include "eval/weights.def"
};
extern EvaluationWeights weights;

// The list behind both, for the trace and for tuning.
enum class TermKind { Square, Common, Passed, Own };
struct TermInfo {
    const char* name;
    const char* text;
    int first, count;  // slots
    TermKind kind;
};
struct NumberInfo {
    const char* name;
    const char* text;
    int* value;  // the first of `count`
    int count;
    int low, high;  // sane bounds
};
extern const TermInfo term_list[];
extern const int TermListLength;
extern const NumberInfo number_list[];
extern const int NumberListLength;

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
    const char* name;  // of the term, or the field as the source writes it
    int phase;         // of a term, else -1
    int* target;
    int count;
};
constexpr int FileValueCount = 378;
constexpr int ValueRowCount = 60;
extern const ValueRow value_rows[ValueRowCount];

// Reads 378 integers from the file into the fixed list of weights. A missing file prints
// "Error loading values.txt" and leaves the defaults; a short one leaves the rest. Null stands for
// no file and prints nothing. The material corrections start anew in every case.
void LoadValues(const char* file_name);
// Writes the weights in the form LoadValues() reads. False when the file cannot be written.
bool SaveValues(const char* file_name);

// Derives the working piece-square table and the packed weights from the weights.
void BuildPieceSquareTable();

// After weights have changed: rebuilds piece-square table and material table, brings the sums
// of the live position and of its history up to date, clears pawn hash and evaluation cache.
void RebuildEvaluation();
