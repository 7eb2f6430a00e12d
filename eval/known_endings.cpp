// known_endings.cpp - endings with pawns whose result is known from theory.
//
// Fortresses and blockades that no amount of material counting shows: rook pawns and the
// corner, rooks on the third rank, bishops that never meet. Squares are turned so that the
// pawns' side plays up the board: rank 7 is where it promotes.
#include "eval/known_endings.h"

#include <algorithm>
#include <cstdlib>

#include "board/attacks.h"
#include "eval/eval_info.h"
#include "eval/masks.h"

namespace {

// What is left of a lead, 256 = all.
constexpr int All = 256, Half = All / 2, Little = All / 8, Nothing = All / 16;
constexpr int KnownWin = 2 * All;  // makes up for the general halving of rook endings

// Heavy piece against pawn, centipawns.
constexpr int QueenWin = 850, RookWin = 400, HeavyDraw = 30, KingStep = 10, DrawnStep = 3;

template <Colour Us> Square Turned(Square s) { return Us == WHITE ? s : s ^ 56; }
int FileDistance(Square a, Square b) { return std::abs(FileOf(a) - FileOf(b)); }
Bitboard ColourOf(Square s) { return Bit(s) & LightSquares ? LightSquares : DarkSquares; }

// All pawns of Us on one rook file, and no bishop that controls their promotion square.
template <Colour Us> bool WrongRookPawns() {
    const Position& p = thread_board;
    const Bitboard pawns = p.pieces[PAWN][Us];
    if (!pawns || ((pawns & ~FileA) && (pawns & ~FileH))) return false;
    const Square goal = Turned<Us>(pawns & FileA ? A8 : H8);
    return !(p.pieces[BISHOP][Us] & ColourOf(goal));
}

// The king of the other side sits in or beside the corner, ours has not shut it out.
template <Colour Us> bool CornerHeld() {
    const Position& p = thread_board;
    const Square goal = Turned<Us>(p.pieces[PAWN][Us] & FileA ? A8 : H8);
    return Distance(p.king_square[ChangeSide(Us)], goal) <= 1
        && !(Bit(p.king_square[Us]) & (king_attacks[goal] | Bit(goal)));
}

// Rook and pawn against rook.
template <Colour Us> int RookPawnAgainstRook() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const Square pawn = Turned<Us>(LowestSquare(p.pieces[PAWN][Us]));
    const Square own = Turned<Us>(p.king_square[Us]), enemy = Turned<Us>(p.king_square[Them]);
    const Square rook = Turned<Us>(LowestSquare(p.pieces[ROOK][Us]));
    const Square enemy_rook = Turned<Us>(LowestSquare(p.pieces[ROOK][Them]));
    const Square goal = SquareAt(FileOf(pawn), 7);
    const int rank = RankOf(pawn), pair = FilePair(pawn);
    const bool in_front = FileDistance(enemy, pawn) <= 1 && RankOf(enemy) > rank;

    // The king before its pawn on the seventh, the other one cut off: it builds a bridge. On
    // the rook's file it needs to be cut off farther.
    if (rank == 6 && own == goal && FileDistance(enemy, pawn) >= (pair == 0 ? 5 : 2)
        && (pair == 0 || FileDistance(rook, enemy) < FileDistance(pawn, enemy)))
        return KnownWin;
    if (pair == 0) {
        // The king shut in before its own pawn, or the rook: both kings stay where they are.
        if (FileDistance(own, pawn) == 0 && RankOf(own) > rank && FileDistance(enemy, pawn) <= 4 && RankOf(enemy) >= 5)
            return Nothing;
        const bool rook_in_front = FileOf(rook) == FileOf(pawn) && RankOf(rook) > rank;
        const bool far_corner = FileDistance(enemy, pawn) >= 5 && RankOf(enemy) == 6;
        if (rook_in_front && far_corner && rank == 5 && RankOf(enemy_rook) == 5) return Nothing;  // from the side
        if (rook_in_front && far_corner && rank == 6 && FileOf(enemy_rook) == FileOf(pawn)) return Nothing;
    }
    if (in_front && Distance(enemy, goal) <= 1) {
        // The rook on the third rank keeps the king back until the pawn steps there; then it
        // checks from behind.
        if (rank <= 4 && RankOf(own) <= 4 && RankOf(enemy_rook) == 5) return Nothing;
        if (rank == 5 && RankOf(enemy_rook) <= 1 && (RankOf(own) <= 4 || FileDistance(own, pawn) <= 1)) return Nothing;
        // Waiting on the last rank holds against pawns with one side only.
        if (pair <= 1 && RankOf(enemy_rook) == 7) return Nothing;
        return rank <= 4 ? Little : Half;
    }
    return in_front ? Half : All;
}

