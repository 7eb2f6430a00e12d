// legality.h - is a move legal, is it possible at all, does it give check?
#pragma once

#include "board/types.h"

// Own men that stand alone between their king and an enemy slider.
Bitboard PinnedPieces(Colour us);
// Enemy men that give check to the king of `us`.
Bitboard Checkers(Colour us);
// Is the pseudo-legal move legal? Not in check only (evasions are legal already).
// `pinned` is PinnedPieces() of the side to move.
bool IsLegal(Move m, Bitboard pinned);
// Could the generators produce this word here? Any 32-bit word is allowed. True says
// pseudo-legal; king safety of castling included, of other moves not.
bool IsPseudoLegal(Move m);
// Legal in every respect, in check or not. Slow; for single moves.
bool IsFullyLegal(Move m);

// What GivesCheck() needs of a node; computed once per node.
struct CheckInfo {
    Bitboard check_squares[8];  // [piece type] squares from which it would hit the enemy king
    Bitboard discoverers;       // own men that shield the enemy king from an own slider
    Square king;                // the enemy king
};
void ComputeCheckInfo(CheckInfo& info);
bool GivesCheck(Move m, const CheckInfo& info);
