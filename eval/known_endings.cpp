// known_endings.cpp - endings with few men whose result is known from theory.
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
constexpr int KnownWin = 3 * All;      // makes up for the general halving of rook endings
constexpr int SureLead = All * 3 / 2;  // the pawn of the weaker side looks better than it is
constexpr int BishopFalls = 10 * All;  // makes up for the sixth that is left of a lead without pawns

// Heavy piece against pawn, centipawns.
constexpr int QueenWin = 850, RookWin = 400, HeavyDraw = 30, KingStep = 10, DrawnStep = 3;

template <Colour Us> Square Turned(Square s) { return Us == WHITE ? s : s ^ 56; }
int FileDistance(Square a, Square b) { return std::abs(FileOf(a) - FileOf(b)); }
int RankDistance(Square a, Square b) { return std::abs(RankOf(a) - RankOf(b)); }
Bitboard ColourOf(Square s) { return Bit(s) & LightSquares ? LightSquares : DarkSquares; }

// The king of the other side sits in or beside the corner, where ours cannot come near.
template <Colour Us> bool CornerHeld() {
    const Position& p = thread_board;
    const Square goal = Turned<Us>(p.pieces[PAWN][Us] & FileA ? A8 : H8);
    return Distance(p.king_square[ChangeSide(Us)], goal) <= 1;
}

// One pawn of the wrong corner against a bare king that is sure to come there: before the
// pawn, and long before our king, which with the bishop could shut it out.
template <Colour Us> bool CornerInReach() {
    const Position& p = thread_board;
    thread_eval_info.SymmetryValid = 0;
    const Square pawn = Turned<Us>(LowestSquare(p.pieces[PAWN][Us]));
    const Square goal = SquareAt(FileOf(pawn), 7);
    const Square own = Turned<Us>(p.king_square[Us]), enemy = Turned<Us>(p.king_square[ChangeSide(Us)]);
    const int to_move = p.SideToMove == Us;
    const int moves = std::max(0, Distance(enemy, goal) - 1) + to_move;
    return RankOf(pawn) <= 4 && moves <= 7 - RankOf(pawn) && moves + 3 <= Distance(own, goal) - 1;
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
    const int to_move = p.SideToMove == Us;
    thread_eval_info.SymmetryValid = 0;

    // Through, unless the king, or a rook from the side or from behind the pawn, takes it.
    const Square promotion = Turned<Us>(goal);
    const Bitboard from = RookAttacks(promotion) | (RookAttacks(Turned<Us>(pawn)) & FileMask(FileOf(pawn)));
    const bool promotion_held = (king_attacks[promotion] & p.pieces[KING][Them]) || (from & p.pieces[ROOK][Them])
        || (p.occupied & Bit(promotion));
    if (rank == 6 && to_move && !promotion_held) return KnownWin;
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
        const bool far_corner = FileDistance(enemy, pawn) >= 6 && RankOf(enemy) == 6;
        // The rook leaves the promotion square: taken, the pawn costs the other rook by a check
        // along the seventh.
        if (rook == goal && rank == 6 && to_move && RankOf(enemy) == 6 && FileDistance(enemy, pawn) >= 2 && !far_corner)
            return KnownWin;
        if (rook_in_front && far_corner && rank == 5 && RankOf(enemy_rook) == 5) return Nothing;  // from the side
        if (rook_in_front && far_corner && rank == 6 && FileOf(enemy_rook) == FileOf(pawn)) return Nothing;
    }
    if (in_front && Distance(enemy, goal) <= 1) {
        // The rook on the third rank keeps the king back until the pawn steps there; then it
        // checks from behind. A king beside its pawn already threatens mate on the last rank.
        if (rank <= 4 && RankOf(own) <= 4 && RankOf(enemy_rook) == 5) return Nothing;
        if (rank == 5 && RankOf(enemy_rook) <= 1 && RankOf(own) <= 5 - to_move) return Nothing;
        // Waiting on the last rank holds against pawns with one side only.
        if (pair <= 1 && rank <= 5 && RankOf(enemy_rook) == 7) return Nothing;
        if (rank >= 5 && (RankOf(own) > 5 || (rank == 6 && RankOf(own) == 5 && to_move))) return KnownWin;
        return rank <= 4 && RankOf(own) <= 4 ? Little : RankOf(own) == 5 && to_move ? All : Half;
    }
    if (in_front) return Half;
    if (pair == 0 || Distance(own, pawn) > 1) return All;
    // The king left behind, or the rook's file between it and the pawn: the fewer files, the
    // farther the pawn has to be.
    const int rook_files = FileOf(rook) - FileOf(pawn), king_files = FileOf(enemy) - FileOf(pawn);
    const bool between = rook_files * king_files > 0 && std::abs(rook_files) < std::abs(king_files);
    const bool behind = RankOf(enemy) <= rank && std::abs(king_files) >= 2 && rank >= 3;
    return behind || (between && rank + std::abs(rook_files) >= 5) ? KnownWin : All;
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
    if (files == 1) {
        // Of two side by side either may be the one that is stopped.
        const bool level = RankOf(first) == RankOf(last);
        const bool near_front = FileDistance(king, front) <= 1 || (level && FileDistance(king, back) <= 1);
        const bool king_near = near_front && RelativeRank(Us, king) > RelativeRank(Us, front);
        const bool stopped = BishopStopsPawn<Us>(front) || (level && BishopStopsPawn<Us>(back));
        // On the fifth or before they are held; on the sixth they may run through.
        if (RelativeRank(Us, front) <= 4 && (king_near || stopped)) return Little;
        return king_near && stopped ? Little : Half;
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

// Rook of Us against a bishop: the bare king holds in any corner but those of the bishop's colour.
// There, with our king within two squares (with the move, three), the bishop falls; with the king
// beside that corner it does so with the move when ours stands across the rim. (2026-11-22, of
// 300,000 positions without a man to take, by the exact tables: the rook wins 97 in 100 of these
// with the move, 90 without; of the others 11 and none.)
template <Colour Us> bool BishopShutsCorner() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const Square own = p.king_square[Us], enemy = p.king_square[Them];
    const Square corner = SquareAt(FileOf(enemy) < 4 ? 0 : 7, RankOf(enemy) < 4 ? 0 : 7);
    if (!(p.pieces[BISHOP][Them] & ColourOf(corner))) return false;
    thread_eval_info.SymmetryValid = 0;
    const int to_move = p.SideToMove == Us;
    if (enemy == corner) return Distance(own, enemy) <= 2 + to_move;
    // Beside the corner, our king across the rim.
    if (Distance(enemy, corner) != 1 || Distance(own, enemy) != 2 || !to_move) return false;
    if (RankOf(enemy) == RankOf(corner)) return RankDistance(own, corner) == 2 && FileDistance(own, enemy) <= 1;
    return FileOf(enemy) == FileOf(corner) && FileDistance(own, corner) == 2 && RankDistance(own, enemy) <= 1;
}

