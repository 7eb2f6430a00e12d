// passed.cpp - passed pawns: value by rank, kings, path, rooks, support, and races.
//
// Terms go into the accumulator, blended here by the common phase, because a passed pawn is
// weighed against material. Only the foremost pawn of a file counts.
//
// A pawn that nobody can catch is worth far more than a passed pawn. Whether it can be caught depends on
// who is to move; every use of that clears SymmetryValid, so that no score for the other
// side is derived from this one.
#include <algorithm>

#include "board/attacks.h"
#include "eval/eval_info.h"

namespace {

// Plies by which one side must promote first, so that the other has no time to follow.
constexpr int DecisivePlies = 3;
constexpr int NoRunner = 99;
constexpr int PassedLimit = 2000;     // for one pawn; only tuning could exceed it
constexpr int SupportedScale = 4096;  // three factors of sixteenths

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

// What the named tables give a passed pawn that a pawn supports.
template <Colour Us> int SupportedValue(Square s) {
    constexpr Colour Them = ChangeSide(Us);
    const Position& p = thread_board;
    const Square own_king = p.king_square[Us], enemy_king = p.king_square[Them];
    const int files = FileOf(enemy_king) - FileOf(s);
    const int horizontal = tuned.supported_king_hor_coeff[std::min(8, files < 0 ? -files : files)];
    const int difference = std::clamp(7 + Distance(enemy_king, s) - Distance(own_king, s), 0, 14);
    const int pieces = tuned.supported_opponent_pieces_coeff[std::min(12, (p.NonPawnMaterial[Them] + 1) / 2)];
    const int64_t product = int64_t(tuned.supported_passed[RelativeRank(Us, s)]) * pieces * horizontal
        * tuned.supported_king_dist_diff_coeff[difference];
    return int(std::clamp<int64_t>(product / SupportedScale, -PassedLimit, PassedLimit));
}

// The bonus for Us's passed pawns, without races, blended.
template <Colour Us, bool Traced> int PassedPawnScore() {
    constexpr Colour Them = ChangeSide(Us);
    constexpr int Up = Us == WHITE ? 8 : -8;
    const Position& p = thread_board;
    const EvaluationMasks& masks = evaluation_masks;
    const EvalInfo& info = thread_eval_info;
    const Square own_king = p.king_square[Us], enemy_king = p.king_square[Them];
    const Bitboard all_pawns = p.pieces[PAWN][WHITE] | p.pieces[PAWN][BLACK];
    const Bitboard rooks = p.pieces[ROOK][WHITE] | p.pieces[ROOK][BLACK];
    Tally<Traced> tally(Us);
    int supported = 0;

    for (Bitboard rest = info.foremost[Us]; rest;) {
        const Square s = PopLowest(rest);
        const int rank = RelativeRank(Us, s), index = rank - 1;
        if (rank < 1 || rank > 6) continue;  // odd set-ups only
        const Square stop = s + Up;

        tally.Add(PassedPawn + index);
        tally.Add(PassedFile + FilePair(s));
        tally.Add(PassedOwnKing + index, Distance(own_king, stop));
        tally.Add(PassedEnemyKing + index, Distance(enemy_king, stop));
        if (p.colour[Them] & Bit(stop)) tally.Add(PassedBlocked + index);
        else if (!(p.occupied & masks.front_span[Us][s])) tally.Add(PassedFreePath + index);

        const Bitboard beside = Bit(s) | ShiftNorth(Bit(s)) | ShiftSouth(Bit(s));
        if ((ShiftEast(beside) | ShiftWest(beside)) & info.passed[Us]) tally.Add(PassedNeighbour + index);
        const Bitboard near = masks.adjacent_files[FileOf(s)] | FileMask(FileOf(s));
        if (!(all_pawns & (near | ShiftEast(near) | ShiftWest(near)) & ~Bit(s))) tally.Add(PassedOutside);

        if (const Bitboard behind = masks.front_span[Them][s] & rooks) {
            // The rook next to the pawn is the one that counts.
            const Square rook = Us == WHITE ? HighestSquare(behind) : LowestSquare(behind);
            if (!(between[rook][s] & p.occupied))
                tally.Add((p.colour[Us] & Bit(rook)) ? PassedRookBehind : PassedEnemyRookBehind);
        }
        if (info.pawn_attacks[Us] & Bit(s)) supported += SupportedValue<Us>(s);
    }
    TracePiece<Traced>(TracePart::SupportedPassed, Us, supported, supported);
    return Blend(OpeningOf(tally.score), EndgameOf(tally.score), info.current_phase) + supported;
}

int RunnerValue(int moves) { return std::max(0, weights.runner_bonus - weights.runner_step * moves); }

}  // namespace

int PawnRaceWinner() { return CompareRunners(RunnerMoves<WHITE>(), RunnerMoves<BLACK>()); }

template <bool Traced> int EvaluatePassedPawns(int accumulator) {
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    info.foremost[WHITE] = ForemostPassed<WHITE>();
    info.foremost[BLACK] = ForemostPassed<BLACK>();
    if (info.passed[BLACK]) accumulator += PassedPawnScore<BLACK, Traced>();
    if (info.passed[WHITE]) accumulator -= PassedPawnScore<WHITE, Traced>();

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
        if (winner > 0) TracePiece<Traced>(TracePart::PawnRace, BLACK, RunnerValue(black), RunnerValue(black));
        if (winner < 0) TracePiece<Traced>(TracePart::PawnRace, WHITE, RunnerValue(white), RunnerValue(white));
    }
    return accumulator;
}
template int EvaluatePassedPawns<false>(int);
template int EvaluatePassedPawns<true>(int);
