// bitboard.h - operations on sets of squares, and the fixed masks.
//
// The plain x86-64 target has no population count instruction and the compilers would call
// a library function for it, so the portable form is written out here.
#pragma once

#include "board/types.h"

inline Square LowestSquare(Bitboard b) { return __builtin_ctzll(b); }        // b != 0
inline Square HighestSquare(Bitboard b) { return 63 ^ __builtin_clzll(b); }  // b != 0
inline Square PopLowest(Bitboard& b) {
    const Square s = LowestSquare(b);
    b &= b - 1;
    return s;
}

inline int PopCount(Bitboard b) {
#if defined(__POPCNT__) || defined(__aarch64__)
    return __builtin_popcountll(b);
#else
    b -= (b >> 1) & 0x5555555555555555ULL;
    b = (b & 0x3333333333333333ULL) + ((b >> 2) & 0x3333333333333333ULL);
    b = (b + (b >> 4)) & 0x0F0F0F0F0F0F0F0FULL;
    return int((b * 0x0101010101010101ULL) >> 56);
#endif
}
constexpr bool MoreThanOne(Bitboard b) { return (b & (b - 1)) != 0; }

constexpr Bitboard FileA = 0x0101010101010101ULL;
constexpr Bitboard FileH = FileA << 7;
constexpr Bitboard Rank1 = 0xFFULL;
constexpr Bitboard FileMask(int file) { return FileA << file; }
constexpr Bitboard RankMask(int rank) { return Rank1 << (8 * rank); }
// The rank that c counts as number `rank` (0 = its first).
constexpr Bitboard RelativeRankMask(Colour c, int rank) { return RankMask(c == WHITE ? rank : 7 - rank); }

// One step from every square of a set; squares at the edge drop out.
constexpr Bitboard ShiftNorth(Bitboard b) { return b << 8; }
constexpr Bitboard ShiftSouth(Bitboard b) { return b >> 8; }
constexpr Bitboard ShiftEast(Bitboard b) { return (b & ~FileH) << 1; }
constexpr Bitboard ShiftWest(Bitboard b) { return (b & ~FileA) >> 1; }
template <Colour C> constexpr Bitboard ShiftForward(Bitboard b) { return C == WHITE ? b << 8 : b >> 8; }
template <Colour C> constexpr Bitboard ShiftBackward(Bitboard b) { return C == WHITE ? b >> 8 : b << 8; }

// All squares that a set of pawns of colour C attacks.
template <Colour C> constexpr Bitboard PawnAttackSet(Bitboard pawns) {
    return C == WHITE ? (pawns & ~FileA) << 7 | (pawns & ~FileH) << 9 : (pawns & ~FileA) >> 9 | (pawns & ~FileH) >> 7;
}
