// ordering_data.h - what move ordering remembers, as plain data.
//
// The generators score moves when they generate them and so need the search's memory: the
// current ply, killers, history, capture statistics. The data live here, below the search;
// the search owns the algorithms that change them.
//
// State: everything declared here. Cleared by ClearOrderingData().
#pragma once

#include "board/types.h"

// One record a ply. Node flags are bits of `flags`.
struct PlyRecord {
    Move best_move;       // produced a cut-off or the exact score
    Move second_move;     // cleared on entry of a node
    Move killers[2][2];   // [colour][0 newest, 1 older]
    int eval;             // static evaluation, side to move's view
    uint8_t in_check;     // of the side to move at this ply
    uint8_t gives_check;  // of the move being searched from this ply
    uint8_t eval_ok;      // alpha <= eval + 100: selects a half of the history table
    uint8_t flags;
};

enum : int {
    NodeGivesCheck = 1,
    NodeSingleReply = 2,
    NodeRecapture = 4,
    NodePassedPush = 8,
    NodeChecksTried = 16,  // quiet checks were generated at this ply (quiescence)
    NodeReduced = 64,      // the move being searched is reduced
    NodePawnEnding = 128,  // the move captures into a pawn ending
};

constexpr int SparePly = 160;  // used by GenerateLegalMoves; no search reaches it
constexpr int PlyRecords = 196;
extern PlyRecord ply_records[PlyRecords];
extern int current_ply;      // distance from the root
extern int iteration_depth;  // current iteration of the root search, in plies

// Piece class of the history table by piece type. The unusual grouping is meant.
constexpr int HistoryClass[8] = {0, 0, 0, 1, 0, 2, 1, 3};
// history_table[eval_ok][piece class][from + 64 * to][colour], 0..32700.
extern int32_t history_table[2][4][4096][2];
// counter_evasions[to-square of the last move][own king square][colour]: what refuted it.
extern Move counter_evasions[64][64][2];

// How often a capture raised alpha, by a 14-bit key; a slot of an older generation counts
// as empty.
struct CaptureStatistics {
    uint16_t generation, tries, successes;
};
extern CaptureStatistics capture_statistics[16384];
extern uint16_t table_generation;  // search age, shared with the transposition table

inline int CaptureKey(Move m, Colour us) {
    return ((MoveCaptured(m) * 8 + MovePiece(m)) ^ MoveFrom(m) << 6 ^ MoveTo(m) << 12 ^ (us == WHITE ? 8192 : 0))
        & 16383;
}

inline int32_t& HistoryValue(int eval_ok, Move m, Colour us) {
    return history_table[eval_ok][HistoryClass[MovePiece(m)]][(m & 63) | (m & 4032)][us];
}

// Ordering score of a capture or promotion: 100000 and more when it loses no material
// (108000 for promotions), far below zero for a losing capture without a record of success.
constexpr int SmallGainScore = 100901;  // en passant, and promotions to less than a queen without capture
int CaptureScore(Move m);
// Ordering score of a quiet move: its history value at the current ply.
inline int QuietScore(Move m, Colour us) { return HistoryValue(ply_records[current_ply].eval_ok, m, us); }

void ClearHistory();       // the history table, counter-evasions and capture statistics
void ClearOrderingData();  // all of the above and every ply record
