// book_learning.h - writing game results back into the book.
#pragma once

#include "board/types.h"

enum : int { ResultLost = 0, ResultWon = 1, ResultDrawn = 2 };

// Learns the current game, once a game, for the side that is to move now: every move it
// played gets the result. Does nothing unless UseBookLearning is on, a book is open and the
// game has not been learned yet. The position is the same afterwards.
void learn_game(int result);
// Adds the result of one game to the book's entry for `move` in the current position, if the
// book has one that is not excluded.
void update_book_move(int result, Move move);
// True when learn_game() would do something.
bool BookLearningPending();
// Nothing is learned of this game any more.
void LeaveGameUnlearned();
// A new game: learning may happen again.
void ResetBookLearning();
