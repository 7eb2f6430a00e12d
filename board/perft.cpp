// perft.cpp - counting leaf nodes.
//
// Both counters walk the move tree depth first on the global board and use the move stack
// above its present top, so they may be called anywhere. The fast one stops one ply above
// the leaves: the legal moves of the last ply are generated but not played.

#include "board/perft.h"

#include <algorithm>

#include "board/make_move.h"
#include "board/movegen.h"

// No chess position has more than 218 legal moves, so this many plies always fit on the
// stack. Only positions with next to no choice could be counted that deep anyway.
constexpr int MaxPerftDepth = 50;

static uint64_t CountLeaves(int depth, int start) {
    const int end = start + GenerateLegalMovesByMan(start);
    if (depth == 1) return uint64_t(end - start);
    uint64_t leaves = 0;
    for (int i = start; i < end; ++i) {
        MakeMove(move_stack[i].move);
        leaves += CountLeaves(depth - 1, end);
        UnmakeMove();
    }
    return leaves;
}

static uint64_t CountLeavesSlowly(int depth, int start) {
    if (depth == 0) return 1;
    const int end = start + GenerateLegalMoves(start);
    uint64_t leaves = 0;
    for (int i = start; i < end; ++i) {
        MakeMove(move_stack[i].move);
        leaves += CountLeavesSlowly(depth - 1, end);
        UnmakeMove();
    }
    return leaves;
}

uint64_t Perft(int depth) {
    if (depth <= 0) return 1;
    const int top = move_count;
    const uint64_t leaves = CountLeaves(std::min(depth, MaxPerftDepth), top);
    move_count = top;
    return leaves;
}

uint64_t PerftReference(int depth) {
    if (depth <= 0) return 1;
    const int top = move_count;
    const uint64_t leaves = CountLeavesSlowly(std::min(depth, MaxPerftDepth), top);
    move_count = top;
    return leaves;
}