// Queen of Us against a pawn: does the pawn hold? A rook's pawn on the seventh is saved by
// stalemate, a bishop's pawn by the corner, unless our king is near. Squares turned for the
// pawn's side.
template <Colour Us> bool PawnHoldsQueen(Square pawn, Square own, Square enemy) {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const Square queen = LowestSquare(p.pieces[QUEEN][Us]);
    const Bitboard seen = RookAttacks(queen) | BishopAttacks(queen);
    const Square goal = SquareAt(FileOf(pawn), 7), seventh = goal - 8;
    const int rank = RankOf(pawn), pair = FilePair(pawn);
    const bool pushes =
        p.SideToMove == Them && !(seen & Bit(p.king_square[Them])) && !(p.occupied & Bit(Turned<Them>(pawn + 8)));
    const Square on_board = Turned<Them>(pawn);
    const bool behind = RookAttacks(on_board) & FileMask(FileOf(pawn)) & Bit(queen);
    const bool goal_seen = behind || (seen & Bit(Turned<Them>(goal)));
    if (rank == 6 && pushes) return Distance(enemy, goal) <= 1 ? Distance(own, goal) > 3 : !goal_seen;
    if ((pair != 0 && pair != 2) || (rank != 6 && !(rank == 5 && pushes))) return false;
    // The queen before the pawn wins; she comes there too when the rook's pawn stands alone.
    if (Distance(enemy, goal) > 1 && (pair == 0 || goal_seen || Distance(enemy, seventh) > 1)) return false;
    // Where our king, moving first, is near enough: in files beyond the pawn towards the middle
    // and ranks from promotion.
    const int east = FileOf(pawn) < 4 ? 1 : -1;
    const int files = east * (FileOf(own) - FileOf(pawn)), ranks = 7 - RankOf(own);
    if (pair == 0) return files > 4 || ranks > 4 || files + ranks == 8;
    const int slack = east * (FileOf(enemy) - FileOf(pawn)) >= 0;  // away from the corner
    return !(files <= 2 + slack && ranks <= 2 + slack) && !(files <= slack && ranks <= 3 + slack);
}

}  // namespace

template <Colour Us> bool WrongCorner() {
    const Position& p = thread_board;
    const Bitboard pawns = p.pieces[PAWN][Us];
    if (p.NonPawnMaterial[Us] != 3 * p.PieceCount[BISHOP][Us]) return false;
    if (!pawns || ((pawns & ~FileA) && (pawns & ~FileH))) return false;
    const Square goal = Turned<Us>(pawns & FileA ? A8 : H8);
    return !(p.pieces[BISHOP][Us] & ColourOf(goal));
}

