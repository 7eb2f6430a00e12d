// make_move.h - playing a move on thread_board and taking it back.
//
// Moves are not validated: the caller passes a pseudo-legal move and tests afterwards
// whether the mover's king was left attacked.
#pragma once

#include "board/position.h"

// Plays the move. With `save` the undo record's saved fields are written; pass false only
// for a second move from the very same position at the same place of the history, whose
// record still holds them. Returns the record's index times four; callers ignore it.
int MakeMove(Move move, bool save = true);
void UnmakeMove();  // takes back the last move of the history

// Passing: flips the side to move, sets the fifty-move counter to 0, records move 0.
void MakeNullMove();
void UnmakeNullMove();

// A move of the game (not of the search): refused when the history is nearly full.
bool MakeGameMove(Move move);
