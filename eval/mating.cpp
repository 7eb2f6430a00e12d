// mating.cpp - endings without pawns that are won: where the losing king has to go.
//
// The mate is mostly too far away to be searched out, so the score has to lead there: every
// step on the way must be a step up that a search of some ten plies can see. The terms measure
// how far the losing king is from where it is mated, how near the winning king is, and what
// keeps the defender's men from helping; nothing else, since any other wish would lie across
// that way.
//
// Evaluate() lets every score fade as the fifty moves go by. Here that does harm: a mate that
// takes thirty moves is on schedule, yet each position that the search's table remembers from
// earlier moves, at its full worth, would look better than any progress, and the winner would
// walk in circles. These scores are marked not to fade; the cache knows no such mark.
#include "eval/mating.h"

#include <algorithm>
#include <cstdlib>

#include "board/attacks.h"
#include "eval/bishop_knight_tables.h"
#include "eval/eval_info.h"
#include "eval/masks.h"
#include "eval/mating_tables.h"

namespace {

constexpr int LoneKingWin = 400;  // on top of material: this is won
constexpr int QueenAgainstRookWin = 100, BetterPiecesWin = 100;
constexpr int EdgePush = 10, KingsTogether = 8;
// Bishop and knight: what each ply is worth by which the mate is nearer than this many. The steps
// have to be wide: at a quarter of this the search prunes too little to see the next one.
constexpr int BishopKnightPlyWorth = 28, BishopKnightManyPlies = 66;
// Queen against rook: what each ply is worth by which the mate is nearer than this many. Too little
// and the winner dawdles, too much and the search prunes the quiet moves that prepare.
constexpr int PlyWorth = 12, ManyPlies = 66;

// Steps from the four middle squares: 0 in the centre .. 6 in a corner.
int CentreDistance(Square s) {
    const int f = FileOf(s), r = RankOf(s);
    return (f < 4 ? 3 - f : f - 4) + (r < 4 ? 3 - r : r - 4);
}

// How a square is turned so that the bishop is on dark squares and the losing king stands in the
// triangle a1-h1-e4: the mate is then in the corner a1.
struct HalfTurn {
    int mirror;                          // the bits of the square to invert
    bool long_diagonal, other_diagonal;  // mirror on a1-h8, on a8-h1

    HalfTurn(Square king, bool light_bishop) : mirror(light_bishop ? 7 : 0) {
        king ^= mirror;
        long_diagonal = RankOf(king) > FileOf(king);
        if (long_diagonal) king = SquareAt(RankOf(king), FileOf(king));
        other_diagonal = FileOf(king) + RankOf(king) > 7;
    }
    Square operator()(Square s) const {
        s ^= mirror;
        if (long_diagonal) s = SquareAt(RankOf(s), FileOf(s));
        return other_diagonal ? SquareAt(7 - RankOf(s), 7 - FileOf(s)) : s;
    }
};

// Number of a square of that triangle, along the ranks.
int HalfTriangleNumber(Square s) {
    constexpr int RankStart[4] = {0, 7, 12, 15};  // a1 is 0, b2 8, c3 14, d4 18
    return RankStart[RankOf(s)] + FileOf(s);
}

// About how many plies the mate with bishop and knight takes from here, rather too many than too few.
template <Colour Us> int BishopAndKnightPlies() {
    const Position& p = thread_board;
    const Square enemy = p.king_square[ChangeSide(Us)];
    const HalfTurn turn(enemy, (p.pieces[BISHOP][Us] & LightSquares) != 0);
    const int losing = HalfTriangleNumber(turn(enemy));
    return BishopKnightKing[losing][turn(p.king_square[Us])]
        + BishopKnightKnight[losing][turn(LowestSquare(p.pieces[KNIGHT][Us]))]
        + BishopKnightBishop[losing][turn(LowestSquare(p.pieces[BISHOP][Us]))];
}

// How a square is turned so that the losing king stands in the triangle a1-d1-d4.
struct Turn {
    int mirror;     // the bits of the square to invert
    bool diagonal;  // files and ranks then change places

    explicit Turn(Square king)
        : mirror((FileOf(king) > 3 ? 7 : 0) | (RankOf(king) > 3 ? 56 : 0)),
          diagonal(RankOf(king ^ mirror) > FileOf(king ^ mirror)) {}
    Square operator()(Square s) const {
        s ^= mirror;
        return diagonal ? SquareAt(RankOf(s), FileOf(s)) : s;
    }
};

// Number of a square of the triangle, along the ranks.
int TriangleNumber(Square s) {
    constexpr int RankStart[4] = {0, 3, 5, 6};  // a1 is 0, b2 4, c3 7, d4 9
    return RankStart[RankOf(s)] + FileOf(s);
}

int ByFilesAndRanks(const int8_t (&table)[8][8], Square a, Square b) {
    const auto [smaller, larger] = std::minmax({std::abs(FileOf(a) - FileOf(b)), std::abs(RankOf(a) - RankOf(b))});
    return table[smaller][larger];
}

// About how many plies the mate with the queen takes from here.
template <Colour Us> int QueenAgainstRookPlies() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const Turn turn(p.king_square[Them]);
    const Square own = turn(p.king_square[Us]);
    const Square queen = turn(LowestSquare(p.pieces[QUEEN][Us])), rook = turn(LowestSquare(p.pieces[ROOK][Them]));
    const int losing = TriangleNumber(turn(p.king_square[Them]));
    return QueenRookKing[losing][own] + QueenRookQueen[losing][queen] + QueenRookRook[losing][rook]
        + ByFilesAndRanks(RookFromKing, own, rook) + ByFilesAndRanks(RookFromQueen, queen, rook);
}

template <Colour Us> int DrivingScore() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const Square own = p.king_square[Us], enemy = p.king_square[Them];
    const int units = p.NonPawnMaterial[Us], enemy_units = p.NonPawnMaterial[Them];
    const int base = p.Material[Us] - p.Material[Them];
    if (enemy_units == 0) {
        const Bitboard bishops = p.pieces[BISHOP][Us];
        if (units == 3 * p.PieceCount[BISHOP][Us] && (!(bishops & LightSquares) || !(bishops & DarkSquares)))
            return 0;  // bishops of one colour never mate
        const bool bishop_and_knight = p.PieceCount[BISHOP][Us] && p.PieceCount[KNIGHT][Us];
        if (bishop_and_knight && units == 6) {
            const int plies = BishopAndKnightPlies<Us>();
            return base + std::min(BishopKnightPlyWorth * (BishopKnightManyPlies - plies), BishopKnightMost);
        }
        const int won = LoneKingWin + (bishop_and_knight ? BishopKnightMost : 0);
        return base + won + EdgePush * CentreDistance(enemy) + KingsTogether * (7 - Distance(own, enemy));
    }
    if (units == 9 && enemy_units == 5 && p.PieceCount[QUEEN][Us] == 1)
        return base + QueenAgainstRookWin + PlyWorth * (ManyPlies - QueenAgainstRookPlies<Us>());
    return base + BetterPiecesWin + EdgePush * CentreDistance(enemy) + KingsTogether * (7 - Distance(own, enemy));
}

}  // namespace

template <Colour Us> int MatingScore() {
    thread_eval_info.no_fading = 1;
    thread_eval_info.Cacheable = 0;
    return DrivingScore<Us>();
}

template int MatingScore<WHITE>();
template int MatingScore<BLACK>();
