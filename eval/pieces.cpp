// pieces.cpp - mobility and placement of the pieces, and how hard they press on the enemy king.
//
// Each piece's attack set is looked up once; mobility, the king-zone count, threats and the
// square sets for the search all read it. A pinned piece attacks as if it were free, but its
// mobility is what the pin leaves it.
#include <algorithm>

#include "board/attacks.h"
#include "board/legality.h"
#include "eval/eval_info.h"

namespace {

constexpr Bitboard Centre = Bit(27) | Bit(28) | Bit(35) | Bit(36);  // d4 e4 d5 e5
// KnightPerPawn and RookPerPawn count pawns from here.
constexpr int UsualPawns = 5;
// A rook with more squares than this is not trapped.
constexpr int TrappedRookSquares = 3;

// A bishop that took on a7 or h7 and got shut in by the pawn on b6 or g6.
template <Colour Us> int TrappedBishops(Bitboard bishops) {
    constexpr Colour Them = ChangeSide(Us);
    constexpr Square a7 = Us == WHITE ? 48 : 8, h7 = a7 + 7;
    constexpr int Back = Us == WHITE ? -8 : 8;
    constexpr Square b6 = a7 + Back + 1, g6 = h7 + Back - 1;
    const Bitboard enemy_pawns = thread_board.pieces[PAWN][Them];
    int n = 0;
    if ((bishops & Bit(a7)) && (enemy_pawns & Bit(b6))) ++n;
    if ((bishops & Bit(h7)) && (enemy_pawns & Bit(g6))) ++n;
    return n;
}

// A rook between its uncastled king and the corner.
template <Colour Us> bool IsBoxed(Square rook) {
    const Square king = thread_board.king_square[Us];
    const int rook_file = FileOf(rook), king_file = FileOf(king);
    if (RelativeRank(Us, king) != 0 || RelativeRank(Us, rook) > 1) return false;
    return (king_file >= 5 && rook_file >= king_file) || (king_file <= 2 && rook_file <= king_file);
}

// Squares defended by a pawn in the enemy's half or before it, where no enemy pawn can ever
// come to attack.
template <Colour Us> Bitboard OutpostSquares() {
    constexpr Colour Them = ChangeSide(Us);
    constexpr Bitboard ranks = RelativeRankMask(Us, 3) | RelativeRankMask(Us, 4) | RelativeRankMask(Us, 5);
    const Bitboard squares = thread_eval_info.pawn_attacks[Us] & ranks;
    if (!squares) return 0;
    Bitboard reach = thread_board.pieces[PAWN][Them];
    reach |= ShiftForward<Them>(reach);
    reach |= ShiftForward<Them>(ShiftForward<Them>(reach));
    reach |= ShiftForward<Them>(ShiftForward<Them>(ShiftForward<Them>(ShiftForward<Them>(reach))));
    return squares & ~PawnAttackSet<Them>(reach);
}

// Collects attack sets and the pressure on the enemy king's zone.
struct AttackSets {
    Bitboard zone;  // of the enemy king, empty when he need not hide
    Bitboard once;  // by anything, king included
    Bitboard twice;
    int danger = 0, attackers = 0;

