// quiesce.cpp - the quiescence procedure: captures, queen promotions and, near the horizon,
// quiet checks, until the position is calm enough for the static evaluation.
//
// Depth runs from 0 downwards. It is no multiple of a ply here: the hash move costs only
// half a ply, and evasions give depth back, so it may even rise above 0.
//
// Every line may generate quiet checks once beyond what the score justifies. NodeChecksTried
// marks the ply that did, and every ply after it inherits the mark.
#include <algorithm>

#include "board/attacks.h"
#include "board/exchange.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/ordering_data.h"
#include "eval/evaluate.h"
#include "search/draws.h"
#include "search/prefetch.h"
#include "search/principal_variation.h"
#include "search/search.h"
#include "search/search_state.h"
#include "search/staging.h"
#include "search/statistics.h"
#include "search/time_control.h"
#include "search/transposition.h"

namespace {

// The periodic check belongs to the main nodes. Only where captures breed captures without
// end, on boards full of queens, does it come due this many nodes ago.
constexpr int OverdueCheck = -5000;

constexpr int NoChecksDepth = -16;  // at or below: no checks at all
constexpr int LastCheckDepth = -8;  // below: only the once-per-line rule
constexpr int EvasionDepth = 4;
constexpr int HashMoveDepth = 2;

// Quiet checks are worth generating when eval + these three exceeds alpha.
constexpr int CheckByUnits[5] = {-10, -10, 10, 50, 250};  // own piece units, 4 = more
constexpr int CheckByType[3] = {0, 50, 0};                // node type + 1
constexpr int CheckByDepth[4] = {50, 150, 250, 700};      // depth / 4 + 2

// Material alone lies so far outside the band of scores that matter in this iteration that
// the node may return the balance. True when it may; *value is then the balance.
bool OutsideBand(Colour us, int beta, int* value) {
    const Position& p = thread_board;
    const Colour them = ChangeSide(us);
    const int low = us == root_side ? band_low : -band_high;
    const int high = us == root_side ? band_high : -band_low;
    int balance = p.Material[us] - p.Material[them];
    if (balance > high && IsLeadTrusted(us)) {
        balance -= AdvancedPawnAllowance(them);
        if (balance <= high) return false;
    } else if (balance < low && IsLeadTrusted(them)) {
        balance += AdvancedPawnAllowance(us);
        if (balance >= low) return false;
    } else {
        return false;
    }
    *value = balance;
    return balance >= beta && balance != MATE;
}

// Nothing nearer to alpha than DeltaLeast is pruned; a smaller gain than DeltaBigGain needs
// DeltaWide, and an enemy with pieces left or a lost position; a bigger one DeltaWidest.
constexpr int DeltaLeast = 58, DeltaWide = 113, DeltaWidest = 395, DeltaBigGain = 478;
constexpr int DeltaUnits = 10, DeltaLostEval = -498;

// Delta pruning: too far below alpha even with what the capture gains by exchange, which is
// *estimate then.
bool IsPrunedByDelta(int gain, int alpha, Colour them, int eval, int* estimate) {
    *estimate = eval + gain;
    const int distance = alpha - *estimate;
    if (distance < DeltaLeast) return false;
    if (gain >= DeltaBigGain) return distance >= DeltaWidest;
    return distance >= DeltaWide && (thread_board.NonPawnMaterial[them] >= DeltaUnits || eval < DeltaLostEval);
}

// The same for a move, without the exchange where its bounds settle the question: it gains
// at most what it takes and promotes to, and at least nothing when its score says it is safe.
bool ShallDeltaPrune(Move m, int ordering_score, int alpha, Colour them, int eval, int* estimate) {
    const bool safe = ordering_score >= SafeCaptureScore && MoveCaptured(m) != EMPTY;
    if (safe && alpha - eval < DeltaLeast) return false;
    if (MovePromotion(m) == EMPTY && MoveCaptured(m) != EMPTY) {
        const int most = PieceValue[MoveCaptured(m)];
        if (most < DeltaBigGain && IsPrunedByDelta(most, alpha, them, eval, estimate)) return true;
    }
    return IsPrunedByDelta(ExchangeGain(m), alpha, them, eval, estimate);
}

// After a quiet check: evasions that show it was not worth it.
bool IsHarmlessCheck(int first, int last) {
    int good = 0;
    for (int i = first; i < last; ++i) {
        const Move m = move_stack[i].move;
        if (MoveCaptured(m) != EMPTY && move_stack[i].score >= SafeCaptureScore) return true;
        if (MovePiece(m) == KING || MoveCaptured(m) != EMPTY) ++good;
    }
    return good >= 2;
}

}  // namespace

