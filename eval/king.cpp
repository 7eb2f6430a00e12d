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

constexpr int MaxShelterPenalty = 63;
constexpr int LongRangeUnits = 12;  // fewer piece units and long-range men alone do not count

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
    int penalty = file >= 5 ? defects[0]
        : file <= 2         ? defects[1]
                            : std::min(defects[0], defects[1]) + weights.shelter_centre;
    penalty += weights.shelter_rank * RelativeRank(Us, king);
    const int castling = thread_board.castling;
    if (castling & KingSide) penalty = std::min(penalty, defects[0] + weights.shelter_castling);
    if (castling & QueenSide) penalty = std::min(penalty, defects[1] + weights.shelter_castling);
    return std::clamp(penalty, 0, MaxShelterPenalty);
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

// Completes danger[Us], to which the pieces added the zone squares they hit.
template <Colour Us> void CountDanger() {
    constexpr Colour Them = ChangeSide(Us);
    EvalInfo& info = thread_eval_info;
    if (!info.attackers[Us]) return;
    const Bitboard neighbours = king_attacks[thread_board.king_square[Them]];
    if (const Bitboard weak = neighbours & info.attacks[Us] & ~info.attacks[Them])
        info.danger[Us] += weights.danger_weak_square * PopCount(weak);
    if (thread_board.NonPawnMaterial[Us] > LongRangeUnits) {
        const auto* of = info.attacks_of[Us];
        info.danger[Us] += weights.danger_long_range * PopCount(neighbours & (of[BISHOP] | of[ROOK] | of[QUEEN]));
    }
    info.danger[Us] = std::clamp(info.danger[Us], 0, 127);
}

template <Colour Us, bool Traced> void KingAttack() {
    constexpr Colour Them = ChangeSide(Us);
    EvalInfo& info = thread_eval_info;
    if (info.ending[Them] || !info.danger[Us]) return;
    const int attack = (DangerCurve[info.danger[Us]] * AttackerScale[std::min(info.attackers[Us], 16)]
                        * ShelterScale[info.shelter_penalty[Them]])
        >> 15;
    const int product = attack * (thread_board.PieceCount[QUEEN][Us] ? FactorWithQueen : FactorWithoutQueen);
    info.SideOpening[Us] += product >> 13;
    TracePiece<Traced>(TracePart::KingAttack, Us, product >> 13, 0);
    info.king_attack[Us] = product;
}

// The most places of pawns looked at: one own and one enemy pawn on each of three files.
constexpr int CoverSlots = 6;

// The weights that the pawns before a king add, and their sum.
struct Cover {
    int slots[CoverSlots], count = 0;
    PackedScore sum = 0;
    void Note(int slot) {
        slots[count++] = slot;
        sum += packed_terms[slot];
    }
};

template <Colour Them> Cover PawnCover(Square king) {
    constexpr Colour Us = ChangeSide(Them);
    const Position& p = thread_board;
    const int king_rank = RankOf(king);
    const Bitboard in_front = Them == WHITE ? ~Bitboard(0) << (8 * king_rank) : ~Bitboard(0) >> (8 * (7 - king_rank));
    const Bitboard own = p.pieces[PAWN][Them] & in_front, enemy = p.pieces[PAWN][Us] & in_front;
    const int middle = std::clamp(FileOf(king), 1, 6);
    Cover cover;
    for (int f = middle - 1; f <= middle + 1; ++f) {
        const Bitboard mine = own & FileMask(f), theirs = enemy & FileMask(f);
        const auto nearest = [](Bitboard b) { return Them == WHITE ? LowestSquare(b) : HighestSquare(b); };
        const int own_rank = mine ? RelativeRank(Them, nearest(mine)) : 0;
        cover.Note(ShelterPawn + 7 * FilePair(f) + std::min(own_rank, 6));
        if (!theirs) continue;
        const int rank = std::min(RelativeRank(Them, nearest(theirs)), 6);
        cover.Note((own_rank && own_rank == rank - 1 ? StoppedStormPawn : StormPawn) + rank);
    }
    return cover;
}

