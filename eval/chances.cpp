// chances.cpp - how much of a lead is real once the pieces go.
//
// A lead with few pawns, all of them on one wing, is hard to convert, and opposite bishops make it
// harder still; with many pawns on both wings it grows. The correction goes into the endgame half
// and never changes who leads.
#include <algorithm>
#include <cstdlib>

#include "eval/eval_info.h"

namespace {

constexpr Bitboard QueenWing = FileMask(0) | FileMask(1) | FileMask(2) | FileMask(3);

bool OppositeBishops() {
    const Position& p = thread_board;
    if (p.PieceCount[BISHOP][WHITE] != 1 || p.PieceCount[BISHOP][BLACK] != 1) return false;
    const Bitboard both = p.pieces[BISHOP][WHITE] | p.pieces[BISHOP][BLACK];
    return (both & LightSquares) && (both & DarkSquares);
}

}  // namespace

template <bool Traced> void EvaluateWinningChances() {
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    const int lead = info.accumulator + info.EndgameScore + info.SideEndgame[BLACK] - info.SideEndgame[WHITE];
    const Bitboard pawns = p.pieces[PAWN][WHITE] | p.pieces[PAWN][BLACK];
    int correction =
        weights.chances_base + weights.chances_pawn * (p.PieceCount[PAWN][WHITE] + p.PieceCount[PAWN][BLACK]);
    correction += weights.chances_passed
        * (PopCount(Bitboard(info.pawn.passed_white)) + PopCount(Bitboard(info.pawn.passed_black)));
    if ((pawns & QueenWing) && (pawns & ~QueenWing)) correction += weights.chances_both_wings;
    if (RelativeRank(WHITE, p.king_square[WHITE]) > 3 || RelativeRank(BLACK, p.king_square[BLACK]) > 3)
        correction += weights.chances_infiltration;

    // At most as much as the lead, so that the score does not jump where the lead changes hands.
    int size = std::abs(lead);
    size += std::clamp(correction, -size, size);
    // Without other pieces the special endings judge it.
    if (p.NonPawnMaterial[WHITE] + p.NonPawnMaterial[BLACK] > 6 && OppositeBishops())
        size = size * weights.opposite_bishops_pieces / 256;
    const int change = (lead < 0 ? -size : size) - lead;
    info.EndgameScore += change;
    TracePiece<Traced>(TracePart::WinningChances, BLACK, 0, change);
}
template void EvaluateWinningChances<false>();
template void EvaluateWinningChances<true>();
