// tally.h - adding up terms, and noting them for the trace.
//
// The terms of weights.def (but for the squares, which the board sums up) reach the score through
// Tally::Add(), so one call both counts and is traced. The traced evaluation is a second instance
// of the same templates; the one that plays pays nothing for it.
//
// State: packed_terms, made from term_weights by BuildPackedTerms(); evaluation_trace, written
// by traced evaluations only (trace.h reads it).
#pragma once

#include <cstdint>
#include "board/types.h"
#include "eval/packed_score.h"
#include "eval/parameters.h"

extern PackedScore packed_terms[TermSlots];
void BuildPackedTerms();

// What is not in weights.def but in the score: fixed by tables of their own, or not a sum.
enum class TracePart : int {
    Material,           // men and imbalance, or what the low-material evaluator starts from
    NamedSquares,       // knights and kings on their squares
    ChainedPawns,       // chained_pawn tables
    RookAgainstMinors,  // rook_against_minors table
    PawnRace,           // races to promotion
    SupportedPassed,    // the named passed-pawn support
    Shelter,            // ShelterCurve of the enemy king, scaled by the style settings
    KingAttack,         // the combination of danger, attackers and shelter
    WinningChances,     // correction of the endgame half
    QueenApproaches,    // from here on: of the blended score
    EndingScale,        // what special endings take away
    SideToMove,
    Count
};

struct EvaluationTrace {
    int16_t count[2][TermSlots];            // [colour] how often each weight was added
    int part[int(TracePart::Count)][2][2];  // [part][colour][phase] own gain, centipawns
    bool exact;                             // settled by a rule: no terms at all
};
extern EvaluationTrace evaluation_trace;

template <bool Traced> inline void TracePiece(TracePart part, int colour, int opening, int endgame) {
    if constexpr (Traced) {
        evaluation_trace.part[int(part)][colour][0] += opening;
        evaluation_trace.part[int(part)][colour][1] += endgame;
    }
}

// What one side's terms add up to.
template <bool Traced> struct Tally {
    int colour;
    PackedScore score = 0;

    explicit Tally(int c) : colour(c) {}
    void Add(int slot) {
        score += packed_terms[slot];
        if constexpr (Traced) ++evaluation_trace.count[colour][slot];
    }
    void Add(int slot, int times) {
        score += packed_terms[slot] * times;
        if constexpr (Traced)
            evaluation_trace.count[colour][slot] = int16_t(evaluation_trace.count[colour][slot] + times);
    }
};
