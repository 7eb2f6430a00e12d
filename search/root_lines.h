// root_lines.h - the principal line of each root move, kept apart from the list so that
// sorting the list moves little memory.
#pragma once

#include "board/types.h"
#include "search/principal_variation.h"
#include "search/search_state.h"

// A new list of root moves: no lines yet.
void ForgetLines();
// Keeps the move and the line found behind it (row 1 of pv_table).
void KeepLine(const RootMove& root);

// Line of the root move at place `index` of the list: at least its move, lengthened from the
// table up to `limit` moves. `line` has room for MaxPly + 2 moves. Returns the length.
int RootLine(int index, Move* line, int limit);

// The principal variation: the line of the best root move.
int PrincipalVariation(Move* line, int limit);
