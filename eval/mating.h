// mating.h - endings without pawns that are won: where the losing king has to go.
#pragma once

#include "board/types.h"

// Centipawns for Us, who has the better pieces: what the material is worth, more for a king
// driven where it can be mated. The board holds no pawn of either side. Does not depend on the
// side to move. Sets no_fading and clears Cacheable.
template <Colour Us> int MatingScore();

// Bishop and knight alone add up to this to their material as the mate comes nearer. Whoever has
// another man besides adds it all, or giving that man away would look like progress.
constexpr int BishopKnightMost = 2000;