// Does the bishop see a square before the pawn, or the pawn's next one itself stand blocked by
// the king on a square the other bishop never attacks?
template <Colour Us> bool BishopStopsPawn(Square pawn) {
    const Bitboard bishops = thread_board.pieces[BISHOP][ChangeSide(Us)];
    if (!bishops) return false;
    return evaluation_masks.front_span[Us][pawn] & (BishopAttacks(LowestSquare(bishops)) | bishops);
}
template <Colour Us> bool KingBlocksPawn(Square pawn, Bitboard attackable) {
    const Bitboard king = Bit(thread_board.king_square[ChangeSide(Us)]);
    return (king & evaluation_masks.front_span[Us][pawn]) && !(king & attackable);
}

// Bishop and one or two pawns against a bishop.
template <Colour Us> int BishopPawnsAgainstBishop() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const Bitboard bishop_colour = ColourOf(LowestSquare(p.pieces[BISHOP][Us]));
    const bool opposite = !(p.pieces[BISHOP][Them] & bishop_colour);
    const Bitboard pawns = p.pieces[PAWN][Us];
    const Square first = LowestSquare(pawns), last = HighestSquare(pawns);
    const Square king = p.king_square[Them];
    if (first == last) {
        if (KingBlocksPawn<Us>(first, bishop_colour)) return Nothing;
        if (opposite && BishopStopsPawn<Us>(first)) return Nothing;
        // With bishops of one colour ours drives the other off a short diagonal.
        return opposite ? Half : FileDistance(king, first) <= 1 && BishopStopsPawn<Us>(first) ? Half : All;
    }
    if (!opposite) return All;
    const int files = FileDistance(first, last);
    const Square front = RelativeRank(Us, first) > RelativeRank(Us, last) ? first : last;
    const Square back = front == first ? last : first;
    if (files == 0) return KingBlocksPawn<Us>(front, bishop_colour) || BishopStopsPawn<Us>(front) ? Nothing : Half;
    const bool king_near = FileDistance(king, front) <= 1 && RelativeRank(Us, king) > RelativeRank(Us, front);
    if (files == 1) {
        // Side by side on the fifth or before they are stopped; on the sixth they may run through.
        if (RelativeRank(Us, front) <= 4 && (king_near || BishopStopsPawn<Us>(front))) return Little;
        return king_near && BishopStopsPawn<Us>(front) ? Little : Half;
    }
    // Apart: the king holds one, the bishop the other.
    const bool held = (KingBlocksPawn<Us>(front, bishop_colour) && BishopStopsPawn<Us>(back))
        || (KingBlocksPawn<Us>(back, bishop_colour) && BishopStopsPawn<Us>(front));
    return held ? Little : files <= 2 ? Half : All;
}

// One pawn and a minor piece against a minor piece, not bishop against bishop.
template <Colour Us> int MinorPawnAgainstMinor() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const Square pawn = LowestSquare(p.pieces[PAWN][Us]);
    const Bitboard bishops = p.pieces[BISHOP][Us];
    const Bitboard attackable = bishops ? ColourOf(LowestSquare(bishops)) : ~Bitboard(0);
    if (KingBlocksPawn<Us>(pawn, attackable)) return Nothing;
    const Square king = p.king_square[Them];
    const bool near = Distance(king, pawn) <= 2 && RelativeRank(Us, king) >= RelativeRank(Us, pawn);
    if (BishopStopsPawn<Us>(pawn)) return near ? Nothing : Half;
    return near ? Little * 2 : All;
}

// Rook protected by a pawn on its second rank against a queen: with the king behind them the
// queen's king is kept out along the rook's rank.
template <Colour Us> bool RookFortress() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const Square rook = LowestSquare(p.pieces[ROOK][Them]), pawn = LowestSquare(p.pieces[PAWN][Them]);
    const Square king = p.king_square[Them];
    return RelativeRank(Them, pawn) == 1 && (pawn_attacks[Them][pawn] & Bit(rook)) && Distance(king, pawn) <= 1
        && RelativeRank(Them, p.king_square[Us]) > RelativeRank(Them, rook);
}

}  // namespace

