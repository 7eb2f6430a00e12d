// exchange.cpp - the swap algorithm on a local copy of the occupancy.
//
// The first attackers of the square come from the line tables. A slider hidden behind a man
// that has captured comes to light by looking along the line from the square through that
// man to the next blocker.
#include "board/exchange.h"

#include <algorithm>
#include <initializer_list>

#include "board/attacks.h"

namespace {

constexpr PieceType CaptureOrder[6] = {PAWN, KNIGHT, BISHOP, ROOK, QUEEN, KING};

// The slider that attacks `target` along the line through `opened`, now an empty square.
Bitboard HiddenAttacker(Square target, Square opened, Bitboard occupied) {
    const int step = direction[target][opened];
    if (step == 0) return 0;
    const Bitboard men = direction_rays[DirectionIndex(step)][target] & occupied;
    if (men == 0) return 0;
    const Bitboard first = Bit(step > 0 ? LowestSquare(men) : HighestSquare(men));
    const bool straight = step == 1 || step == -1 || step == 8 || step == -8;
    return first & (straight ? thread_board.rook_movers : thread_board.bishop_movers);
}

template <Colour C> Bitboard MinorAttackSet() {
    const Position& p = thread_board;
    Bitboard reached = 0;
    for (Bitboard men = p.pieces[KNIGHT][C]; men;) reached |= knight_attacks[PopLowest(men)];
    for (Bitboard men = p.pieces[BISHOP][C]; men;) reached |= BishopAttacks(PopLowest(men));
    return reached;
}

Bitboard SliderAttackSet(Bitboard rooks, Bitboard bishops) {
    Bitboard reached = 0;
    while (rooks) reached |= RookAttacks(PopLowest(rooks));
    while (bishops) reached |= BishopAttacks(PopLowest(bishops));
    return reached;
}

template <Colour us> bool Threatens(int margin) {
    constexpr Colour them = ChangeSide(us);
    const Position& p = thread_board;
    const Bitboard seventh = p.pieces[PAWN][them] & RelativeRankMask(them, 6);
    if (seventh && (ShiftForward<them>(seventh) & ~p.occupied)) return true;

    const int threshold = std::max(margin, 50);
    const auto ours_above = [&](int least) {  // our men worth more than `least`, king left out
        Bitboard men = 0;
        for (const PieceType type : {PAWN, KNIGHT, BISHOP, ROOK, QUEEN})
            if (PieceValue[type] > least) men |= p.pieces[type][us];
        return men;
    };
    if (ours_above(threshold) == 0) return false;

    const Bitboard pawn_hits = PawnAttackSet<them>(p.pieces[PAWN][them]);
    if (pawn_hits & ours_above(PieceValue[PAWN] + threshold)) return true;
    const Bitboard minor_hits = MinorAttackSet<them>();
    if (minor_hits & ours_above(PieceValue[KNIGHT] + threshold)) return true;
    const Bitboard rook_hits = SliderAttackSet(p.pieces[ROOK][them], 0);
    if (rook_hits & ours_above(PieceValue[ROOK] + threshold)) return true;

    const Bitboard queens = p.pieces[QUEEN][them];
    const Bitboard all_hits =
        pawn_hits | minor_hits | rook_hits | SliderAttackSet(queens, queens) | king_attacks[p.king_square[them]];
    const Bitboard loose = all_hits & ours_above(threshold);
    if (loose == 0) return false;
    const Bitboard our_queens = p.pieces[QUEEN][us];
    const Bitboard guarded = PawnAttackSet<us>(p.pieces[PAWN][us]) | MinorAttackSet<us>()
        | SliderAttackSet(p.pieces[ROOK][us] | our_queens, our_queens) | king_attacks[p.king_square[us]];
    return (loose & ~guarded) != 0;
}

// The state of an exchange on one square: who still attacks it, with the men used up taken
// off the board.
struct Exchange {
    Square target;
    Bitboard occupied, attackers;
    int first_gain;  // of the move that starts it, before any reply
    int on_square;   // value of the man that can be retaken now

    explicit Exchange(Move m) : target(MoveTo(m)) {
        const Position& p = thread_board;
        const Square from = MoveFrom(m);
        occupied = p.occupied ^ Bit(from);
        attackers = AttackersTo(target) | HiddenAttacker(target, from, occupied);
        on_square = PieceValue[MovePiece(m)];
        first_gain = PieceValue[MoveCaptured(m)];
        if (MovePromotion(m) != EMPTY) {
            on_square = PieceValue[MovePromotion(m)];
            first_gain += on_square - PieceValue[PAWN];
        } else if (IsEnPassant(m)) {
            const Square victim = (from & 56) | (target & 7);
            first_gain = PieceValue[PAWN];
            occupied ^= Bit(victim);
            attackers |= HiddenAttacker(target, victim, occupied);
        }
        attackers &= occupied;
    }

    // Takes with the least valuable man of `side`; EMPTY when it has none, or only a king that
    // the other side would take.
    PieceType Retake(Colour side) {
        const Position& p = thread_board;
        const Bitboard mine = attackers & p.colour[side];
        if (mine == 0) return EMPTY;
        for (const PieceType type : CaptureOrder) {
            const Bitboard men = mine & p.pieces[type][side];
            if (men == 0) continue;
            if (type == KING && (attackers & p.colour[ChangeSide(side)])) return EMPTY;
            const Square square = LowestSquare(men);
            occupied ^= Bit(square);
            if (type != KNIGHT) attackers |= HiddenAttacker(target, square, occupied);
            attackers &= occupied;
            return type;
        }
        return EMPTY;
    }
};

}  // namespace

int ExchangeGain(Move m) {
    Exchange exchange(m);
    int gains[34];
    gains[0] = exchange.first_gain;
    int on_square = exchange.on_square, last = 0;
    Colour side = ChangeSide(SideToMove());
    while (const PieceType type = exchange.Retake(side)) {
        gains[last + 1] = on_square - gains[last];
        ++last;
        on_square = PieceValue[type];
        side = ChangeSide(side);
    }
    for (; last > 0; --last) gains[last - 1] = -std::max(-gains[last - 1], gains[last]);
    return gains[0];
}

// Only the sign is wanted, so the exchange ends as soon as one side is content even when it
// loses what it has just put on the square.
bool PassesExchange(Move m) {
    if (MovePromotion(m) == EMPTY && MoveCaptured(m) != EMPTY
        && PieceValue[MoveCaptured(m)] >= PieceValue[MovePiece(m)])
        return true;
    Exchange exchange(m);
    if (exchange.first_gain < 0) return false;
    int deficit = exchange.on_square - exchange.first_gain;  // of the side that has just moved, if retaken
    if (deficit <= 0) return true;
    Colour side = ChangeSide(SideToMove());
    bool passes = true;
    while (const PieceType type = exchange.Retake(side)) {
        passes = !passes;
        deficit = PieceValue[type] - deficit;
        if (passes ? deficit <= 0 : deficit < 0) break;
        side = ChangeSide(side);
    }
    return passes;
}

bool OpponentThreatens(int margin) {
    return SideToMove() == WHITE ? Threatens<WHITE>(margin) : Threatens<BLACK>(margin);
}
