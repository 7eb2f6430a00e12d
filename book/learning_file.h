// learning_file.h - results of earlier searches kept across games.
#pragma once

#include "board/types.h"

// Opens the learning file, creating an empty one if there is none.
void load_learning(const char* file_name);
void CloseLearning();  // writes what is queued

// The learned score of the current position, side to move's view, if one of at least this
// depth (quarter plies) is known.
bool LookUpLearned(int depth, int* score);
// Queues a search result of the current position for FlushLearned().
void QueueLearned(int depth, int score);
void FlushLearned();
