// principal_variation.h - the triangular table of principal variations.
//
// Row p holds the best line found from ply p on; a node that raises alpha puts its move in
// front of its child's row. Exact table hits cut the line short, so reports lengthen it by
// table moves.
#pragma once

#include "board/types.h"

constexpr int MaxPly = 150;  // no node is searched at this ply or beyond

extern Move pv_table[MaxPly + 2][MaxPly + 2];
extern int pv_length[MaxPly + 2];

inline void ClearLine(int ply) { pv_length[ply] = 0; }
// The line of `ply` becomes `move` followed by the line of the next ply.
void ExtendLine(int ply, Move move);
// Appends table moves to a line from the current position: legal ones, without repetition,
// until it has `limit` moves. Returns the new length.
int LengthenFromTable(Move* line, int length, int limit);
