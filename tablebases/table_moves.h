// table_moves.h - moves forwards and backwards in a table position.
//
// The tables are made by several threads, so nothing here touches the engine's one position; a
// position is copied with its move made. Moves are those of chess without castling. A capture
// or a promotion leads to another table and is called a conversion.
#pragma once

#include "board/attacks.h"
#include "tablebases/table_index.h"

inline Bitboard TableMen(const TablePosition& p, int side) {
    Bitboard men = Bit(p.king[side]);
    for (int i = 0; i < p.men[side]; ++i) men |= Bit(p.square[side][i]);
    return men;
}

// One direction of a slider's attacks; the first man in the way is attacked.
template <int Direction> Bitboard RayTo(Square s, Bitboard occupied) {
    const Bitboard ray = direction_rays[Direction][s], stopped = ray & occupied;
    if (stopped == 0) return ray;
    const Square first = DirectionSteps[Direction] > 0 ? LowestSquare(stopped) : HighestSquare(stopped);
    return ray ^ direction_rays[Direction][first];
}
inline Bitboard TableAttacks(int type, Square s, Bitboard occupied) {
    Bitboard attacks = 0;
    if (type == KING) return king_attacks[s];
    if (type == KNIGHT) return knight_attacks[s];
    if (MovesLikeBishop(type))
        attacks |= RayTo<0>(s, occupied) | RayTo<2>(s, occupied) | RayTo<5>(s, occupied) | RayTo<7>(s, occupied);
    if (MovesLikeRook(type))
        attacks |= RayTo<1>(s, occupied) | RayTo<3>(s, occupied) | RayTo<4>(s, occupied) | RayTo<6>(s, occupied);
    return attacks;
}

// Is s attacked by the men of a side?
inline bool TableAttacked(const TablePosition& p, Square s, int by, Bitboard occupied) {
    if (king_attacks[s] & Bit(p.king[by])) return true;
    for (int i = 0; i < p.men[by]; ++i) {
        const int type = p.type[by][i];
        const Square from = p.square[by][i];
        const Bitboard reach = type == PAWN ? pawn_attacks[by][from]
            : type == KNIGHT                ? knight_attacks[from]
            : type == QUEEN                 ? queen_rays[from]
            : type == ROOK                  ? rook_rays[from]
                                            : bishop_rays[from];
        if (!(reach & Bit(s))) continue;
        if (type == PAWN || type == KNIGHT || !(between[from][s] & occupied)) return true;
    }
    return false;
}

// True for a position of chess as the tables count them: the side that moved last is not in
// check, and a pawn that can be taken en passant has just come from its first rank but one.
bool IsTablePosition(const TablePosition& p);

// The squares of the pawns that `side` could have pushed two ranks with its last move so that a
// pawn beside them can capture en passant.
inline Bitboard CapturablePawns(const TablePosition& p, int side, Bitboard occupied) {
    Bitboard pushed = 0, beside = 0;
    const Bitboard rank = RankMask(side == WHITE ? 3 : 4);
    for (int i = 0; i < p.men[side]; ++i)
        if (p.type[side][i] == PAWN) pushed |= Bit(p.square[side][i]) & rank;
    if (pushed == 0) return 0;
    for (int i = 0; i < p.men[side ^ 1]; ++i)
        if (p.type[side ^ 1][i] == PAWN) beside |= Bit(p.square[side ^ 1][i]) & rank;
    pushed &= ShiftEast(beside) | ShiftWest(beside);
    return side == WHITE ? pushed & ~(occupied << 8) & ~(occupied << 16)
                         : pushed & ~(occupied >> 8) & ~(occupied >> 16);
}

// Calls visit(position after the move, is it a conversion) for every legal move.
template <typename Visit> void ForEachMove(const TablePosition& p, Visit&& visit);
// Calls visit(position before the move) for every position of the same men from which a move
// leads to p; those that are no table positions among them.
template <typename Visit> void ForEachUnmove(const TablePosition& p, Visit&& visit);

// ---- the two generators ----

namespace table_moves {

inline void RemoveMan(TablePosition* p, int side, int man) {
    const int last = --p->men[side];
    p->type[side][man] = p->type[side][last];
    p->square[side][man] = p->square[side][last];
}

// The move is made but for a captured man on `to`; hands it on when it is legal.
template <typename Visit>
void Finish(TablePosition& after, Square captured, Bitboard occupied, bool promotes, Visit&& visit) {
    const int us = after.side_to_move, them = us ^ 1;
    bool captures = false;
    for (int i = 0; i < after.men[them]; ++i)
        if (after.square[them][i] == captured) {
            RemoveMan(&after, them, i);
            captures = true;
            break;
        }
    if (TableAttacked(after, after.king[us], them, occupied)) return;
    after.side_to_move = Colour(them);
    visit(after, captures || promotes);
}

}  // namespace table_moves