// A king that may castle counts as being where his pawns are best.
template <Colour Them> Cover BestCover() {
    constexpr int KingSide = Them == WHITE ? WhiteKingSide : BlackKingSide;
    constexpr int QueenSide = Them == WHITE ? WhiteQueenSide : BlackQueenSide;
    const int castling = thread_board.castling;
    Cover best = PawnCover<Them>(thread_board.king_square[Them]);
    const auto consider = [&](Square king) {
        const Cover other = PawnCover<Them>(king);
        if (OpeningOf(other.sum) < OpeningOf(best.sum)) best = other;
    };
    if (castling & KingSide) consider(Them == WHITE ? G1 : G8);
    if (castling & QueenSide) consider(Them == WHITE ? C1 : C8);
    return best;
}

// Pressure units on the king of Them, see weights.def.
template <Colour Us> int PressureUnits(Square king) {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const EvalInfo& info = thread_eval_info;
    const auto* ours = info.attacks_of[Us];
    const auto* theirs = info.attacks_of[Them];
    const Bitboard all_ours = info.attacks[Us] | ours[KING], all_theirs = info.attacks[Them] | theirs[KING];

    const Bitboard weak = all_ours & ~info.attacked_twice[Them] & (~all_theirs | theirs[KING] | theirs[QUEEN]);
    const Bitboard safe = ~p.colour[Us] & (~all_theirs | (weak & info.attacked_twice[Us]));
    int units = weights.pressure_attacker * info.attackers[Us];
    if (const Bitboard held_badly = weak & evaluation_masks.king_zone[Them][king])
        units += weights.pressure_weak_square * PopCount(held_badly);

    const Bitboard heavy = ours[ROOK] | ours[QUEEN], light = ours[BISHOP] | ours[QUEEN];
    const Bitboard lines = (rook_rays[king] & heavy & safe) ? RookAttacks(king) : 0;
    const Bitboard diagonals = (bishop_rays[king] & light & safe) ? BishopAttacks(king) : 0;
    if (lines & ours[ROOK] & safe) units += weights.pressure_rook_check;
    if ((lines | diagonals) & ours[QUEEN] & safe & ~theirs[QUEEN]) units += weights.pressure_queen_check;
    if (diagonals & ours[BISHOP] & safe) units += weights.pressure_bishop_check;
    if (knight_attacks[king] & ours[KNIGHT] & safe) units += weights.pressure_knight_check;

    if (info.pinned[Them]) units += weights.pressure_pinned * PopCount(info.pinned[Them]);
    if (!p.pieces[QUEEN][Us]) units -= weights.pressure_no_queen;
    if (theirs[KNIGHT] & theirs[KING]) units -= weights.pressure_knight_defends;
    return std::clamp(units, 0, KingPressureLast - KingPressure);
}

// The half of the board on a king's wing: his own and the next file towards the middle included.
constexpr Bitboard Wing(int file) {
    if (file <= 2) return FileMask(0) | FileMask(1) | FileMask(2) | FileMask(3);
    if (file >= 5) return FileMask(4) | FileMask(5) | FileMask(6) | FileMask(7);
    return FileMask(2) | FileMask(3) | FileMask(4) | FileMask(5);
}

