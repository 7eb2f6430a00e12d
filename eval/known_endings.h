// known_endings.h - endings with few men whose result is known from theory.
#pragma once

#include "board/types.h"

// Each answers for the side Us that has the better pieces or the pawns. None allocates or
// searches; the caller dispatches by material.

// Has Us besides pawns on one rook file nothing but bishops, none of which controls the square
// where they promote? Then a king in that corner holds.
template <Colour Us> bool WrongCorner();
// Is the enemy's bare king certain to hold? Us has pawns and perhaps minor pieces. Clears
// SymmetryValid where it depends on the side to move.
template <Colour Us> bool BareKingHolds();
// Queen or rook of Us against one pawn: centipawns for Us. Depends on the side to move.
template <Colour Us> int HeavyAgainstPawnScore();
// What is left of a lead of Us, 256 = all. Clears SymmetryValid where it depends on the side
// to move.
template <Colour Us> int KnownLeadFactor();
