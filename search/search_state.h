// search_state.h - what a running search shows to, and takes from, the rest of the program.
//
// The search owns and resets all of it; the driver's input handler reads the counters and
// sets the requests.
#pragma once

#include <cstdint>
#include "board/types.h"

// Requests. stop_flag unwinds the search at once; every procedure then returns 0 and the
// unfinished iteration is dropped.
extern bool stop_flag;
extern bool one_shot_stop;           // pondering is pointless: stop it after a second
extern bool take_back_request;       // "undo" during analysis
extern bool leave_analysis_request;  // "exit" during analysis
extern int PonderingNow;             // 1: ponder search; cleared by a ponder hit
extern int AnalysisMode;             // 1: analysis search, no clock
extern bool searching;               // true from the start of think() to its end

// Counters of the running (or last) search.
extern int64_t nodes_searched;  // entries to search() and quiesce()
extern int selective_depth;     // highest ply reached
extern int64_t tablebase_hits;
extern int64_t search_start;               // centiseconds of NowCentiseconds()
extern int poll_countdown, poll_interval;  // nodes
extern Colour root_side;
extern int root_history_count;

// The root moves, best first once an iteration has ended.
struct RootMove {
    Move move;
    int score;  // from the root side's view
    bool gives_check;
    int64_t nodes;  // spent on it in the last iteration
    int line;       // where its principal line is kept (root_lines.h)
};
constexpr int MaxRootMoves = 256;
extern RootMove root_moves[MaxRootMoves];
extern int root_move_count;
extern int root_move_index;     // of the move being searched, 0-based
extern Move current_root_move;  // that move; the list may be reordered meanwhile

// Material band of the current iteration, root side's view, centipawns.
extern int band_low, band_high;

// Remembered between searches.
extern Move last_best_move;    // what the engine last reported; cleared by set-ups
extern int reference_score;    // root score of the last search ...
extern Colour reference_side;  // ... and whose view it is
extern bool reference_valid;
// How the last search thought the game would go on, 0 where it did not know.
struct PredictedLine {
    Move own, reply, next;  // its best move, the opponent's answer, our move after that
};
extern PredictedLine predicted_line;
extern int move_phase;          // own searched moves since the game began
extern bool game_over_flag;     // suppresses a second announcement of one draw
extern bool output_suppressed;  // no progress lines at all (hint searches, tools)

// Another position: forgets the last best move and draw. A front end sends each position of
// one game anew, so what is known of the game stays.
void ResetSearchMemory();
// Another game: forgets its scores and its moves too.
void ResetGameMemory();
