// material_index.h - the material signature: all piece counts folded into one number.
//
// Mixed radix: queens, rooks, bishops, knights of either colour are digits of base 3 (0..2),
// pawns of base 9 (0..8). 531441 = 3^12 means "cannot be indexed", used as soon as any of
// the eight piece counts is 3 or more.
#pragma once

#include "board/types.h"

constexpr int MaterialIndexNone = 531441;
constexpr int MaterialSignatures = 531441;

// Weight of one piece: MaterialRadix[piece type][colour].
constexpr int MaterialRadix[8][2] = {
    {0, 0}, {0, 0}, {729, 2187}, {6561, 59049}, {0, 0}, {9, 27}, {81, 243}, {1, 3},
};

// The signature from counts[piece type][colour]. Prints "Error when indexing material!" for
// a sum that leaves the table (more than eight pawns) and returns that sum all the same, so
// check before using it as an index.
int ComputeMaterialIndex(const int32_t counts[8][2]);
// The same without a word, for the middle of a search.
int SumMaterialIndex(const int32_t counts[8][2]);
