// masks.h - fixed sets of squares that only the evaluation needs, computed by the compiler.
#pragma once

#include "board/bitboard.h"
#include "board/types.h"

struct EvaluationMasks {
    Bitboard front_span[2][64];   // [colour] squares ahead on the same file
    Bitboard attack_span[2][64];  // [colour] squares ahead on the adjacent files
    Bitboard passed_span[2][64];  // both
    Bitboard king_zone[2][64];    // [colour] king, neighbours, three squares two ranks ahead
    Bitboard king_area[64];       // squares at most two king moves away
    Bitboard adjacent_files[8];
    uint8_t distance[64][64];  // king moves
};

consteval EvaluationMasks MakeEvaluationMasks() {
    EvaluationMasks m{};
    for (int f = 0; f < 8; ++f) m.adjacent_files[f] = (f > 0 ? FileMask(f - 1) : 0) | (f < 7 ? FileMask(f + 1) : 0);
    for (Square s = 0; s < 64; ++s) {
        const int f = s & 7, r = s >> 3;
        const Bitboard above = r < 7 ? ~Bitboard(0) << (8 * (r + 1)) : 0;
        const Bitboard below = (Bitboard(1) << (8 * r)) - 1;
        for (int c = 0; c < 2; ++c) {
            const Bitboard ahead = c == WHITE ? above : below;
            m.front_span[c][s] = ahead & FileMask(f);
            m.attack_span[c][s] = ahead & m.adjacent_files[f];
            m.passed_span[c][s] = m.front_span[c][s] | m.attack_span[c][s];
        }
        for (Square t = 0; t < 64; ++t) {
            const int df = (t & 7) - f, dr = (t >> 3) - r;
            const int adf = df < 0 ? -df : df, adr = dr < 0 ? -dr : dr;
            const int distance = adf > adr ? adf : adr;
            m.distance[s][t] = uint8_t(distance);
            if (distance <= 2) m.king_area[s] |= Bit(t);
            if (distance <= 1 || (adf <= 1 && dr == 2)) m.king_zone[WHITE][s] |= Bit(t);
            if (distance <= 1 || (adf <= 1 && dr == -2)) m.king_zone[BLACK][s] |= Bit(t);
        }
    }
    return m;
}
inline constexpr EvaluationMasks evaluation_masks = MakeEvaluationMasks();

inline int Distance(Square a, Square b) { return evaluation_masks.distance[a][b]; }

constexpr Bitboard LightSquares = 0x55AA55AA55AA55AAULL;
constexpr Bitboard DarkSquares = ~LightSquares;

// Files a..h fold to the four file pairs a/h, b/g, c/f, d/e.
constexpr int FilePair(Square s) { return (s & 7) < 4 ? (s & 7) : 7 - (s & 7); }

// Squares attacked by two pawns of C.
template <Colour C> constexpr Bitboard PawnDoubleAttackSet(Bitboard pawns) {
    return ShiftForward<C>(ShiftEast(pawns) & ShiftWest(pawns));
}
