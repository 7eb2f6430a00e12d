// king.cpp - the kings: shelter, combined attack, approaches of the queen.
//
// Attack and shelter only count while the attacker has the men for it (info.ending of the
// defender is 0). How much a weak shelter matters is a matter of style: the engine's own
// king goes by Cowardice, the enemy's by Aggressivity.
#include <algorithm>

#include "board/attacks.h"
#include "board/settings.h"
#include "eval/eval_info.h"

namespace {

// Shelter penalty of a king on the files d and e, and of a king that left its first rank,
// by rank; and the allowance for a king that may still castle.
constexpr int CentrePenalty = 20, RankPenalty = 1, CastlingAllowance = 5;
constexpr int MaxShelterPenalty = 63;

// The king attack counts more without a queen. That is meant: the tables allow for it.
constexpr int FactorWithQueen = 10347, FactorWithoutQueen = 10922;

// Centipawns by weighted safe approach squares.
constexpr int QueenApproach[7] = {5, 1, 21, 41, 61, 78, 106};

template <Colour Us> int ShelterPenalty() {
    constexpr int KingSide = Us == WHITE ? WhiteKingSide : BlackKingSide;
    constexpr int QueenSide = Us == WHITE ? WhiteQueenSide : BlackQueenSide;
    const uint8_t* defects = thread_eval_info.pawn.defects[Us];
    const Square king = thread_board.king_square[Us];
    const int file = FileOf(king);
    int penalty = file >= 5 ? defects[0] : file <= 2 ? defects[1] : std::min(defects[0], defects[1]) + CentrePenalty;
    penalty += RankPenalty * RelativeRank(Us, king);
    const int castling = thread_board.castling;
    if (castling & KingSide) penalty = std::min(penalty, defects[0] + CastlingAllowance);
    if (castling & QueenSide) penalty = std::min(penalty, defects[1] + CastlingAllowance);
    return std::min(penalty, MaxShelterPenalty);
}

// The shelter of Us's king as a score of at most 0 for it.
template <Colour Us> int Shelter(int style_factor) {
    constexpr Colour Them = ChangeSide(Us);
    int& penalty = thread_eval_info.shelter_penalty[Us];
    penalty = ShelterPenalty<Us>();
    // The percentages are taken as they come, so keep absurd ones within bounds.
    const int64_t scaled = int64_t(ShelterCurve[penalty]) * style_factor / 100;
    const int value = -int(std::clamp<int64_t>(scaled, -10000, 10000));
    return thread_board.PieceCount[QUEEN][Them] ? value : value / 2;
}

template <Colour Us> void KingAttack() {
    constexpr Colour Them = ChangeSide(Us);
    EvalInfo& info = thread_eval_info;
    if (info.ending[Them] || !info.danger[Us]) return;
    const int attack = (DangerCurve[info.danger[Us]] * AttackerScale[std::min(info.attackers[Us], 16)]
                        * ShelterScale[info.shelter_penalty[Them]])
        >> 15;
    const int product = attack * (thread_board.PieceCount[QUEEN][Us] ? FactorWithQueen : FactorWithoutQueen);
    info.SideOpening[Us] += product >> 13;
    info.king_attack[Us] = product;
}

// Value of the squares from which Us's queens could check unharmed.
template <Colour Us> int QueenApproaches() {
    constexpr Colour Them = ChangeSide(Us);
    const EvalInfo& info = thread_eval_info;
    const Square king = thread_board.king_square[Them];
    const Bitboard candidates =
        info.queen_attacks[Us] & ~thread_board.colour[Us] & ~info.attacks[Them] & queen_rays[king];
    if (!candidates) return QueenApproach[0];
    const Bitboard squares = candidates & QueenAttacks(king);
    const Bitboard distant = squares & ~king_attacks[king];
    return QueenApproach[std::min(6, PopCount(squares) + PopCount(distant))];
}

}  // namespace

void EvaluateShelters(Colour root_side) {
    EvalInfo& info = thread_eval_info;
    if (!info.ending[BLACK])
        info.SideOpening[WHITE] -= Shelter<BLACK>(root_side == WHITE ? AggressivityHalf : CowardiceHalf);
    if (!info.ending[WHITE])
        info.SideOpening[BLACK] -= Shelter<WHITE>(root_side == BLACK ? AggressivityHalf : CowardiceHalf);
}

void EvaluateKingAttacks() {
    KingAttack<WHITE>();
    KingAttack<BLACK>();
}

// The side to move takes all of its value, the other side half: whoever moves can use it.
// Returns what the accumulator would be with the other side to move.
int EvaluateQueenApproaches() {
    EvalInfo& info = thread_eval_info;
    const int black = thread_board.PieceCount[QUEEN][BLACK] ? QueenApproaches<BLACK>() : 0;
    const int white = thread_board.PieceCount[QUEEN][WHITE] ? QueenApproaches<WHITE>() : 0;
    const int black_moves = black - (white >> 1), white_moves = (black >> 1) - white;
    const bool black_to_move = thread_board.SideToMove == BLACK;
    const int before = info.accumulator;
    info.accumulator = before + (black_to_move ? black_moves : white_moves);
    return before + (black_to_move ? white_moves : black_moves);
}
