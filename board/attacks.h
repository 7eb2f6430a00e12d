// attacks.h - which squares a piece reaches, by table look-up.
//
// Sliders use rotated boards. The occupancy byte of a line and the slider's place on it
// select one of 70 line patterns (attack set, place); the bitboard tables are indexed by
// pattern, which keeps them small enough for the cache. Results include the first blocker
// in each direction, whatever its colour.
//
// State: the tables below, filled once by InitialiseAttacks().
#pragma once

#include "board/bitboard.h"
#include "board/position.h"

extern uint8_t line_pattern[256][8];             // [occupancy byte][place] -> 0..69
extern Bitboard rank_attacks[70 * 8];            // [pattern * 8 + rank]
extern Bitboard file_attacks[70 * 8];            // [pattern * 8 + file]
extern Bitboard anti_diagonal_attacks[70 * 16];  // [pattern * 16 + file + rank]
extern Bitboard diagonal_attacks[70 * 16];       // [pattern * 16 + file - rank + 7]
extern Bitboard knight_attacks[64], king_attacks[64];
extern Bitboard pawn_attacks[2][64];                             // [colour][square]
extern Bitboard rook_rays[64], bishop_rays[64], queen_rays[64];  // on an empty board

// Directions in the order of direction_rays' first index.
constexpr int DirectionSteps[8] = {9, 8, 7, 1, -1, -7, -8, -9};
extern Bitboard direction_rays[8][64];  // [direction][square], to the edge
extern Bitboard between[64][64];        // strictly between, empty if not aligned
extern int8_t direction[64][64];        // step from a towards b, 0 if not aligned

void InitialiseAttacks();

// Index into direction_rays of a step; -1 for a number that is no step.
constexpr int DirectionIndex(int step) {
    switch (step) {
        case 9: return 0;
        case 8: return 1;
        case 7: return 2;
        case 1: return 3;
        case -1: return 4;
        case -7: return 5;
        case -8: return 6;
        case -9: return 7;
        default: return -1;
    }
}

inline Bitboard RankAttacks(Square s) {
    const unsigned line = (thread_board.occupied >> (s & 56)) & 255;
    return rank_attacks[line_pattern[line][s & 7] * 8 + (s >> 3)];
}
inline Bitboard FileAttacks(Square s) {
    const unsigned line = (thread_board.file_occupied >> (8 * (s & 7))) & 255;
    return file_attacks[line_pattern[line][s >> 3] * 8 + (s & 7)];
}
inline Bitboard DiagonalAttacks(Square s) {
    const int index = (s & 7) - (s >> 3) + 7;
    return diagonal_attacks[line_pattern[thread_board.diagonal[index]][s >> 3] * 16 + index];
}
inline Bitboard AntiDiagonalAttacks(Square s) {
    const int index = (s & 7) + (s >> 3);
    return anti_diagonal_attacks[line_pattern[thread_board.anti_diagonal[index]][s >> 3] * 16 + index];
}
inline Bitboard RookAttacks(Square s) { return RankAttacks(s) | FileAttacks(s); }
inline Bitboard BishopAttacks(Square s) { return DiagonalAttacks(s) | AntiDiagonalAttacks(s); }
inline Bitboard QueenAttacks(Square s) { return RookAttacks(s) | BishopAttacks(s); }

// The attacks of a slider on s in one direction only, up to and including the first
// blocker. A number that is no step gives the empty set.
Bitboard RayAttacks(Square s, int step);

// Is s attacked by the men of colour c? The empty-board rays come first, so that the line
// look-ups are paid only when a slider is aligned.
inline bool IsAttacked(Square s, Colour c) {
    const Position& p = thread_board;
    if (pawn_attacks[c ^ 1][s] & p.pieces[PAWN][c]) return true;
    if (knight_attacks[s] & p.pieces[KNIGHT][c]) return true;
    if (king_attacks[s] & p.pieces[KING][c]) return true;
    const Bitboard rooks = p.rook_movers & p.colour[c];
    if ((rook_rays[s] & rooks) && (RookAttacks(s) & rooks)) return true;
    const Bitboard bishops = p.bishop_movers & p.colour[c];
    return (bishop_rays[s] & bishops) && (BishopAttacks(s) & bishops);
}

// Is the king of colour c attacked?
inline bool InCheck(Colour c) { return IsAttacked(thread_board.king_square[c], ChangeSide(c)); }

// All men of either colour that attack s.
Bitboard AttackersTo(Square s);