template <Colour Us> bool BareKingHolds() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const int units = p.NonPawnMaterial[Us];
    if (units == 3 * p.PieceCount[BISHOP][Us]) return WrongCorner<Us>() && CornerHeld<Us>();
    if (units == 3 && p.PieceCount[PAWN][Us] == 1) {
        // Knight and rook pawn on the seventh: with the king by the corner ours cannot come
        // near without stalemate, and the knight cannot lose a move.
        const Square pawn = LowestSquare(p.pieces[PAWN][Us]), king = p.king_square[Them];
        if (FilePair(pawn) != 0 || RelativeRank(Us, pawn) != 6) return false;
        const Square corner = pawn + (Us == WHITE ? 8 : -8);
        // Ours has come near all the same, and the knight mates.
        if (Distance(p.king_square[Us], corner) <= 2) return false;
        thread_eval_info.SymmetryValid = 0;
        if (p.SideToMove == Us && king != corner && (knight_attacks[corner] & p.pieces[KNIGHT][Us])) return false;
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
    if (rank > 6) return HeavyDraw;  // only in a position set up by hand
    if (p.PieceCount[QUEEN][Us])
        return PawnHoldsQueen<Us>(pawn, own, enemy) ? HeavyDraw - DrawnStep * own_distance
                                                    : QueenWin + KingStep * (7 - own_distance);
    const Square rook = LowestSquare(p.pieces[ROOK][Us]);
    if (!to_move && (king_attacks[rook] & p.pieces[KING][Them]) && !(king_attacks[rook] & p.pieces[KING][Us]))
        return HeavyDraw;  // lost
    const int win = RookWin + KingStep * (7 - own_distance);
    // Ours is before the pawn, or comes there first.
    if (FileOf(own) == FileOf(pawn) && RankOf(own) > rank) return win;
    if (own_distance - to_move <= steps && own_distance - to_move <= enemy_distance) return win;
    // The pawn runs without its king, and is caught: farther down only by a rook that guards
    // its way, or comes onto its file in time.
    const Square on_board = Turned<Them>(pawn), king = p.king_square[Them];
    const Bitboard file = FileMask(FileOf(pawn)), seen = RookAttacks(rook) | Bit(rook);
    const int apart = std::min(Distance(enemy, pawn), Distance(enemy, pawn + 8)) - !to_move;
    const bool ahead = rank <= 3 && RankOf(enemy) > rank + 1;
    if (apart >= 3 && rank <= 4 && !ahead) return win;
    if (apart >= 2 && (seen & Bit(on_board)) && (to_move || (Bit(rook) & file))) return win;
    const bool comes = (to_move || rank <= 5) && (seen & file & ~p.occupied & ~king_attacks[king]);
    const bool guards = seen & evaluation_masks.front_span[Them][on_board];
    if (apart >= 3 && !ahead && (comes || guards)) return win;
    if (guards && own_distance - to_move < enemy_distance) return win;
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
    if (n[PAWN][Us] && units <= 6 && enemy_units <= 3 && WrongCorner<Us>()) {
        const Square pawn = LowestSquare(p.pieces[PAWN][Us]);
        if (CornerHeld<Us>() && !(p.pieces[PAWN][Them] & evaluation_masks.adjacent_files[FileOf(pawn)])) return Nothing;
        const Square goal = Turned<Us>(FileOf(pawn) == 0 ? A8 : H8);
        if (p.piece_total == 4 && units == 3 && CornerInReach<Us>()) return Nothing;
        if (Distance(p.king_square[Them], goal) < Distance(p.king_square[Us], goal)) return Half;
    }
    if (p.piece_total == 5 && n[PAWN][Us] == 1) {
        if (units == 5 && enemy_units == 5 && n[ROOK][Us] && n[ROOK][Them]) return RookPawnAgainstRook<Us>();
        if (units == 3 && enemy_units == 3)
            return n[BISHOP][Us] && n[BISHOP][Them] ? BishopPawnsAgainstBishop<Us>() : MinorPawnAgainstMinor<Us>();
    }
    if (p.piece_total == 6 && n[PAWN][Us] == 2 && n[BISHOP][Us] == 1 && n[BISHOP][Them] == 1 && units == 3)
        return BishopPawnsAgainstBishop<Us>();
    if (p.piece_total == 5 && n[QUEEN][Us] == 1 && n[PAWN][Them] == 1) {
        if (enemy_units == 3) return SureLead;
        if (n[ROOK][Them] == 1 && RookFortress<Us>()) return Nothing;
    }
    if (p.piece_total == 4 && n[ROOK][Us] == 1 && n[BISHOP][Them] == 1 && BishopShutsCorner<Us>()) return BishopFalls;
    return All;
}

template bool WrongCorner<WHITE>();
template bool WrongCorner<BLACK>();
template bool BareKingHolds<WHITE>();
template bool BareKingHolds<BLACK>();
template int HeavyAgainstPawnScore<WHITE>();
template int HeavyAgainstPawnScore<BLACK>();
template int KnownLeadFactor<WHITE>();
template int KnownLeadFactor<BLACK>();
