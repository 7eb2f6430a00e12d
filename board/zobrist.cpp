// zobrist.cpp - drawing the Zobrist keys.
//
// State: the key tables. Drawn once by DrawZobristKeys().
#include "board/zobrist.h"

#include <initializer_list>

#include "board/random.h"

uint64_t ZobristKeys[2][8][64];
uint64_t ZobristCastling[16];
uint64_t ZobristEnPassant[8];

void DrawZobristKeys() {
    constexpr uint64_t seed[4] = {0x12345, 0x23456, 0x34567, 0x45678};
    MersenneTwister twister;
    twister.SeedByArray(seed, 4);
    for (Square s = 0; s < 64; ++s)
        for (const PieceType type : {PAWN, KNIGHT, BISHOP, ROOK, QUEEN, KING})
            for (const Colour c : {WHITE, BLACK}) ZobristKeys[c][type][s] = twister.Next();
    for (uint64_t& key : ZobristCastling) key = twister.Next();
    for (uint64_t& key : ZobristEnPassant) key = twister.Next();
}
