// position_evaluation.cpp - the evaluation in full: sixteen steps from material to the side to move.
//
// The terms live in files of their own; here is their order, what they are added up in, and what
// follows for the other side to move:
//
//   score of the other side = SymmetryDelta - score of this side
//
// State: thread_eval_info; the outputs for the search declared in evaluate.h.
#include <algorithm>
#include <cstdlib>

#include "board/attacks.h"
#include "board/settings.h"
#include "eval/endings.h"
#include "eval/eval_info.h"
#include "eval/evaluate.h"
#include "eval/material.h"
#include "eval/trace.h"

EvalInfo thread_eval_info;

int evaluation_material;
int EvalSpread;
Bitboard evaluation_passed[2];
Bitboard evaluation_attacks[2];

namespace {

constexpr int MostMen = 32;
constexpr int TempoBonus = 8;
constexpr int EarlyDrawMargin = 100;  // king and pawn each: nearer to zero is a draw

void ClearScratch() {
    EvalInfo& info = thread_eval_info;
    info.accumulator = info.OpeningScore = info.EndgameScore = 0;
    for (int c = 0; c < 2; ++c) {
        info.SideOpening[c] = info.SideEndgame[c] = 0;
        info.danger[c] = info.attackers[c] = info.shelter_penalty[c] = info.king_attack[c] = 0;
        info.cannot_win[c] = 0;
        info.lead_scale[c] = 256;
        info.passed[c] = info.foremost[c] = info.attacks[c] = 0;
    }
    info.SymmetryDelta = 0;
    info.SymmetryValid = 1;
    info.Cacheable = 1;
    info.no_fading = 0;
    EvalSpread = InitialSpread;
}

void CopyRecord(const MaterialRecord& record) {
    EvalInfo& info = thread_eval_info;
    info.current_phase = record.current_phase;
    info.phase[WHITE] = record.white_phase;
    info.phase[BLACK] = record.black_phase;
    info.ending[WHITE] = (record.flags[WHITE] & FlagEnding) != 0;
    info.ending[BLACK] = (record.flags[BLACK] & FlagEnding) != 0;
}

Bitboard PassedPawns(Colour c) {
    return FileA * uint64_t(thread_eval_info.pawn.Passed(c)) & thread_board.pieces[PAWN][c];
}

// A rook against two minor pieces lives on its passed pawns.
int RookAgainstMinors() {
    const Position& p = thread_board;
    const EvalInfo& info = thread_eval_info;
    if (p.NonPawnMaterial[WHITE] == 5 && p.NonPawnMaterial[BLACK] == 6 && p.PieceCount[KNIGHT][BLACK] > 0)
        return -tuned.rook_against_minors[PopCount(Bitboard(info.pawn.passed_white))];
    if (p.NonPawnMaterial[BLACK] == 5 && p.NonPawnMaterial[WHITE] == 6 && p.PieceCount[KNIGHT][WHITE] > 0)
        return tuned.rook_against_minors[PopCount(Bitboard(info.pawn.passed_black))];
    return 0;
}

int BlendAll() {
    const EvalInfo& info = thread_eval_info;
    return Blend(info.accumulator + info.OpeningScore, info.accumulator + info.EndgameScore, info.current_phase)
        + Blend(info.SideOpening[BLACK], info.SideEndgame[BLACK], info.phase[BLACK])
        - Blend(info.SideOpening[WHITE], info.SideEndgame[WHITE], info.phase[WHITE]);
}

// A part of the score that is one number, Black's view, the same in both phases.
template <bool Traced> void TraceWhole(TracePart part, int value) { TracePiece<Traced>(part, BLACK, value, value); }

// A rule has settled the position: nothing but its verdict counts.
template <bool Traced> void TraceVerdict() {
    if constexpr (Traced) {
        evaluation_trace = {};
        evaluation_trace.exact = true;
        TraceWhole<true>(TracePart::Material, thread_eval_info.accumulator);
    }
}

// Turns a Black-view score to the side to move and leaves everything for the search.
void Finish(int& result) {
    EvalInfo& info = thread_eval_info;
    int score = thread_board.SideToMove == WHITE ? -info.accumulator : info.accumulator;
    const int other = info.SymmetryDelta - score;
    if (std::max(std::abs(score), std::abs(other)) > ScoreLimit) {
        score = std::clamp(score, -ScoreLimit, ScoreLimit);
        info.SymmetryValid = 0;
    }
    evaluation_material = std::clamp(info.material, -32767, 32767);
    for (int c = 0; c < 2; ++c) {
        evaluation_passed[c] = info.passed[c];
        evaluation_attacks[c] = info.attacks[c];
    }
    result = score;
}

template <bool Traced> void EvaluateAll(int& result) {
    const Position& p = thread_board;
    EvalInfo& info = thread_eval_info;
    const bool white_to_move = p.SideToMove == WHITE;

    // Step 1. Clear the accumulators.
    ClearScratch();

    // More men than a game has, set up by hand: the terms' sums would not fit. Material only.
    if (p.piece_total > MostMen) {
        CopyRecord(ComputeMaterialRecord());
        info.accumulator = info.material = EvaluateMaterial();
        TraceVerdict<Traced>();
        return Finish(result);
    }

    // Step 2. Material, phases, ENDING flags.
    const int low_units = std::min(p.NonPawnMaterial[WHITE], p.NonPawnMaterial[BLACK]);
    if (low_units < tuned.EndingThreshold) {
        if (EvaluateLowMaterial()) {
            TraceVerdict<Traced>();
            return Finish(result);
        }
    } else {
        const MaterialRecord* record = MaterialRecordOrNull();
        if (record) {
            CopyRecord(*record);
            info.material = p.Material[BLACK] - p.Material[WHITE] + record->correction;
        } else {
            CopyRecord(ComputeMaterialRecord());
            info.material = EvaluateMaterial();
        }
        info.accumulator = info.material;
    }
    TraceWhole<Traced>(TracePart::Material, info.accumulator);

    // Step 3. Piece-square sums, kept by the board.
    info.OpeningScore = p.piece_square[0];
    info.EndgameScore = p.piece_square[1];

    // Step 4. Pawn structure.
    ProbePawns<Traced>();
    info.OpeningScore += info.pawn.opening;
    info.EndgameScore += info.pawn.endgame;
    info.passed[WHITE] = PassedPawns(WHITE);
    info.passed[BLACK] = PassedPawns(BLACK);
    info.pawn_attacks[WHITE] = PawnAttackSet<WHITE>(p.pieces[PAWN][WHITE]);
    info.pawn_attacks[BLACK] = PawnAttackSet<BLACK>(p.pieces[PAWN][BLACK]);

    // Step 5. Special material.
    const bool pawns_only = p.NonPawnMaterial[WHITE] == 0 && p.NonPawnMaterial[BLACK] == 0;
    if (info.ending[WHITE] || info.ending[BLACK]) {
        const int rook = RookAgainstMinors();
        info.accumulator += rook;
        TraceWhole<Traced>(TracePart::RookAgainstMinors, rook);
        if (pawns_only) {
            info.SymmetryValid = 0;
            const int race = weights.race_bonus * PawnRaceWinner();
            info.accumulator += race;
            TraceWhole<Traced>(TracePart::PawnRace, race);
        }
    }

    // Step 6. Passed pawns, weighed against material.
    if (info.pawn.passed_white | info.pawn.passed_black)
        info.accumulator = EvaluatePassedPawns<Traced>(info.accumulator);
    if (p.Material[WHITE] == 100 && p.Material[BLACK] == 100
        && std::abs(info.accumulator + info.EndgameScore + info.SideEndgame[BLACK] - info.SideEndgame[WHITE])
            < EarlyDrawMargin) {
        info.accumulator = 0;
        info.attacks[WHITE] = info.pawn_attacks[WHITE];  // the same as with the other side to move
        info.attacks[BLACK] = info.pawn_attacks[BLACK];
        TraceVerdict<Traced>();
        return Finish(result);
    }

    // Step 7. King shelter, by style. Step 8, the kings' zones and lines, is part of steps 10
    // and 13, which alone read them.
    EvaluateShelters<Traced>(evaluation_root_side);

    int other_accumulator;
    if (pawns_only) {
        // Step 9. A pure pawn ending is done here.
        info.attacks[WHITE] = info.pawn_attacks[WHITE];
        info.attacks[BLACK] = info.pawn_attacks[BLACK];
        info.accumulator = BlendAll();
        const int blended = info.accumulator;
        if ((info.cannot_win[BLACK] && info.accumulator > 0) || (info.cannot_win[WHITE] && info.accumulator < 0))
            info.accumulator = 0;
        TraceWhole<Traced>(TracePart::EndingScale, info.accumulator - blended);
    } else {
        // Step 10. Pieces, what they threaten, and where all men stand seen from the kings.
        // Step 11. Their attack on the king, with the shelter of step 7.
        EvaluatePieces<Traced>();
        EvaluateThreats<Traced>();
        EvaluateKingSquares<Traced>();
        EvaluateKings<Traced>();
        EvaluateWinningChances<Traced>();

        // Steps 12 and 14. Blend; from here the accumulator is the whole score.
        info.accumulator = BlendAll();
        const int blended = info.accumulator;

        // Step 13. Queens near the king, worth more to the side that moves.
        other_accumulator = info.accumulator;
        if (p.PieceCount[QUEEN][WHITE] | p.PieceCount[QUEEN][BLACK]) other_accumulator = EvaluateQueenApproaches();

        // Step 15. Endings that promise more than they keep. Both movers' scores go through
        // it, so that the derived one is exact; with different leaders it is not derived.
        const int own = info.accumulator;
        TraceWhole<Traced>(TracePart::QueenApproaches, own - blended);
        info.accumulator = ScaleEnding(own, EvalSpread);
        TraceWhole<Traced>(TracePart::EndingScale, info.accumulator - own);
        if (other_accumulator == own) {
            other_accumulator = info.accumulator;
        } else if ((own > 0) == (other_accumulator > 0) && (own < 0) == (other_accumulator < 0)) {
            int unused_spread = 0;
            other_accumulator = ScaleEnding(other_accumulator, unused_spread);
        } else {
            info.SymmetryValid = 0;
        }
        info.SymmetryDelta = info.accumulator - other_accumulator;
    }

    // Step 16. The move is worth something, more with an attack under way. The other side's
    // bonus would contain its own attack instead.
    const int attack = info.king_attack[p.SideToMove] >> 16;
    const int bonus = TempoBonus + weights.added[AddedTempo] + attack - ((info.current_phase - 1) >> 6);
    info.SymmetryDelta += (info.king_attack[WHITE] >> 16) - (info.king_attack[BLACK] >> 16);
    if (white_to_move) {
        info.accumulator -= bonus;
        info.SymmetryDelta = 2 * bonus - info.SymmetryDelta;
    } else {
        info.accumulator += bonus;
        info.SymmetryDelta += 2 * bonus;
    }
    TraceWhole<Traced>(TracePart::SideToMove, white_to_move ? -bonus : bonus);
    Finish(result);
}

}  // namespace

void LoadPhases() {
    const MaterialRecord* record = MaterialRecordOrNull();
    CopyRecord(record ? *record : ComputeMaterialRecord());
}

void EvaluatePosition(int& result) { EvaluateAll<false>(result); }

void TracePosition(int& result) {
    evaluation_trace = {};
    EvaluateAll<true>(result);
    if (!evaluation_trace.exact) TraceSquares();
}
