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
#include "eval/eval_info.h"
#include "eval/masks.h"
#include "eval/mating_tables.h"

namespace {

constexpr int LoneKingWin = 400;  // on top of material: this is won
constexpr int QueenAgainstRookWin = 100, BetterPiecesWin = 100;
constexpr int EdgePush = 10, KingsTogether = 8;
// Bishop and knight. The diagonal outweighs all else: leaving the wrong corner means letting
// the king walk along the edge, away from ours.
constexpr int DiagonalPush = 30, BishopKnightKings = 10, KnightNear = 2, CentralKing = 4, CornerStep = 12;
// Queen against rook: what each ply is worth by which the mate is nearer than this many. Too little
// and the winner dawdles, too much and the search prunes the quiet moves that prepare.
constexpr int PlyWorth = 12, ManyPlies = 66;

// Steps from the four middle squares: 0 in the centre .. 6 in a corner.
int CentreDistance(Square s) {
    const int f = FileOf(s), r = RankOf(s);
    return (f < 4 ? 3 - f : f - 4) + (r < 4 ? 3 - r : r - 4);
}

// Distance 0..7 from the long diagonal of the colour that the bishop does not have. It grows
// all the way along an edge from the wrong corner to the right one, where it is 7.
int DiagonalDistance(Square s, bool light_bishop) {
    return light_bishop ? std::abs(FileOf(s) - RankOf(s)) : std::abs(7 - FileOf(s) - RankOf(s));
}

// Knight moves from a to b, 3 for three or more.
int KnightSteps(Square a, Square b) {
    if (a == b) return 0;
    if (knight_attacks[a] & Bit(b)) return 1;
    return knight_attacks[a] & knight_attacks[b] ? 2 : 3;
}

// The king in the wrong corner comes out only against our king two squares diagonally from the
// corner and the knight beside ours, at a knight's move from the corner: the moves still
// missing for that.
template <Colour Us> int StepsToOpenCorner(Square enemy, bool light_bishop) {
    const Position& p = thread_board;
    const Square low = light_bishop ? A1 : H1, high = light_bishop ? H8 : A8;
    const Square corner = Distance(enemy, low) < Distance(enemy, high) ? low : high;
    if (Distance(enemy, corner) > 1) return 0;
    const int east = FileOf(corner) == 0 ? 1 : -1, north = RankOf(corner) == 0 ? 8 : -8;
    const Square knight = LowestSquare(p.pieces[KNIGHT][Us]);
    const int knight_steps =
        std::min(KnightSteps(knight, corner + 2 * east + north), KnightSteps(knight, corner + east + 2 * north));
    return Distance(p.king_square[Us], corner + 2 * east + 2 * north) + knight_steps;
}

template <Colour Us> int BishopAndKnight() {
    const Position& p = thread_board;
    const Square own = p.king_square[Us], enemy = p.king_square[ChangeSide(Us)];
    const bool light_bishop = p.pieces[BISHOP][Us] & LightSquares;
    const Square knight = LowestSquare(p.pieces[KNIGHT][Us]);
    return DiagonalPush * DiagonalDistance(enemy, light_bishop) + BishopKnightKings * (7 - Distance(own, enemy))
        - KnightNear * Distance(knight, enemy) - CentralKing * CentreDistance(own)
        - CornerStep * StepsToOpenCorner<Us>(enemy, light_bishop);
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
        if (units == 6 && p.PieceCount[BISHOP][Us] == 1) return base + LoneKingWin + BishopAndKnight<Us>();
        return base + LoneKingWin + EdgePush * CentreDistance(enemy) + KingsTogether * (7 - Distance(own, enemy));
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
