// evaluate.h - the static evaluation as the rest of the program sees it.
#pragma once

#include <cstdint>
#include "board/types.h"

constexpr int NotEvaluated = -32700;

// Centipawns from the side to move's view, within +-30000, scaled by the fifty-move counter.
// Lazy outside LazyWindow; uses and fills the evaluation cache.
int Evaluate();
// The full evaluation of the current position into `result`, side to move's view.
void EvaluatePosition(int& result);
// The console's breakdown of one EvaluatePosition() call.
void PrintEvaluation();

// One EvaluatePosition() call in figures.
struct EvaluationFigures {
    int score;                    // side to move's view
    int material;                 // EvaluateMaterial(), Black's view
    int current_phase, phase[2];  // 0 all pieces .. 256 none; of both, and [colour]
    int opening, endgame;         // the sums of both halves, Black's view
    int danger[2];                // [attacking colour]
    int shelter_penalty[2];       // [colour of the king]
    int defects[2][2];            // [colour][king side, queen side] of the shelter
    int passed[2];                // [colour] files with a passed pawn, file a is bit 0
    int ending[2];                // [colour] 1: this king need not hide any more
};
// `root` is the side whose king the style settings take for the engine's own.
EvaluationFigures EvaluateInFigures(Colour root);

// How far pawns of `c` about to promote make the material balance unreliable: 100 centipawns
// with one on its seventh rank, 50 with one on its sixth, else 0.
int AdvancedPawnAllowance(Colour c);
// Has the side ahead men enough that its lead in material may be taken for the score?
bool IsLeadTrusted(Colour ahead);

// Set by the search: bounds on material alone outside of which Evaluate() is lazy, and the
// side whose view they are. +-32767 outside a search. The root side also decides which king
// the style settings take for the engine's own.
extern int LazyWindow[2];
extern Colour evaluation_root_side;
// Sets the root side; clears the cache when cached scores depend on it.
void SetEvaluationRoot(Colour side);

// Left by Evaluate() for the search. After a lazy exit, and mostly where a rule settles an ending,
// the square sets are empty; after a lazy exit the material value is the bare balance.
extern int evaluation_material;  // EvaluateMaterial(), Black's view
extern int EvalSpread;
extern Bitboard evaluation_passed[2];   // passed pawns by colour
extern Bitboard evaluation_attacks[2];  // squares attacked by that colour's men, king excluded

// Tables of the evaluation, in their order: parameters, piece-square table, material table,
// endgame bitbase. Installs position_loaded_hook. Once at start-up, after the attack tables.
// `values_file` is for LoadValues(); null leaves the built-in weights, without a message.
void InitialiseEvaluation(const char* values_file);

// (Re)allocates zeroed tables of that many entries; 0 switches the pawn hash off. False when
// memory is short.
bool AllocatePawnHash(uint32_t entries);
bool AllocateEvalCache(uint32_t entries);
void FreeEvaluationTables();
void ClearEvaluationTables();  // both, and the one-record pawn copy

// How often the caches answered, since the program's start. For benchmarks.
struct EvaluationCounters {
    uint64_t calls, lazy;            // of Evaluate(); decided by material alone
    uint64_t cache_hits;             // scores taken from the evaluation cache
    uint64_t pawn_calls, pawn_hits;  // pawn records asked for; found in the copy or the hash
};
extern EvaluationCounters evaluation_counters;

// Starts loading the cache slot of a position from its hash key with castling rights.
void PrefetchEvaluation(uint64_t key);
