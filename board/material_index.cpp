// material_index.cpp - the material signature from piece counts.
#include "board/material_index.h"

#include <initializer_list>

#include "board/console.h"

int SumMaterialIndex(const int32_t counts[8][2]) {
    int index = 0;
    for (const Colour c : {WHITE, BLACK}) {
        for (const PieceType type : {QUEEN, ROOK, BISHOP, KNIGHT}) {
            if (counts[type][c] > 2) return MaterialIndexNone;
            index += counts[type][c] * MaterialRadix[type][c];
        }
        index += counts[PAWN][c] * MaterialRadix[PAWN][c];
    }
    return index;
}

int ComputeMaterialIndex(const int32_t counts[8][2]) {
    const int index = SumMaterialIndex(counts);
    if (index > MaterialIndexNone) PrintLine("Error when indexing material!");
    return index;
}
