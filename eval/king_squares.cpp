// king_squares.cpp - where the men stand, seen from both kings.
//
// A square is worth something else when the king has castled than while he is in the middle: pawns
// that cover him should stay, those on the other wing may run, pieces aim at the enemy king. The
// plain squares (piece_square.h) know nothing of that. Here each man but the kings counts twice more, in
// the frame of its own king and in that of the enemy's. A frame has the king on the right half of the board,
// mirrored when he stands on the left, and the first rank of the king's side at the bottom.
//
// The pawns' part follows from pawns and frames alone, so the last answer is kept.
#include <algorithm>

#include "eval/eval_info.h"

namespace {

// Slots of a term: [place of the king][rank][file]. The king on the g or h file, f, or e.
constexpr int FrameSquares = 64;

struct Frame {
    int flip;   // XOR of a square to see it from here
    int first;  // slot offset of the king's place

    Frame(Colour c, Square king)
        : flip((c == WHITE ? 0 : 56) ^ (FileOf(king) < 4 ? 7 : 0)),
          first(FrameSquares * std::max(FilePair(king) - 1, 0)) {}
    int Index(Square s) const { return first + (s ^ flip); }
};

template <bool Traced>
void AddMen(Tally<Traced>& tally, Bitboard men, int own_term, int enemy_term, const Frame& own, const Frame& enemy) {
    while (men) {
        const Square s = PopLowest(men);
        tally.Add(own_term + own.Index(s));
        tally.Add(enemy_term + enemy.Index(s));
    }
}

template <Colour Us, bool Traced> Tally<Traced> EvaluateSide(const Frame& own, const Frame& enemy) {
    const Position& p = thread_board;
    Tally<Traced> tally(Us);
    AddMen(tally, p.pieces[KNIGHT][Us], OwnKingKnight, EnemyKingKnight, own, enemy);
    AddMen(tally, p.pieces[BISHOP][Us], OwnKingBishop, EnemyKingBishop, own, enemy);
    AddMen(tally, p.pieces[ROOK][Us], OwnKingRook, EnemyKingRook, own, enemy);
    AddMen(tally, p.pieces[QUEEN][Us], OwnKingQueen, EnemyKingQueen, own, enemy);

    const Bitboard pawns = p.pieces[PAWN][Us];
    if constexpr (Traced) {
        AddMen(tally, pawns, OwnKingPawn, EnemyKingPawn, own, enemy);
    } else {
        PawnMemo& memo = thread_eval_info.framed_pawns[Us];
        const uint32_t place = PawnMemo::Filled | uint32_t(own.Index(0)) << 8 | uint32_t(enemy.Index(0));
        if (memo.pawn_key != p.pawn_key || memo.place != place) {
            Tally<false> fresh(Us);
            AddMen(fresh, pawns, OwnKingPawn, EnemyKingPawn, own, enemy);
            memo = {p.pawn_key, place, fresh.score};
        }
        tally.score += memo.score;
    }
    return tally;
}

}  // namespace

template <bool Traced> void EvaluateKingSquares() {
    const Frame white(WHITE, thread_board.king_square[WHITE]), black(BLACK, thread_board.king_square[BLACK]);
    AddCommon(EvaluateSide<WHITE, Traced>(white, black), EvaluateSide<BLACK, Traced>(black, white));
}
template void EvaluateKingSquares<false>();
template void EvaluateKingSquares<true>();
