// search_state.cpp - storage of what the search shares with the program, and its limits.
//
// State: search_state.h, limits.h and host.h.
#include "search/search_state.h"

#include "search/host.h"
#include "search/limits.h"

bool stop_flag, one_shot_stop, take_back_request, leave_analysis_request, searching;
int PonderingNow, AnalysisMode;

int64_t nodes_searched, tablebase_hits, search_start;
int selective_depth;
int poll_countdown, poll_interval = 50000;
Colour root_side;
int root_history_count;

RootMove root_moves[MaxRootMoves];
int root_move_count, root_move_index;
Move current_root_move;
int band_low = -32767, band_high = 32767;

Move last_best_move;
int reference_score;
Colour reference_side;
bool reference_valid;
PredictedLine predicted_line;
int move_phase;
bool game_over_flag;
bool output_suppressed;

SearchLimits search_limits = {NoClock, 0, 0, 0, 0, 0, 1000, 0, NoDepthLimit, 0, 0, 0, {}};

static int NoInput() { return 0; }
static void NothingToHandle() {}
SearchHost search_host = {NoInput, NothingToHandle};

void ResetLimits() {
    search_limits = SearchLimits{};
    search_limits.OwnTime = NoClock;
    search_limits.BaseTime = 1000;
    search_limits.MaxDepth = NoDepthLimit;
}

void ResetGameMemory() {
    ResetSearchMemory();
    reference_valid = false;
    predicted_line = {};
    move_phase = 0;
}

void ResetSearchMemory() {
    last_best_move = 0;
    game_over_flag = false;
}
