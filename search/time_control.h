// time_control.h - how long a search may think, and the check that enforces it.
#pragma once

#include <cstdint>
#include "search/limits.h"

// Milliseconds of a clock that never goes back, divided by 10.
int64_t NowCentiseconds();

struct TimeBudget {
    bool timed;         // a clock or a fixed time limits this search
    int target, hard;   // centiseconds
    int poll_interval;  // nodes between two checks
};

// What Allocate() needs beside the limits, so that it can be tested as a pure function.
struct TimeSituation {
    bool uci;            // MovesToGo counts, otherwise MovesPerPeriod
    int history_length;  // game ply
    int time_factor;     // of the material, 256 = neutral; -1 when it cannot be indexed
    int move_phase;      // own searched moves so far
};
TimeBudget Allocate(const SearchLimits& limits, const TimeSituation& situation);

// The target, stretched when the root score has changed against `reference`, the score of
// the search before. `phase` is the number of own searched moves so far.
int64_t AdjustTarget(int64_t target, int score, int reference, int phase);

// Shall a search on a clock end now? `expected` means that its best move is the one the last search
// foresaw, `trouble` is root_in_trouble. The scores are both from the same side's view; without
// `has_reference` there was no search before.
struct ClockSituation {
    int64_t elapsed;  // centiseconds
    bool expected, trouble;
    int score, reference;
    bool has_reference;
    int phase;  // own searched moves so far
};
bool IsTimeUp(const TimeBudget& budget, const ClockSituation& now);

// The budget of the running search. Set by StartClock(), and again by RestartBudget() when a
// ponder search turns into a timed one; the time origin stays the start of the search.
extern TimeBudget time_budget;
void StartClock();
void RestartBudget();

// Run by the search when poll_countdown falls below 0: input, node limit, clock.
void PeriodicCheck();

// Set while the first move of the iteration has failed low or a root move is searched again, in the
// loop of several lines too.
extern bool root_in_trouble;
// The move the engine expected to play here, from the last search; 0 when the game went on
// otherwise.
extern Move expected_best_move;
