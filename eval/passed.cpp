// passed.cpp - passed pawns: value by rank, kings, path, rooks, support, and races.
//
// Terms go into the accumulator, blended here by the common phase, because a passed pawn is
// weighed against material. Only the foremost pawn of a file counts.
//
// A pawn that nobody can catch is worth nearly a queen. Whether it can be caught depends on
// who is to move; every use of that clears SymmetryValid, so that no score for the other
// side is derived from this one.
#include <algorithm>

#include "board/attacks.h"
#include "eval/eval_info.h"

namespace {

// A pawn out of the enemy king's reach: this much, less a part for each step it has to go.
constexpr int RunnerBonus = 400, RunnerStep = 40;
// Plies by which one side must promote first, so that the other has no time to follow.
constexpr int DecisivePlies = 3;
constexpr int NoRunner = 99;
constexpr int PassedLimit = 2000;  // for one pawn; only weights out of a file could exceed it

template <Colour Us> constexpr Square PromotionSquare(Square s) { return Us == WHITE ? (s & 7) + 56 : (s & 7); }

template <Colour Us> Bitboard ForemostPassed() {
    const Bitboard own = thread_board.pieces[PAWN][Us];
    Bitboard foremost = 0;
    for (Bitboard rest = thread_eval_info.passed[Us]; rest;) {
        const Square s = PopLowest(rest);
        if (!(own & evaluation_masks.front_span[Us][s])) foremost |= Bit(s);
    }
    return foremost;
}

// Own moves until the first passed pawn promotes against a bare enemy king (pieces of ours
// may stand about, off its path); NoRunner if the king catches every one.
template <Colour Us> int RunnerMoves() {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const Square own_king = p.king_square[Us], enemy_king = p.king_square[Them];
    const int enemy_first = p.SideToMove == Them;
    int best = NoRunner;
    for (Bitboard rest = ForemostPassed<Us>(); rest;) {
        const Square s = PopLowest(rest);
        const int rank = RelativeRank(Us, s);
        if (evaluation_masks.front_span[Us][s] & p.occupied) continue;
        const Square goal = PromotionSquare<Us>(s);
        const int steps = 7 - std::max(rank, 2);  // the first step may be a double one
        const bool outrun = Distance(enemy_king, goal) - enemy_first > steps;
        // Own king beside the path, on the seventh: it guards the last three squares.
        const int files = FileOf(own_king) - FileOf(s);
        const bool escorted = (files == 1 || files == -1) && RelativeRank(Us, own_king) == 6 && rank >= 4
            && !(king_attacks[enemy_king] & Bit(s));
        if (outrun || escorted) best = std::min(best, steps);
    }
    return best;
}

// Promotion plies of both sides' runners compared: +1 Black's decides, -1 White's, 0 neither.
int CompareRunners(int white_moves, int black_moves) {
    const bool black_to_move = thread_board.SideToMove == BLACK;
    const int white = white_moves == NoRunner ? 2 * NoRunner : 2 * white_moves - !black_to_move;
    const int black = black_moves == NoRunner ? 2 * NoRunner : 2 * black_moves - black_to_move;
    if (black + DecisivePlies <= white) return 1;
    if (white + DecisivePlies <= black) return -1;
    return 0;
}

// The bonus for Us's passed pawns, without races.
template <Colour Us> int PassedPawnScore() {
    constexpr Colour Them = ChangeSide(Us);
    constexpr int Up = Us == WHITE ? 8 : -8;
    const Position& p = thread_board;
    const EvaluationMasks& masks = evaluation_masks;
    const EvalInfo& info = thread_eval_info;
    const Square own_king = p.king_square[Us], enemy_king = p.king_square[Them];
    const int enemy_units = p.NonPawnMaterial[Them];
    const int enemy_pieces_coeff = tuned.supported_opponent_pieces_coeff[std::min(12, (enemy_units + 1) / 2)];
    int score = 0;

    for (Bitboard rest = ForemostPassed<Us>(); rest;) {
        const Square s = PopLowest(rest);
        const int rank = RelativeRank(Us, s);
        if (rank < 1 || rank > 6) continue;  // odd set-ups only
        const Square stop = s + Up;
        const Bitboard path = masks.front_span[Us][s];
        int opening = weights.passed[0][rank - 1];
        int endgame = weights.passed[1][rank - 1];

        const int own_distance = Distance(own_king, stop), enemy_distance = Distance(enemy_king, stop);
        endgame +=
            (weights.passed_enemy_king * enemy_distance - weights.passed_own_king * own_distance) * (rank * rank / 8);

        if (p.occupied & Bit(stop)) {
            opening -= opening * weights.passed_blockade_percent / 100;
            endgame -= endgame * weights.passed_blockade_percent / 100;
        } else if (!(p.occupied & path)) {
            opening += opening * weights.passed_free_percent / 100;
            endgame += endgame * weights.passed_free_percent / 100;
        }

        const Bitboard rooks_behind = masks.front_span[Them][s] & (p.pieces[ROOK][WHITE] | p.pieces[ROOK][BLACK]);
        if (rooks_behind) {
            // The rook next to the pawn is the one that counts.
            const Square rook = Us == WHITE ? HighestSquare(rooks_behind) : LowestSquare(rooks_behind);
            if (!(between[rook][s] & p.occupied)) {
                const int value = (p.colour[Us] & Bit(rook)) ? weights.passed_rook_behind : -weights.passed_rook_behind;
                opening += value;
                endgame += value;
            }
        }
        int value = std::clamp(Blend(opening, endgame, info.current_phase), -PassedLimit, PassedLimit);

        if (info.pawn_attacks[Us] & Bit(s)) {
            const int files = FileOf(enemy_king) - FileOf(s);
            const int horizontal = tuned.supported_king_hor_coeff[std::min(8, files < 0 ? -files : files)];
            const int difference = std::clamp(7 + Distance(enemy_king, s) - Distance(own_king, s), 0, 14);
            const int64_t product = int64_t(tuned.supported_passed[rank]) * enemy_pieces_coeff * horizontal
                * tuned.supported_king_dist_diff_coeff[difference];
            value += int(std::clamp<int64_t>(product / 4096, -PassedLimit, PassedLimit));
        }
        score += value;
    }
    return score;
}

int RunnerValue(int moves) { return RunnerBonus - RunnerStep * moves; }

}  // namespace

int PawnRaceWinner() { return CompareRunners(RunnerMoves<WHITE>(), RunnerMoves<BLACK>()); }

int EvaluatePassedPawns(int accumulator) {
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    if (info.passed[BLACK]) accumulator += PassedPawnScore<BLACK>();
    if (info.passed[WHITE]) accumulator -= PassedPawnScore<WHITE>();

    // Only a side without pieces can be outrun for certain.
    const bool white_bare = p.NonPawnMaterial[WHITE] == 0, black_bare = p.NonPawnMaterial[BLACK] == 0;
    if (white_bare || black_bare) {
        const int white = black_bare ? RunnerMoves<WHITE>() : NoRunner;
        const int black = white_bare ? RunnerMoves<BLACK>() : NoRunner;
        if (info.passed[WHITE] && black_bare) info.SymmetryValid = 0;
        if (info.passed[BLACK] && white_bare) info.SymmetryValid = 0;
        const int winner = CompareRunners(white, black);
        if (winner > 0) accumulator += RunnerValue(black);
        if (winner < 0) accumulator -= RunnerValue(white);
    }
    return accumulator;
}
