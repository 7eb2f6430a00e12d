// zobrist.h - the random numbers that position keys are made of.
#pragma once

#include "board/types.h"

extern uint64_t ZobristKeys[2][8][64];  // [colour][piece type][square]; rows 0 and 4 unused
extern uint64_t ZobristCastling[16];    // [castling flags]
extern uint64_t ZobristEnPassant[8];    // [file]

// Fills the three tables. Once, before any position is set up. The order of drawing is
// fixed: stored data depend on the keys.
void DrawZobristKeys();
