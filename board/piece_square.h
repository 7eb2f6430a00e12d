// piece_square.h - storage of the working piece-square table.
//
// The evaluation's builder fills it from its parameters; the board keeps running sums of it.
#pragma once

#include "board/types.h"

enum : int { OpeningPhase = 0, EndgamePhase = 1 };

// PieceSquare[colour][piece type][square][phase], centipawns, already as contributions from
// Black's point of view: Black's values as they are, White's negated.
extern int16_t PieceSquare[2][8][64][2];
