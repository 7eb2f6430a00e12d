// trace.h - one evaluation taken apart into its terms.
#pragma once

#include "eval/tally.h"

// EvaluatePosition(), and every term noted in evaluation_trace. Slow.
void TracePosition(int& result);

// Notes what the board keeps as running sums. Part of TracePosition().
void TraceSquares();

// The gain of one colour from a term, centipawns; phase 0 opening, 1 endgame.
int TracedTerm(const TermInfo& term, Colour c, int phase);

// The score of the traced position, side to move's view, put together from the noted terms
// alone: what TracePosition() returned, if no term is missing.
int TracedScore();

// The name of a part for people.
const char* TracePartName(TracePart part);
