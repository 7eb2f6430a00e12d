// threats.cpp - what one side's men threaten to win, restrict or promote. Needs all attack sets.
//
// A man is strongly held when a pawn defends it, or two men do and we do not attack it twice.
// Everything else that we attack is weak.
#include "board/attacks.h"
#include "eval/eval_info.h"

namespace {

// The square count of SpaceSquare is taken while so many piece units are on the board, and
// weighs more the more pieces have to share the room.
constexpr int SpaceUnits = 36;
constexpr int SpacePieces = 3, SpaceQuarter = 4;

// Place of a man in the rows of HitByMinor and HitByRook. Kings are never counted, pawns never where
// the row begins with knights.
constexpr int VictimIndex(int type) {
    switch (type) {
        case KNIGHT: return 1;
        case BISHOP: return 2;
        case ROOK: return 3;
        case QUEEN: return 4;
        default: return 0;
    }
}

template <Colour Us, bool Traced> Tally<Traced> EvaluateSide() {
    constexpr Colour Them = ChangeSide(Us);
    constexpr int Up = Us == WHITE ? 8 : -8;
    const Position& p = thread_board;
    const EvalInfo& info = thread_eval_info;
    Tally<Traced> tally(Us);

    const Bitboard own_pawns = p.pieces[PAWN][Us];
    const Bitboard enemy_men = p.colour[Them] & ~p.pieces[KING][Them];
    const Bitboard enemy_pieces = enemy_men & ~p.pieces[PAWN][Them];
    const Bitboard ours = info.attacks[Us] | info.attacks_of[Us][KING];
    const Bitboard theirs = info.attacks[Them] | info.attacks_of[Them][KING];
    const Bitboard held = info.pawn_attacks[Them] | (info.attacked_twice[Them] & ~info.attacked_twice[Us]);
    const Bitboard weak = enemy_men & ours & ~held;
    const Bitboard safe = ~theirs | ours;  // for pawns

    if (enemy_men & ours) {
        const auto* of = info.attacks_of[Us];
        for (Bitboard hit = (of[KNIGHT] | of[BISHOP]) & (enemy_pieces | weak); hit;)
            tally.Add(HitByMinor + VictimIndex(p.board[PopLowest(hit)]));
        for (Bitboard hit = of[ROOK] & (weak | p.pieces[QUEEN][Them]); hit;)
            tally.Add(HitByRook + VictimIndex(p.board[PopLowest(hit)]));
        if (const Bitboard hit = of[QUEEN] & weak) tally.Add(HitByQueen, PopCount(hit));
        if (of[KING] & weak) tally.Add(HitByKing);
        if (Bitboard hit = info.pawn_attacks[Us] & enemy_pieces) {
            hit &= PawnAttackSet<Us>(own_pawns & safe);
            while (hit) tally.Add(HitByPawn + VictimIndex(p.board[PopLowest(hit)]) - 1);
        }
        if (const Bitboard hanging = weak & (~theirs | (enemy_pieces & info.attacked_twice[Us]))) {
            const int pieces = PopCount(hanging & enemy_pieces);
            if (pieces) tally.Add(Hanging + 1, pieces);
            if (hanging & ~enemy_pieces) tally.Add(Hanging, PopCount(hanging) - pieces);
        }
    }

    // Pawn pushes that would attack a piece.
    {
        const Bitboard empty = ~p.occupied;
        Bitboard pushed = ShiftForward<Us>(own_pawns) & empty;
        pushed |= ShiftForward<Us>(pushed & RelativeRankMask(Us, 2)) & empty;
        pushed &= ~info.pawn_attacks[Them] & safe;
        if (const Bitboard hit = PawnAttackSet<Us>(pushed) & enemy_pieces & ~info.pawn_attacks[Us])
            tally.Add(PawnPushThreat, PopCount(hit));
    }

    tally.Add(Restricted, PopCount(theirs & ours & ~held));

    constexpr Bitboard advanced =
        RelativeRankMask(Us, 3) | RelativeRankMask(Us, 4) | RelativeRankMask(Us, 5) | RelativeRankMask(Us, 6);
    tally.Add(ControlledSquare, PopCount(ours & ~theirs & advanced));

    if (const Bitboard queens = p.pieces[QUEEN][Them]; queens && !MoreThanOne(queens)) {
        const Square queen = LowestSquare(queens);
        const Bitboard free = ~(held | own_pawns);
        if (const Bitboard jumps = knight_attacks[queen] & info.attacks_of[Us][KNIGHT] & free)
            tally.Add(KnightNearQueen, PopCount(jumps));
        if (queen_rays[queen] & info.attacked_twice[Us] & free) {
            const Bitboard lines =
                (BishopAttacks(queen) & info.attacks_of[Us][BISHOP]) | (RookAttacks(queen) & info.attacks_of[Us][ROOK]);
            if (const Bitboard hits = lines & free & info.attacked_twice[Us])
                tally.Add(SliderNearQueen, PopCount(hits));
        }
    }

    // What stands in the way of the passed pawns besides men.
    for (Bitboard rest = info.foremost[Us]; rest;) {
        const Square s = PopLowest(rest);
        const int rank = RelativeRank(Us, s);
        if (rank < 1 || rank > 6) continue;
        const Square step = s + Up;
        if (p.occupied & Bit(step)) continue;
        if (!(evaluation_masks.front_span[Us][s] & (theirs | p.colour[Them]))) tally.Add(PassedPathSafe + rank - 1);
        if (safe & Bit(step)) tally.Add(PassedStepSafe + rank - 1);
    }

    if (p.NonPawnMaterial[WHITE] + p.NonPawnMaterial[BLACK] >= SpaceUnits) {
        constexpr Bitboard centre = (FileMask(2) | FileMask(3) | FileMask(4) | FileMask(5))
            & (RelativeRankMask(Us, 1) | RelativeRankMask(Us, 2) | RelativeRankMask(Us, 3));
        const Bitboard room = centre & ~own_pawns & ~info.pawn_attacks[Them];
        Bitboard behind = ShiftBackward<Us>(own_pawns);
        behind |= ShiftBackward<Us>(behind);
        behind |= ShiftBackward<Us>(behind);
        const int squares = PopCount(room) + PopCount(room & behind & ~theirs);
        const int pieces = p.MinorCount[Us] + p.PieceCount[ROOK][Us] + p.PieceCount[QUEEN][Us] - SpacePieces;
        if (pieces > 0) tally.Add(SpaceSquare, squares * pieces / SpaceQuarter);
    }
    return tally;
}

}  // namespace

template <bool Traced> void EvaluateThreats() {
    const Tally<Traced> white = EvaluateSide<WHITE, Traced>();
    const Tally<Traced> black = EvaluateSide<BLACK, Traced>();
    AddCommon(white, black);
}
template void EvaluateThreats<false>();
template void EvaluateThreats<true>();
