// piece_square.cpp - the working piece-square table.
//
// State: PieceSquare, filled by the evaluation.
#include "board/piece_square.h"

int16_t PieceSquare[2][8][64][2];