int quiesce(int alpha, int beta, int depth, int node_type) {
    const int ply = current_ply;
    PlyRecord& record = ply_records[ply];
    const Position& p = thread_board;
    const Colour us = SideToMove(), them = ChangeSide(us);
    const bool in_check = record.in_check != 0;
    const bool pv = node_type == PvNode;
    const int old_alpha = alpha;

    // Step 1. A clean record.
    ++nodes_searched;
    selective_depth = std::max(selective_depth, ply);
    if (--poll_countdown < OverdueCheck) {
        PeriodicCheck();
        if (stop_flag) return 0;
    }
    record.best_move = 0;
    record.flags = 0;
    ClearLine(ply);
    if (ply >= MaxPly || move_count > MoveStackNodeLimit) return in_check ? 0 : Evaluate();

    // Step 2. Mate distance.
    int best = ply - 32698 - (in_check ? 2 : 0);
    if (best > -MATE) {
        if (best > alpha) {
            if (best >= beta) return best;
            alpha = best;
        }
    } else {
        best = -MATE;
    }
    if (32699 - ply <= alpha) return alpha;

    // Step 3. Draws by rule.
    if (IsDrawByRule(beta)) return 0;

    // Step 4. Too far from the root: captures only.
    if (ply > std::min(2 * iteration_depth + 36, 90)) depth = NoChecksDepth;

    // Step 5. Material outside the band of this iteration.
    int balance;
    if (OutsideBand(us, beta, &balance)) return balance;

    // Step 6. Transposition table.
    TableProbe probe = TableProbe{};
    ProbeQuiescence(probe, alpha, beta, ply, !pv);
    if (probe.cutoff) {
        record.best_move = probe.move;
        return probe.value;
    }
    int flags = probe.flags;

    // Step 7. Stand pat.
    int eval = 0;
    if (in_check) {
        depth += EvasionDepth;
        record.eval_ok = 1;
    } else {
        eval = Evaluate();
        record.eval = eval;
        record.eval_ok = alpha <= eval + 100;
        if (eval > best) {
            best = eval;
            if (best > alpha) {
                if (best >= beta) return best;
                alpha = best;
            }
        }
    }

    // Step 8. Are quiet checks worth a try?
    const bool parent_tried = ply > 0 && (ply_records[ply - 1].flags & NodeChecksTried) != 0;
    if (parent_tried) record.flags |= NodeChecksTried;
    bool try_checks = false;
    if (!in_check && depth > NoChecksDepth) {
        if (iteration_depth >= 1 && depth >= LastCheckDepth)
            try_checks = eval + CheckByUnits[std::min(p.NonPawnMaterial[us], 4)] + CheckByType[node_type + 1]
                    + CheckByDepth[std::clamp(depth / ONE_PLY + 2, 0, 3)]
                > alpha;
        if (!try_checks && ply > 1 && !parent_tried) {
            record.flags |= NodeChecksTried;
            try_checks = true;
        }
        if (flags & FlagNoQuietChecks) try_checks = false;
    }

    CheckInfo checks;
    ComputeCheckInfo(checks);
    const int stack_start = move_count;
    Move hash_move = probe.move;
    Move best_move = 0;

    // Makes the move and searches it; true when it fails high or the search was stopped.
    int cut_value = 0;
    const auto try_move = [&](Move m, bool gives_check, int child_depth) {
        MakeMove(m);
        record.gives_check = gives_check;
        ply_records[ply + 1].in_check = gives_check;
        ++current_ply;
        const int score = -quiesce(-beta, -alpha, child_depth, -node_type);
        --current_ply;
        UnmakeMove();
        if (stop_flag) return true;
        if (score > best) {
            best = score;
            if (score > alpha) {
                alpha = score;
                best_move = m;
                record.best_move = m;
                if (pv) ExtendLine(ply, m);
                if (score >= beta) {
                    StoreTable(0, m, score, BoundLower, 0, flags, ply);
                    cut_value = score;
                    return true;
                }
            }
        }
        return false;
    };
    const Move previous = history_count > 0 ? game_history[history_count - 1].move : 0;
    const bool after_capture = MoveCaptured(previous) != EMPTY;
    const auto leave = [&](int value) {
        move_count = stack_start;
        return stop_flag ? 0 : value;
    };

    if (in_check) {
        // Step 9. The hash move, if it is an evasion at all.
        GenerateEvasions();
        const int evasions = move_count - stack_start;
        if (evasions == 0) return ply - MATE;
        // An evasion that happens to give check was not tried for that.
        const bool harmless = parent_tried && !ply_records[ply - 1].in_check && IsQuiet(previous) && previous != 0
            && IsHarmlessCheck(stack_start, move_count);
        MovePicker picker;
        picker.StartInCheck(hash_move, stack_start);
        Move m = picker.Next();
        if (m == hash_move) {
            PrefetchChild(m);
            if (try_move(m, GivesCheck(m, checks), depth - HashMoveDepth)) return leave(cut_value);
            m = picker.Next();
        }

        // Step 10. The other evasions.
        if (evasions == 1) depth += EvasionDepth;
        if (harmless) return leave(beta);
        for (; m != 0; m = picker.Next()) {
            PrefetchChild(m);
            if (try_move(m, GivesCheck(m, checks), depth - ONE_PLY)) return leave(cut_value);
        }
    } else {
        const Bitboard pinned = PinnedPieces(us);

        // Step 9. Hash move; a quiet one only as a check that is wanted.
        if (hash_move != 0) {
            if (!IsPseudoLegal(hash_move) || !IsLegal(hash_move, pinned)) hash_move = 0;
        }
        if (hash_move != 0) {
            PrefetchChild(hash_move);
            const bool gives_check = GivesCheck(hash_move, checks);
            if (IsQuiet(hash_move) && !(try_checks && gives_check)) hash_move = 0;
            else {
                const int alpha_before = alpha;
                const bool cut = try_move(hash_move, gives_check, depth - HashMoveDepth);
                if (after_capture && !gives_check && !stop_flag && MoveCaptured(hash_move) != EMPTY)
                    RecordCapture(hash_move, us, CaptureScore(hash_move), cut || alpha > alpha_before);
                if (cut) return leave(cut_value);
            }
        }

        // Step 11. Captures that can gain, and promotions.
        if (!(flags & FlagNoCaptures)) {
            const CaptureTargets targets = GainfulTargets(us, eval, alpha);
            GenerateCaptures(targets.squares);
            GeneratePromotions();
            if (move_count == stack_start && targets.left_out == -MATE) flags |= FlagNoCaptures;
            best = std::max(best, targets.left_out);
        }

        // Step 12. Captures, best first.
        for (int i = stack_start, last = move_count; i < last; ++i) {
            SelectBest(i, last);
            const Move m = move_stack[i].move;
            if (m == hash_move || !IsLegal(m, pinned)) continue;
            // Of the quiet promotions only queens; the others are for the main search.
            const PieceType promotion = MovePromotion(m);
            if (promotion != EMPTY && promotion != QUEEN && MoveCaptured(m) == EMPTY) continue;
            PrefetchChild(m);
            const bool gives_check = GivesCheck(m, checks);
            if (!pv && !gives_check) {
                if (promotion != EMPTY && promotion != QUEEN) continue;
                int estimate;
                if (ShallDeltaPrune(m, move_stack[i].score, alpha, them, eval, &estimate)) {
                    best = std::max(best, estimate);
                    continue;
                }
            }
            const int ordering_score = move_stack[i].score;
            const int alpha_before = alpha;
            const bool cut = try_move(m, gives_check, depth - ONE_PLY);
            if (after_capture && !gives_check && !stop_flag)
                RecordCapture(m, us, ordering_score, cut || alpha > alpha_before);
            if (cut) return leave(cut_value);
        }

        // Step 13. Quiet checks.
        if (try_checks) {
            move_count = stack_start;
            record.flags |= NodeChecksTried;
            const bool wide = eval + 100 >= alpha;
            GenerateQuietChecks(wide, checks);
            if (wide && move_count == stack_start) flags |= FlagNoQuietChecks;
            for (int i = stack_start, last = move_count; i < last; ++i) {
                SelectBest(i, last);
                const Move m = move_stack[i].move;
                if (m == hash_move || !IsLegal(m, pinned)) continue;
                PrefetchChild(m);
                if (try_move(m, true, depth - ONE_PLY)) return leave(cut_value);
            }
        }
    }

    // Step 14. The end; a node that failed low stores nothing.
    if (alpha > old_alpha) StoreTable(0, best_move, best, BoundExact, 0, flags, ply);
    return leave(best);
}
