// endings.h - the low-material evaluator, and the scaling of special endings.
#pragma once

#include "board/types.h"

// For positions in which a side has less than EndingThreshold piece units. Sets phases,
// ENDING and cannot-win flags, material, lead scales and the accumulator. True when the
// accumulator is the whole evaluation: exact endings and dead draws.
bool EvaluateLowMaterial();

// Rescales a blended evaluation (Black's view) for endings that are drawn more often than the
// terms say. `spread` is scaled alongside. A pure function of position and score, except that
// with one or three pawns it clears SymmetryValid.
int ScaleEnding(int score, int& spread);