template <typename Visit> void ForEachMove(const TablePosition& p, Visit&& visit) {
    const int us = p.side_to_move, them = us ^ 1;
    const Bitboard ours = TableMen(p, us), theirs = TableMen(p, them), occupied = ours | theirs;
    TablePosition start = p;
    start.en_passant = NoEnPassant;
    const Square king = p.king[us];
    for (Bitboard to = king_attacks[king] & ~ours; to != 0;) {
        TablePosition after = start;
        const Square s = PopLowest(to);
        after.king[us] = uint8_t(s);
        table_moves::Finish(after, s, (occupied ^ Bit(king)) | Bit(s), false, visit);
    }
    for (int man = 0; man < p.men[us]; ++man) {
        const Square from = p.square[us][man];
        if (p.type[us][man] != PAWN) {
            for (Bitboard to = TableAttacks(p.type[us][man], from, occupied) & ~ours; to != 0;) {
                TablePosition after = start;
                const Square s = PopLowest(to);
                after.square[us][man] = uint8_t(s);
                table_moves::Finish(after, s, (occupied ^ Bit(from)) | Bit(s), false, visit);
            }
            continue;
        }
        const int step = us == WHITE ? 8 : -8;
        Bitboard to = pawn_attacks[us][from] & theirs;
        if (!(occupied & Bit(from + step))) {
            to |= Bit(from + step);
            if (RelativeRank(Colour(us), from) == 1 && !(occupied & Bit(from + 2 * step))) to |= Bit(from + 2 * step);
        }
        const Square passed = p.en_passant == NoEnPassant ? -1 : p.en_passant + step;
        if (passed >= 0 && (pawn_attacks[us][from] & Bit(passed))) to |= Bit(passed);
        while (to != 0) {
            const Square s = PopLowest(to);
            TablePosition after = start;
            after.square[us][man] = uint8_t(s);
            const Square captured = s == passed ? p.en_passant : s;
            Bitboard men = (occupied ^ Bit(from)) | Bit(s);
            if (s == passed) men ^= Bit(p.en_passant);
            if (RelativeRank(Colour(us), s) == 7) {
                for (const PieceType type : {QUEEN, ROOK, BISHOP, KNIGHT}) {
                    TablePosition promoted = after;
                    promoted.type[us][man] = uint8_t(type);
                    table_moves::Finish(promoted, captured, men, true, visit);
                }
                continue;
            }
            if (s == from + 2 * step && (CapturablePawns(after, us, men) & Bit(s))) after.en_passant = s;
            table_moves::Finish(after, captured, men, false, visit);
        }
    }
}

template <typename Visit> void ForEachUnmove(const TablePosition& p, Visit&& visit) {
    const int us = p.side_to_move ^ 1;  // who moved
    const Bitboard occupied = TableMen(p, us) | TableMen(p, us ^ 1);
    TablePosition start = p;
    start.side_to_move = Colour(us);
    start.en_passant = NoEnPassant;
    // The position before the move, and again with each pawn that could then be taken en passant.
    const auto visit_all = [&](TablePosition& before, Square from, Square to) {
        visit(before);
        const Bitboard men = (occupied ^ Bit(to)) | Bit(from);
        for (Bitboard pushed = CapturablePawns(before, us ^ 1, men); pushed != 0;) {
            before.en_passant = PopLowest(pushed);
            visit(before);
            before.en_passant = NoEnPassant;
        }
    };
    const int step = us == WHITE ? 8 : -8;
    if (p.en_passant == NoEnPassant) {
        const Square king = p.king[us];
        for (Bitboard from = king_attacks[king] & ~occupied & ~king_attacks[p.king[us ^ 1]]; from != 0;) {
            TablePosition before = start;
            const Square s = PopLowest(from);
            before.king[us] = uint8_t(s);
            visit_all(before, s, king);
        }
    }
    const Bitboard capturable = CapturablePawns(p, us, occupied);
    for (int man = 0; man < p.men[us]; ++man) {
        const Square to = p.square[us][man];
        if (p.en_passant != NoEnPassant && to != p.en_passant) continue;
        Bitboard from = 0;
        if (p.type[us][man] != PAWN) {
            from = TableAttacks(p.type[us][man], to, occupied) & ~occupied;
        } else {
            const int rank = RelativeRank(Colour(us), to);
            if (p.en_passant == NoEnPassant && rank >= 2) from |= Bit(to - step) & ~occupied;
            // A double push that can be answered en passant leads to the position that says so.
            const bool answered = (capturable & Bit(to)) != 0;
            if (rank == 3 && !(occupied & (Bit(to - step) | Bit(to - 2 * step)))
                && answered == (p.en_passant != NoEnPassant))
                from |= Bit(to - 2 * step);
        }
        while (from != 0) {
            TablePosition before = start;
            const Square s = PopLowest(from);
            before.square[us][man] = uint8_t(s);
            visit_all(before, s, to);
        }
    }
}
