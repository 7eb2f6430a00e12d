// engine_turn.h - the engine moves: search, answer, resigning, pondering.
//
// State shared with the input handler: what kind of search runs, and what input said about it.
#pragma once

#include <cstdint>

#include "board/types.h"
#include "search/root.h"

enum class SearchPurpose {
    None,
    Game,      // ends in a move
    GoPonder,  // "go ponder": the front end has put the predicted move on the board
    Ponder,    // our own pondering after our move, on our own prediction
    Analysis,
    Demo,  // the engine plays both sides
    Hint,  // a short search for something to ponder on
};

struct RunningSearch {
    SearchPurpose purpose;
    bool stopped;    // input ended it: nobody has to tell it to stop any more
    bool abandoned;  // the position is given up: outside UCI the result is dropped
};
extern RunningSearch running_search;

// True when the running search ends only by input: no clock, no limit, or pondering.
bool EndsOnlyByInput();

// The move we expect while we ponder by ourselves, and what was legal before it was made.
struct Prediction {
    Move move;  // 0: none is on the board
    int legal_count;
    Move legal[256];
    bool finished;        // the ponder search has ended by itself ...
    SearchResult result;  // ... with this
};
extern Prediction prediction;

// The opponent did what a ponder search expected: it goes on as a search for a move.
void PonderHit();

// The engine moves in the current position. Without a legal move only UCI gets an answer.
void engine_turn();
// The engine plays both sides from a new game until it ends or input arrives.
void Demo();

// Before a command looks at or changes the board: takes a prediction back, and pays a
// "bestmove" that is still owed.
void SettleBoard();
// If `move` is the prediction of a ponder search that has ended: plays its result and returns
// true.
bool PlayPonderResult(Move move);

// The commands "stop" and "ponderhit" when no search runs.
void IdleStop();
void IdlePonderHit();

// Resigning: the last own searches, oldest first.
void ClearResignHistory();
// Remembers a search in the current position. With `only_move` the score counts for nothing.
void RecordForResign(int score, bool only_move);
// After our move has been made: have enough own searches in a row in this game been lost?
bool ShouldResign();
