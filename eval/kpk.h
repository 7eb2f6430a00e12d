// kpk.h - king and pawn against king, decided exactly by a bitbase made at start-up.
#pragma once

#include "board/types.h"

// 524,288 bits for a white pawn: bit (king of the pawn's side) * 8192 + (other king) * 128 +
// pawn * 2 + side to move is set when the pawn's side wins. Illegal positions are clear.
constexpr int KpkBits = 524288;

void InitialiseKpk();
// Does the pawn's side win? Squares as on the board, `pawn_colour` owns the pawn.
bool KpkWon(Colour pawn_colour, Square pawn_king, Square other_king, Square pawn, Colour side_to_move);
