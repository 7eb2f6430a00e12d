// limits.h - what a search may use: clocks, depth, nodes. Filled by the protocols.
//
// All times are centiseconds.
#pragma once

#include <cstdint>
#include "board/types.h"

constexpr int NoClock = -1;
constexpr int InfiniteTime = 999999999;
constexpr int NoDepthLimit = 998;
constexpr int MaxSearchMoves = 256;

struct SearchLimits {
    int OwnTime;  // remaining time; NoClock = none, InfiniteTime = "go infinite"
    int OppTime;
    int OwnIncrement, OppIncrement;
    int MovesPerPeriod;     // xboard: moves per time control, 0 = all of them
    int MovesToGo;          // UCI: moves to the next time control, 0 = whole game
    int BaseTime;           // of the xboard level command
    int MoveTime;           // fixed time per move, 0 = none
    int MaxDepth;           // plies; NoDepthLimit = none
    int64_t MaxNodes;       // 0 = none
    int MateSearch;         // report only a mate in this many moves, 0 = off
    int search_move_count;  // "searchmoves": only these root moves; 0 = all
    Move search_moves[MaxSearchMoves];
};
extern SearchLimits search_limits;

// OwnTime -1, OppTime 0, no period, BaseTime 1000, no limits: the state at program start.
void ResetLimits();
