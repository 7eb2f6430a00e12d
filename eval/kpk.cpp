// kpk.cpp - the bitbase of king and pawn against king.
//
// Made by going backwards from promotion, one pawn square at a time, seventh rank first. For
// a fixed pawn the state is, for each white king square, a set of black king squares; a step
// of the iteration treats a whole set with a few shifts, so all of it takes a millisecond or
// two. Files e to h mirror files a to d.
//
// A black pawn uses the same bits: turning the board by half a turn and swapping colours
// complements every part of the index.
//
// State: kpk_bits, filled by InitialiseKpk().
#include "eval/kpk.h"

#include "board/attacks.h"
#include "eval/masks.h"

namespace {

uint64_t kpk_bits[KpkBits / 64];

// [white king]: black king squares from which the pawn's side wins.
struct WinSets {
    Bitboard white_to_move[64];
    Bitboard black_to_move[64];
};

// Squares one king move from any square of the set, the set's own squares included when they
// touch each other.
Bitboard KingReach(Bitboard b) {
    const Bitboard side = ShiftEast(b) | ShiftWest(b), row = b | side;
    return side | ShiftNorth(row) | ShiftSouth(row);
}

// Attacks of a promoted piece on a board that holds besides it only the white king. The
// black king is left out so that squares behind it count as attacked.
Bitboard PromotedAttacks(Square s, Square white_king, bool queen) {
    Bitboard attacks = 0;
    for (int d = 0; d < 8; ++d) {
        const int step = DirectionSteps[d];
        const bool straight = step == 1 || step == -1 || step == 8 || step == -8;
        if (!straight && !queen) continue;
        const Bitboard ray = direction_rays[d][s];
        attacks |= ray & Bit(white_king) ? between[s][white_king] | Bit(white_king) : ray;
    }
    return attacks;
}

// Black king squares that lose, black to move, against a queen or rook on s: neither can the
// piece be taken nor is it stalemate. With a piece that strong everything else is won.
Bitboard LostToPromoted(Square s, Square white_king, bool queen) {
    const Bitboard attacked = PromotedAttacks(s, white_king, queen) | king_attacks[white_king];
    const Bitboard legal = ~(king_attacks[white_king] | Bit(white_king) | Bit(s));
    const Bitboard safe = ~(attacked | Bit(white_king));  // the piece itself, if undefended, is safe
    const Bitboard takes = (safe & Bit(s)) ? king_attacks[s] : 0;
    const Bitboard moves = KingReach(safe & ~Bit(s));
    const Bitboard in_check = PromotedAttacks(s, white_king, queen);
    return legal & ~takes & (moves | in_check);
}

void SolvePawn(Square pawn, const WinSets* pushed, const WinSets* pushed_twice, WinSets& sets) {
    const Bitboard pawn_hits = pawn_attacks[WHITE][pawn];
    const Square next = pawn + 8;
    // Black king squares lost by a pawn move; the same in every round.
    Bitboard by_pawn[64];
    for (Square k = 0; k < 64; ++k) {
        sets.white_to_move[k] = sets.black_to_move[k] = 0;
        by_pawn[k] = 0;
        if (k == pawn || k == next) continue;
        const Bitboard legal = ~(king_attacks[k] | Bit(k) | Bit(pawn) | pawn_hits);
        if (RankOf(next) == 7) {
            by_pawn[k] = LostToPromoted(next, k, true) | LostToPromoted(next, k, false);
        } else {
            by_pawn[k] = pushed->black_to_move[k];
            if (pushed_twice && k != next + 8) by_pawn[k] |= pushed_twice->black_to_move[k] & ~Bit(next);
        }
        by_pawn[k] &= legal & ~Bit(next);
    }
    for (bool changed = true; changed;) {
        changed = false;
        for (Square k = 0; k < 64; ++k) {
            if (k == pawn) continue;
            // Black to move: every legal king move leads into a won set, and there is one or
            // it is mate.
            const Bitboard attacked = king_attacks[k] | pawn_hits;
            const Bitboard legal = ~(king_attacks[k] | Bit(k) | Bit(pawn));
            const Bitboard safe = ~(attacked | Bit(k));
            const Bitboard escapes = safe & ~sets.white_to_move[k];  // the undefended pawn included
            const Bitboard lost = legal & ~KingReach(escapes) & (KingReach(safe) | pawn_hits);
            if (lost != sets.black_to_move[k]) {
                sets.black_to_move[k] = lost;
                changed = true;
            }
        }
        for (Square k = 0; k < 64; ++k) {
            if (k == pawn) continue;
            const Bitboard legal = ~(king_attacks[k] | Bit(k) | Bit(pawn) | pawn_hits);
            Bitboard won = by_pawn[k];
            for (Bitboard to = king_attacks[k] & ~Bit(pawn); to;) won |= sets.black_to_move[PopLowest(to)];
            won &= legal;
            if (won != sets.white_to_move[k]) {
                sets.white_to_move[k] = won;
                changed = true;
            }
        }
    }
}

void SetBit(Square white_king, Square black_king, Square pawn, int side) {
    const int index = white_king * 8192 + black_king * 128 + pawn * 2 + side;
    kpk_bits[index >> 6] |= uint64_t(1) << (index & 63);
}

void StorePawn(Square pawn, const WinSets& sets) {
    for (Square k = 0; k < 64; ++k)
        for (int side = 0; side < 2; ++side)
            for (Bitboard rest = side == WHITE ? sets.white_to_move[k] : sets.black_to_move[k]; rest;) {
                const Square b = PopLowest(rest);
                SetBit(k, b, pawn, side);
                SetBit(k ^ 7, b ^ 7, pawn ^ 7, side);
            }
}

}  // namespace

void InitialiseKpk() {
    for (int file = 0; file < 4; ++file) {
        WinSets sets[8];  // [rank of the pawn]
        for (int rank = 6; rank >= 1; --rank) {
            SolvePawn(SquareAt(file, rank), &sets[rank + 1], rank == 1 ? &sets[3] : nullptr, sets[rank]);
            StorePawn(SquareAt(file, rank), sets[rank]);
        }
    }
}

bool KpkWon(Colour pawn_colour, Square pawn_king, Square other_king, Square pawn, Colour side_to_move) {
    int index = pawn_king * 8192 + other_king * 128 + pawn * 2 + side_to_move;
    if (pawn_colour == BLACK) index = KpkBits - 1 - index;
    return kpk_bits[index >> 6] >> (index & 63) & 1;
}
