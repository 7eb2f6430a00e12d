// eval_info.h - the scratch state of one evaluation, shared by the evaluation's files only.
//
// Signs: accumulator, OpeningScore, EndgameScore and SymmetryDelta are Black's view (Black's
// gain positive). SideOpening[c] and SideEndgame[c] are c's own gain. The sign is turned to
// the side to move once, at the end of EvaluatePosition().
//
// State: thread_eval_info, rebuilt by every EvaluatePosition(); only the pawn record in it (the
// one-record cache in front of the pawn hash) and the memos survive a call.
#pragma once

#include "board/position.h"
#include "eval/masks.h"
#include "eval/packed_score.h"
#include "eval/tally.h"

// A pawn hash entry. Bit f of a file mask is file f.
struct PawnRecord {
    uint32_t key_low, key_high;
    int16_t opening, endgame;            // Black's view
    uint8_t defects[2][2];               // [colour][king side, queen side] shelter defects
    uint8_t passed_black, passed_white;  // file masks of passed pawns
    uint8_t files[2];                    // [colour] file masks of all pawns
    uint8_t islands[2];                  // [colour] groups of adjacent files with pawns
    uint8_t light_pawns;                 // pawns on light squares, White's | Black's << 4
    uint8_t rammed;                      // rammed pairs of pawns on the files c to f

    int Passed(Colour c) const { return c == WHITE ? passed_white : passed_black; }
};
static_assert(sizeof(PawnRecord) == 24);

// A sum that follows from pawns, kings and castling rights alone, as last worked out.
struct PawnMemo {
    static constexpr uint32_t Filled = 1u << 31;
    uint64_t pawn_key;
    uint32_t place;  // Filled | all else that it depends on; 0: nothing yet
    PackedScore score;
};

struct EvalInfo {
    int accumulator;
    int OpeningScore, EndgameScore;      // blended by current_phase
    int SideOpening[2], SideEndgame[2];  // blended by phase[colour]
    int current_phase, phase[2];         // 0 all pieces .. 256 none
    int ending[2];                       // 1: this king need not hide any more
    int cannot_win[2];
    int lead_scale[2];                 // [leading colour], 256 = unchanged
    int danger[2];                     // [attacking colour] 0..127
    int attackers[2];                  // [attacking colour] men that hit the king zone
    int shelter_penalty[2];            // [colour of the king] 0..63
    int king_attack[2];                // [attacking colour] product, see king.cpp
    int SymmetryDelta, SymmetryValid;  // what the other side's score follows from
    int Cacheable;
    int no_fading;         // Evaluate() leaves the score as it is however many quiet moves there were
    int material;          // EvaluateMaterial(), Black's view
    Bitboard passed[2];    // [colour] pawns on files with a passed pawn
    Bitboard foremost[2];  // [colour] those without an own pawn ahead
    Bitboard pawn_attacks[2];
    Bitboard attacks[2];         // [colour] by men and pawns, king excluded
    Bitboard attacked_twice[2];  // [colour] by two or more, king included
    Bitboard attacks_of[2][8];   // [colour][piece type]
    Bitboard pinned[2];          // [colour] own men that stand alone before their king
    PawnMemo cover[2];           // [colour of the king]
    PawnMemo framed_pawns[2];    // [colour of the pawns]
    PawnRecord pawn;
    bool pawn_valid;  // false until `pawn` has been filled
};
extern EvalInfo thread_eval_info;

// After weights have changed: what is kept from earlier calls is of no use any more.
inline void ForgetPawns() {
    thread_eval_info.pawn_valid = false;
    for (const Colour c : {WHITE, BLACK}) thread_eval_info.cover[c].place = thread_eval_info.framed_pawns[c].place = 0;
}

// May the king of c be treated as in an ending?
inline bool Ending(Colour c) {
    const Colour o = ChangeSide(c);
    const int units = thread_board.NonPawnMaterial[o];
    return units <= tuned.EndingThreshold
        || (thread_board.PieceCount[QUEEN][o] == 0 && units <= tuned.QueenlessEndingThreshold);
}

// Blends by a phase of 0..256; halves toward zero, so that mirrored positions agree.
constexpr int Blend(int opening, int endgame, int phase) { return (opening * (256 - phase) + endgame * phase) / 256; }

// Adds both sides' terms to the common halves. The halves are taken apart first: with many
// promoted men a difference of packed scores might not fit.
template <bool Traced> inline void AddCommon(const Tally<Traced>& white, const Tally<Traced>& black) {
    thread_eval_info.OpeningScore += OpeningOf(black.score) - OpeningOf(white.score);
    thread_eval_info.EndgameScore += EndgameOf(black.score) - EndgameOf(white.score);
}

constexpr int ScoreLimit = 30000;    // of every evaluation: scores are kept in 16 bits
constexpr int InitialSpread = 6300;  // of EvalSpread, when nothing narrows it

// The functions with a parameter Traced also note every term in evaluation_trace (tally.h);
// both instances are compiled in the files that define them.

// position_evaluation.cpp. Phases and ENDING flags of the position just loaded, so that they are
// right before its first evaluation.
void LoadPhases();

// passed.cpp. The accumulator with all terms of passed pawns added; with a promotion race
// it clears SymmetryValid.
template <bool Traced> int EvaluatePassedPawns(int accumulator);
// The race of pure pawn endings: +1 when Black's, -1 when White's passed pawn promotes and
// leaves the opponent no time for his own, 0 otherwise. Depends on the side to move.
int PawnRaceWinner();

// king.cpp
template <bool Traced> void EvaluateShelters(Colour root_side);
template <bool Traced> void EvaluateKings();  // pressure, and the combined attack
int EvaluateQueenApproaches();

// pieces.cpp
template <bool Traced> void EvaluatePieces();

// threats.cpp
template <bool Traced> void EvaluateThreats();

// king_squares.cpp
template <bool Traced> void EvaluateKingSquares();

// chances.cpp
template <bool Traced> void EvaluateWinningChances();

// pawns.cpp
template <bool Traced> void ProbePawns();  // makes thread_eval_info.pawn the record of the current position
