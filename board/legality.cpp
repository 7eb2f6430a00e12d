// legality.cpp - pins, legality of single moves, checks.
#include "board/legality.h"

#include "board/attacks.h"
#include "board/make_move.h"

namespace {

// Men of `blockers` that stand alone on the line between `king` and a slider of `attacker`.
Bitboard SoleBlockers(Square king, Colour attacker, Bitboard blockers) {
    const Position& p = thread_board;
    Bitboard snipers = p.colour[attacker] & ((rook_rays[king] & p.rook_movers) | (bishop_rays[king] & p.bishop_movers));
    Bitboard found = 0;
    while (snipers) {
        const Bitboard men = between[king][PopLowest(snipers)] & p.occupied;
        if (men && !MoreThanOne(men)) found |= men & blockers;
    }
    return found;
}

bool LegalByMaking(Move m) {
    const Colour us = SideToMove();
    MakeMove(m);
    const bool legal = !InCheck(us);
    UnmakeMove();
    return legal;
}

bool CastlingPossible(Move m, Colour us) {
    const Position& p = thread_board;
    const Square home = us == WHITE ? E1 : E8;
    if (MoveFrom(m) != home || RankOf(MoveTo(m)) != RankOf(home)) return false;
    const Colour them = ChangeSide(us);
    if (MoveTo(m) > MoveFrom(m)) {
        if (!(p.castling & (us == WHITE ? WhiteKingSide : BlackKingSide))) return false;
        return !(p.occupied & (Bit(home + 1) | Bit(home + 2))) && !IsAttacked(home + 1, them)
            && !IsAttacked(home + 2, them);
    }
    if (!(p.castling & (us == WHITE ? WhiteQueenSide : BlackQueenSide))) return false;
    return !(p.occupied & (Bit(home - 1) | Bit(home - 2) | Bit(home - 3))) && !IsAttacked(home - 1, them)
        && !IsAttacked(home - 2, them);
}

bool PawnMovePossible(Move m, Colour us) {
    const Position& p = thread_board;
    const Square from = MoveFrom(m), to = MoveTo(m);
    const int forward = us == WHITE ? 8 : -8;
    const bool last_rank = RelativeRank(us, to) == 7;
    const PieceType promotion = MovePromotion(m);
    if (last_rank != (promotion != EMPTY)) return false;
    if (promotion == KING || promotion == PAWN || promotion == 4) return false;
    if (MoveCaptured(m) != EMPTY) return (pawn_attacks[us][from] & Bit(to)) != 0;
    if (FileOf(from) != FileOf(to)) {
        Square target;
        return (pawn_attacks[us][from] & Bit(to)) != 0 && EnPassantPossible(&target) && target == to;
    }
    if (to == from + forward) return true;  // emptiness of `to` has been tested
    return to == from + 2 * forward && RelativeRank(us, from) == 1 && !(p.occupied & Bit(from + forward));
}

}  // namespace

Bitboard PinnedPieces(Colour us) {
    return SoleBlockers(thread_board.king_square[us], ChangeSide(us), thread_board.colour[us]);
}

Bitboard Checkers(Colour us) { return AttackersTo(thread_board.king_square[us]) & thread_board.colour[ChangeSide(us)]; }

bool IsLegal(Move m, Bitboard pinned) {
    const Colour us = SideToMove();
    const Square from = MoveFrom(m), to = MoveTo(m);
    // Not in check, so no slider looks through the king's square at the one it steps to.
    if (MovePiece(m) == KING) return IsCastling(m) || !IsAttacked(to, ChangeSide(us));
    if (IsEnPassant(m)) return LegalByMaking(m);
    if (!(pinned & Bit(from))) return true;
    const Square king = thread_board.king_square[us];
    return direction[king][from] == direction[king][to];
}

bool IsPseudoLegal(Move m) {
    const Position& p = thread_board;
    const Colour us = SideToMove(), them = ChangeSide(us);
    const Square from = MoveFrom(m), to = MoveTo(m);
    const int piece = MovePiece(m);
    if (m >> 21 || piece == EMPTY || piece == 4) return false;
    if (!(p.pieces[piece][us] & Bit(from)) || (p.colour[us] & Bit(to))) return false;
    if (p.board[to] != MoveCaptured(m) || p.board[to] == KING) return false;
    if (piece == PAWN) return PawnMovePossible(m, us);
    if (MovePromotion(m) != EMPTY) return false;
    switch (piece) {
        case KNIGHT: return (knight_attacks[from] & Bit(to)) != 0;
        case KING:
            if (IsCastling(m)) return CastlingPossible(m, us) && !IsAttacked(from, them);
            return (king_attacks[from] & Bit(to)) != 0;
        default: {
            const Bitboard rays =
                (MovesLikeRook(piece) ? rook_rays[from] : 0) | (MovesLikeBishop(piece) ? bishop_rays[from] : 0);
            return (rays & Bit(to)) != 0 && !(between[from][to] & p.occupied);
        }
    }
}

bool IsFullyLegal(Move m) { return IsPseudoLegal(m) && LegalByMaking(m); }

void ComputeCheckInfo(CheckInfo& info) {
    const Position& p = thread_board;
    const Colour us = SideToMove(), them = ChangeSide(us);
    const Square king = p.king_square[them];
    info.king = king;
    info.check_squares[EMPTY] = info.check_squares[KING] = info.check_squares[4] = 0;
    info.check_squares[KNIGHT] = knight_attacks[king];
    info.check_squares[PAWN] = pawn_attacks[them][king];
    info.check_squares[ROOK] = RookAttacks(king);
    info.check_squares[BISHOP] = BishopAttacks(king);
    info.check_squares[QUEEN] = info.check_squares[ROOK] | info.check_squares[BISHOP];
    info.discoverers = SoleBlockers(king, us, p.colour[us]);
}

bool GivesCheck(Move m, const CheckInfo& info) {
    const Square from = MoveFrom(m), to = MoveTo(m);
    const int piece = MovePiece(m), promotion = MovePromotion(m);
    if (promotion == EMPTY && (info.check_squares[piece] & Bit(to))) return true;
    if ((info.discoverers & Bit(from)) && direction[info.king][from] != direction[info.king][to]) return true;
    if (promotion == EMPTY && !IsEnPassant(m) && !IsCastling(m)) return false;
    // The remaining kinds move more than one man or leave the line behind them open.
    const Colour them = ChangeSide(SideToMove());
    MakeMove(m);
    const bool check = InCheck(them);
    UnmakeMove();
    return check;
}
