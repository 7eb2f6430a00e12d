// root.h - the entry of the search: from a position and limits to a best move.
#pragma once

#include "board/types.h"

struct SearchResult {
    Move best;    // 0 only when there is no legal move
    Move ponder;  // predicted reply, legal after `best`; 0 when unknown
    int score;    // centipawns, root side's view
    int depth;    // last finished iteration, plies
    bool from_book;
    bool searched;  // false: book move, single reply or depth limit below 2
};

// Generates the legal root moves, moves last_best_move to the front, returns their number.
int GenerateRootMoves();

// Searches the current position under search_limits, PonderingNow, AnalysisMode, MultiPV and
// the other settings until a limit, the clock or stop_flag ends it, and prints its reports.
// The position is the same afterwards. Playable positions only (IsPlayable()).
// With `use_book` the opening book is asked first (MultiPV 1, OwnBook, a playing search).
// Updates last_best_move, reference_score and move_phase unless output_suppressed is set.
SearchResult think(bool use_book);

// Tables, killers, history and counters as at program start ("clean").
void ClearSearch();
// The transposition table and, with it, the evaluation's cache and pawn hash.
void ClearHashTables();
