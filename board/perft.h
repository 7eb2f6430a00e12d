// perft.h - counting leaf nodes of the move tree, the test of the move generator.
#pragma once

#include <cstdint>

// Leaves at `depth` plies; 1 for depth <= 0. Depths above 50 count as 50. The last ply is generated, not made.
uint64_t Perft(int depth);
// The same by GenerateLegalMoves(), every move made: slower, another road to the truth.
uint64_t PerftReference(int depth);
