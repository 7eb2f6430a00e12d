// game_state.h - what the driver knows about the game beside the board and the settings.
#pragma once

#include "board/types.h"

extern int ForceMode;      // 1: moves are recorded, the engine does not reply
extern Colour EngineSide;  // the colour the engine plays, or played last
extern int FritzMode;      // set by "fritz", read by nothing

// The same as StartNewGame() at the program's start, while the hash tables are still empty.
void StartFirstGame();
// The initial position, and everything about the last game forgotten; what was learned from
// it is written first.
void StartNewGame();
// After a position was set up by hand or by a front end: the game goes on elsewhere.
void PositionReplaced();
// As when a front end says that a new game begins, without touching the position: learns the
// finished game as a draw when nobody told its result.
void EndGameForLearning();

// A move of the game: played, and old announcements forgotten. False when the history is full.
bool PlayGameMove(Move m);
// Takes back the last move of the game; false when there is none.
bool TakeBackGameMove();
// The legal move named by the text; 0 when there is none or the position cannot be played.
Move ParseGameMove(const char* text);