    void Join(Bitboard attacked, int danger_weight) {
        twice |= once & attacked;
        once |= attacked;
        if (const Bitboard hit = attacked & zone) {
            ++attackers;
            danger += danger_weight * PopCount(hit);
        }
    }
};

template <Colour Us, bool Traced> Tally<Traced> EvaluateSide() {
    constexpr Colour Them = ChangeSide(Us);
    constexpr int AnyCastling = Us == WHITE ? WhiteKingSide | WhiteQueenSide : BlackKingSide | BlackQueenSide;
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    Tally<Traced> tally(Us);

    const Square king = p.king_square[Us];
    const Bitboard own_pawns = p.pieces[PAWN][Us], enemy_pawns = p.pieces[PAWN][Them];
    const Bitboard pinned = PinnedPieces(Us);
    const Bitboard outposts = OutpostSquares<Us>();
    // Squares that count for mobility: not under enemy pawns, not held by men that will stay.
    const Bitboard staying =
        own_pawns & (ShiftBackward<Us>(p.occupied) | RelativeRankMask(Us, 1) | RelativeRankMask(Us, 2));
    const Bitboard area = ~(staying | p.pieces[KING][Us] | p.pieces[QUEEN][Us] | info.pawn_attacks[Them]);
    const auto mobile = [&](Square s, Bitboard attacked) {
        attacked &= area;
        if (pinned & Bit(s)) attacked &= direction_rays[DirectionIndex(direction[king][s])][king];
        return PopCount(attacked);
    };

    AttackSets sets;
    sets.zone = info.ending[Them] ? 0 : evaluation_masks.king_zone[Them][p.king_square[Them]];
    sets.once = info.pawn_attacks[Us] | king_attacks[king];
    sets.twice = PawnDoubleAttackSet<Us>(own_pawns) | (info.pawn_attacks[Us] & king_attacks[king]);
    Bitboard by_knights = 0, by_bishops = 0, by_rooks = 0, by_queens = 0;
    const int rammed = info.pawn.rammed;
    const int pawns_above_usual = p.PieceCount[PAWN][Us] - UsualPawns;

    if (const Bitboard knights = p.pieces[KNIGHT][Us]) {
        for (Bitboard rest = knights; rest;) {
            const Square s = PopLowest(rest);
            const Bitboard attacked = knight_attacks[s];
            by_knights |= attacked;
            sets.Join(attacked, weights.danger_knight);
            tally.Add(KnightMobility + (pinned & Bit(s) ? 0 : PopCount(attacked & area)));
            if (outposts & Bit(s)) tally.Add(KnightOutpost);
            else if (attacked & outposts & ~p.colour[Us]) tally.Add(KnightNearOutpost);
            tally.Add(KnightKingDistance, Distance(s, king));
        }
        const int count = p.PieceCount[KNIGHT][Us];
        tally.Add(KnightValue, count);
        tally.Add(KnightPerPawn, count * pawns_above_usual);
        if (rammed) tally.Add(ClosedKnight, count * rammed);
    }

    if (const Bitboard bishops = p.pieces[BISHOP][Us]) {
        const int light = Us == WHITE ? info.pawn.light_pawns & 15 : info.pawn.light_pawns >> 4;
        const Bitboard blocked = own_pawns & ShiftBackward<Us>(p.occupied);
        const int surplus = 2 * light - p.PieceCount[PAWN][Us];  // light less dark pawns
        for (Bitboard rest = bishops; rest;) {
            const Square s = PopLowest(rest);
            const Bitboard attacked = BishopAttacks(s);
            by_bishops |= attacked;
            sets.Join(attacked, weights.danger_bishop);
            tally.Add(BishopMobility + mobile(s, attacked));
            tally.Add(BadBishopPawn, Bit(s) & LightSquares ? surplus : -surplus);
            if (const Bitboard own = blocked & (Bit(s) & LightSquares ? LightSquares : DarkSquares))
                tally.Add(BlockedBishopPawn, PopCount(own));
            if (outposts & Bit(s)) tally.Add(BishopOutpost);
            if (const Bitboard faced = bishop_rays[s] & enemy_pawns) tally.Add(BishopFacesPawn, PopCount(faced));
            if (MoreThanOne((attacked | Bit(s)) & Centre)) tally.Add(BishopLongDiagonal);
        }
        if (MoreThanOne(bishops)) {
            tally.Add(BishopPair);
            tally.Add(BishopPairPerPawn, pawns_above_usual);
        }
        if (rammed) tally.Add(ClosedBishop, p.PieceCount[BISHOP][Us] * rammed);
        if (bishops & (Us == WHITE ? Bitboard(0x81) << 48 : Bitboard(0x81) << 8))
            tally.Add(TrappedBishop, TrappedBishops<Us>(bishops));
    }
    const Bitboard minors = p.pieces[KNIGHT][Us] | p.pieces[BISHOP][Us];
    if (const Bitboard behind = minors & ShiftBackward<Us>(own_pawns | enemy_pawns))
        tally.Add(MinorBehindPawn, PopCount(behind));

    if (const Bitboard rooks = p.pieces[ROOK][Us]) {
        for (Bitboard rest = rooks; rest;) {
            const Square s = PopLowest(rest);
            const Bitboard attacked = RookAttacks(s);
            by_rooks |= attacked;
            sets.Join(attacked, weights.danger_rook);
            const int squares = mobile(s, attacked);
            tally.Add(RookMobility + squares);
            const int file = 1 << FileOf(s);
            if (!(info.pawn.files[Us] & file)) tally.Add(info.pawn.files[Them] & file ? RookHalfOpen : RookOpen);
            else if (info.passed[Us] & evaluation_masks.front_span[Us][s]) tally.Add(RookBehindPassed);
            else if (squares <= TrappedRookSquares && !(p.castling & AnyCastling) && IsBoxed<Us>(s))
                tally.Add(TrappedRook);
            if (RelativeRank(Us, s) == 6
                && (RelativeRank(Us, p.king_square[Them]) == 7 || (enemy_pawns & RelativeRankMask(Us, 6))))
                tally.Add(RookSeventh);
        }
        const int count = p.PieceCount[ROOK][Us];
        tally.Add(RookPerPawn, count * pawns_above_usual);
        if (MoreThanOne(rooks)) tally.Add(RookPair);
        if (rammed) tally.Add(ClosedRook, count * rammed);
    }

    for (Bitboard rest = p.pieces[QUEEN][Us]; rest;) {
        const Square s = PopLowest(rest);
        const Bitboard attacked = QueenAttacks(s);
        by_queens |= attacked;
        sets.Join(attacked, weights.danger_queen);
        tally.Add(QueenMobility + mobile(s, attacked));
    }

    info.attacks_of[Us][PAWN] = info.pawn_attacks[Us];
    info.attacks_of[Us][KNIGHT] = by_knights;
    info.attacks_of[Us][BISHOP] = by_bishops;
    info.attacks_of[Us][ROOK] = by_rooks;
    info.attacks_of[Us][QUEEN] = by_queens;
    info.attacks_of[Us][KING] = king_attacks[king];
    info.attacks[Us] = info.pawn_attacks[Us] | by_knights | by_bishops | by_rooks | by_queens;
    info.attacked_twice[Us] = sets.twice;
    info.pinned[Us] = pinned;
    info.danger[Us] = sets.danger;
    info.attackers[Us] = sets.attackers;
    return tally;
}

}  // namespace

template <bool Traced> void EvaluatePieces() {
    const Tally<Traced> white = EvaluateSide<WHITE, Traced>();
    const Tally<Traced> black = EvaluateSide<BLACK, Traced>();
    AddCommon(white, black);
}
template void EvaluatePieces<false>();
template void EvaluatePieces<true>();