template <Colour Us, bool Traced> void AttackOnKing() {
    constexpr Colour Them = ChangeSide(Us);
    EvalInfo& info = thread_eval_info;
    if (info.ending[Them]) return;
    const Square king = thread_board.king_square[Them];
    Tally<Traced> tally(Us);

    if constexpr (Traced) {
        const Cover cover = BestCover<Them>();
        for (int i = 0; i < cover.count; ++i) tally.Add(cover.slots[i]);
    } else {
        // Pawns and king stay while other men move: the last answer often serves again.
        PawnMemo& memo = info.cover[Them];
        const uint64_t key = thread_board.pawn_key;
        const uint32_t place = PawnMemo::Filled | uint32_t(king) << 8 | uint32_t(thread_board.castling);
        if (memo.pawn_key != key || memo.place != place) memo = {key, place, BestCover<Them>().sum};
        tally.score += memo.score;
    }

    tally.Add(KingPressure + PressureUnits<Us>(king));

    const Position& p = thread_board;
    const Bitboard zone = evaluation_masks.king_zone[Them][king];
    for (Bitboard rest = p.pieces[ROOK][Us]; rest;) {
        const int file = FileOf(PopLowest(rest));
        if ((zone & FileMask(file)) && !(info.pawn.files[Us] >> file & 1)) tally.Add(RookOnKingFile);
    }

    const Bitboard camp = Them == WHITE ? ~Bitboard(0) >> 24 : ~Bitboard(0) << 24;
    const Bitboard wing = Wing(FileOf(king)) & camp;
    tally.Add(FlankAttack, PopCount(info.attacks[Us] & wing));
    tally.Add(FlankDefence, PopCount(info.attacks[Them] & wing));

    info.SideOpening[Us] += OpeningOf(tally.score);
    info.SideEndgame[Us] += EndgameOf(tally.score);
}

// The own king's place among the pawns.
template <Colour Us, bool Traced> Tally<Traced> KingAndPawns() {
    const Position& p = thread_board;
    const Square king = p.king_square[Us];
    const Bitboard pawns = p.pieces[PAWN][WHITE] | p.pieces[PAWN][BLACK];
    Tally<Traced> tally(Us);
    if (!(pawns & Wing(FileOf(king)))) tally.Add(PawnlessWing);
    if (pawns) {
        int steps = 1;
        for (Bitboard reach = king_attacks[king]; !(reach & pawns); ++steps) {
            const Bitboard wide = reach | ShiftEast(reach) | ShiftWest(reach);
            reach = wide | ShiftNorth(wide) | ShiftSouth(wide);
        }
        tally.Add(KingPawnDistance, steps);
    }
    return tally;
}

// Value of the squares from which Us's queens could check unharmed.
template <Colour Us> int QueenApproaches() {
    constexpr Colour Them = ChangeSide(Us);
    const EvalInfo& info = thread_eval_info;
    const Square king = thread_board.king_square[Them];
    const Bitboard candidates =
        info.attacks_of[Us][QUEEN] & ~thread_board.colour[Us] & ~info.attacks[Them] & queen_rays[king];
    if (!candidates) return QueenApproach[0];
    const Bitboard squares = candidates & QueenAttacks(king);
    const Bitboard distant = squares & ~king_attacks[king];
    return QueenApproach[std::min(6, PopCount(squares) + PopCount(distant))];
}

}  // namespace

template <bool Traced> void EvaluateShelters(Colour root_side) {
    EvalInfo& info = thread_eval_info;
    if (!info.ending[BLACK]) {
        const int shelter = Shelter<BLACK>(root_side == WHITE ? AggressivityHalf : CowardiceHalf);
        info.SideOpening[WHITE] -= shelter;
        TracePiece<Traced>(TracePart::Shelter, WHITE, -shelter, 0);
    }
    if (!info.ending[WHITE]) {
        const int shelter = Shelter<WHITE>(root_side == BLACK ? AggressivityHalf : CowardiceHalf);
        info.SideOpening[BLACK] -= shelter;
        TracePiece<Traced>(TracePart::Shelter, BLACK, -shelter, 0);
    }
}
template void EvaluateShelters<false>(Colour);
template void EvaluateShelters<true>(Colour);

template <bool Traced> void EvaluateKings() {
    const Tally<Traced> white = KingAndPawns<WHITE, Traced>();
    const Tally<Traced> black = KingAndPawns<BLACK, Traced>();
    AddCommon(white, black);
    AttackOnKing<WHITE, Traced>();
    AttackOnKing<BLACK, Traced>();
    CountDanger<WHITE>();
    CountDanger<BLACK>();
    KingAttack<WHITE, Traced>();
    KingAttack<BLACK, Traced>();
}
template void EvaluateKings<false>();
template void EvaluateKings<true>();

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