template <Colour Us> bool BareKingHolds() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const int units = p.NonPawnMaterial[Us];
    if (units == 3 * p.PieceCount[BISHOP][Us]) return WrongRookPawns<Us>() && CornerHeld<Us>();
    if (units == 3 && p.PieceCount[PAWN][Us] == 1) {
        // Knight and rook pawn on the seventh: with the king by the corner ours cannot come
        // near without stalemate, and the knight cannot lose a move.
        const Square pawn = LowestSquare(p.pieces[PAWN][Us]), king = p.king_square[Them];
        if (FilePair(pawn) != 0 || RelativeRank(Us, pawn) != 6) return false;
        const Square corner = pawn + (Us == WHITE ? 8 : -8);
        return king == corner
            || (Distance(king, corner) == 1 && FileOf(king) != FileOf(pawn) && RelativeRank(Us, king) == 6);
    }
    return false;
}

template <Colour Us> int HeavyAgainstPawnScore() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    // Turned for the pawn's side, which plays up.
    const Square pawn = Turned<Them>(LowestSquare(p.pieces[PAWN][Them]));
    const Square own = Turned<Them>(p.king_square[Us]), enemy = Turned<Them>(p.king_square[Them]);
    const Square goal = SquareAt(FileOf(pawn), 7);
    const int rank = RankOf(pawn), steps = 7 - rank;
    const int to_move = p.SideToMove == Us;
    const int own_distance = Distance(own, goal), enemy_distance = Distance(enemy, goal);
    if (p.PieceCount[QUEEN][Us]) {
        // Rook's pawns are saved by stalemate, bishop's pawns by the corner.
        const bool drawing_file = FilePair(pawn) == 0 || FilePair(pawn) == 2;
        const bool drawn =
            rank == 6 && drawing_file && enemy_distance <= 1 && own_distance - to_move > (FilePair(pawn) == 0 ? 4 : 3);
        return drawn ? HeavyDraw - DrawnStep * own_distance : QueenWin + KingStep * (7 - own_distance);
    }
    const int win = RookWin + KingStep * (7 - own_distance);
    // Ours is before the pawn, or comes there first.
    if (FileOf(own) == FileOf(pawn) && RankOf(own) > rank) return win;
    if (own_distance - to_move <= steps && own_distance - to_move <= enemy_distance) return win;
    // The pawn runs without its king, and is caught.
    if (Distance(enemy, pawn) >= 3 + !to_move && rank <= 4) return win;
    if (rank <= 2 && own_distance <= 5) return win;
    const int draw = HeavyDraw + DrawnStep * (enemy_distance - own_distance);
    return rank >= 4 ? draw - DrawnStep * rank : std::min(win / 2, draw + 40 * (4 - rank));
}

template <Colour Us> int KnownLeadFactor() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const auto& n = p.PieceCount;
    const int units = p.NonPawnMaterial[Us], enemy_units = p.NonPawnMaterial[Them];
    // The corner holds whatever else the defender has, if no pawn can take its way off the file.
    if (n[PAWN][Us] && units == 3 * n[BISHOP][Us] && units <= 6 && enemy_units <= 3 && WrongRookPawns<Us>()) {
        const Square pawn = LowestSquare(p.pieces[PAWN][Us]);
        if (CornerHeld<Us>() && !(p.pieces[PAWN][Them] & evaluation_masks.adjacent_files[FileOf(pawn)])) return Nothing;
        const Square goal = Turned<Us>(FileOf(pawn) == 0 ? A8 : H8);
        if (Distance(p.king_square[Them], goal) < Distance(p.king_square[Us], goal)) return Half;
    }
    if (p.piece_total == 5 && n[PAWN][Us] == 1) {
        if (units == 5 && enemy_units == 5 && n[ROOK][Us] && n[ROOK][Them]) return RookPawnAgainstRook<Us>();
        if (units == 3 && enemy_units == 3)
            return n[BISHOP][Us] && n[BISHOP][Them] ? BishopPawnsAgainstBishop<Us>() : MinorPawnAgainstMinor<Us>();
    }
    if (p.piece_total == 6 && n[PAWN][Us] == 2 && n[BISHOP][Us] == 1 && n[BISHOP][Them] == 1 && units == 3)
        return BishopPawnsAgainstBishop<Us>();
    if (p.piece_total == 5 && n[QUEEN][Us] == 1 && n[ROOK][Them] == 1 && n[PAWN][Them] == 1 && RookFortress<Us>())
        return Nothing;
    return All;
}

template bool BareKingHolds<WHITE>();
template bool BareKingHolds<BLACK>();
template int HeavyAgainstPawnScore<WHITE>();
template int HeavyAgainstPawnScore<BLACK>();
template int KnownLeadFactor<WHITE>();
template int KnownLeadFactor<BLACK>();
