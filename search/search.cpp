// search.cpp - the main node procedure.
//
// A principal-variation alpha-beta search in quarter plies, kept in one function so that a
// reader sees what each early return skips. Score margins are centipawns.
//
// Deepening without a hash move and the exclusion search run at the node's own ply and
// overwrite its record; OwnPlyGuard puts the record back.
#include "search/search.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>

#include "board/attacks.h"
#include "board/exchange.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/ordering_data.h"
#include "board/piece_square.h"
#include "board/settings.h"
#include "book/learning_file.h"
#include "eval/evaluate.h"
#include "eval/known_endings.h"
#include "eval/material.h"
#include "search/draws.h"
#include "search/extensions.h"
#include "search/prefetch.h"
#include "search/principal_variation.h"
#include "search/search_state.h"
#include "search/statistics.h"
#include "search/staging.h"
#include "search/time_control.h"
#include "search/transposition.h"
#include "tablebases/probe.h"
#include "tablebases/registry.h"

namespace {

// Futility at depth / 4 = 0..4: margin and the two scales that piece units take off it.
constexpr int FutilityMargin[5] = {0, 81, 323, 484, 2011};
constexpr int FutilityUnitScale[5] = {0, 16, 18, 16, 19};
constexpr int FutilityEnemyUnits[15] = {528, 528, 528, 119, 119, 160, 64, 95, 88, 67, 54, 33, 33, 33, 33};
constexpr int FutilityOwnUnits[15] = {381, 381, 381, 128, 128, 201, 121, 121, 80, 58, 50, 57, 58, 50, 1};
// A quiet move that worsens its piece-square value counts its loss this many 256ths.
constexpr int NegativeGainScale[5] = {0, 646, 526, 636, 1567};
constexpr int FutilityMaxDepth = 19;
constexpr int FutilityMaxAlpha = 32499;
// A move's own share of the margin, 256ths, by where it comes from; and of its history value.
constexpr int QuietMarginShare = 32, Killer1MarginShare = 554, Killer2MarginShare = 416, HistoryShare = 26;

// Late-move reduction: correction by (opponent's static score + alpha) / 25, -20..20.
constexpr int ReductionByScore[41] = {-100, -100, -100, -100, -100, -100, -100, -100, -24, -24, -24, -24, -24, -24,
                                      -4,   -3,   -3,   -2,   -2,   3,    4,    3,    -3,  -3,  -3,  -3,  -4,  -4,
                                      -6,   -6,   -6,   -6,   -15,  -15,  -15,  -15,  -15, -15, -15, -15, -15};
static_assert(sizeof ReductionByScore / sizeof *ReductionByScore == 41 && ReductionByScore[20] == 4);

// Endings of few pieces: units a side below which they are looked at, material in all below
// which two sides that cannot win are not searched, depth that equal pieces without pawns get.
constexpr int SmallUnits = 11, DeadMaterial = 600, PawnlessDepth = 2 * ONE_PLY;
// Windows of the internal deepening, centipawns around alpha and beta.
constexpr int DeepeningPvWindow = 50, DeepeningWindow = 100;
constexpr int MaxTried = 256;
constexpr int TablebaseScoreLimit = 32401;
// What the tables say holds at any depth. Stored so much deeper than the node, it serves the next six
// iterations and can still be replaced.
constexpr int TablebaseDepth = 6 * ONE_PLY;
constexpr int LearnedMaxHistory = 120, LearnedMaxFifty = 70, LearnedMinUnits = 15;

// Puts the record of this ply and its line back after a search at the same ply.
struct OwnPlyGuard {
    PlyRecord& record;
    PlyRecord saved;
    OwnPlyGuard() : record(ply_records[current_ply]), saved(record) {}
    ~OwnPlyGuard() {
        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < 2; ++i) saved.killers[c][i] = record.killers[c][i];
        record = saved;
        record.best_move = 0;
        ClearLine(current_ply);
    }
};

bool HasCannotWinFlag(const MaterialRecord* material, Colour c) {
    return material != nullptr && (material->flags[c] & 1) != 0;
}

// Does the evaluation score this kind of material as won or drawn? Drawn when nobody can win. Up to four
// men without pawns are judged by their kinds, king and pawn against king exactly, and a bare king
// is lost against a rook or queen, whatever else there is.
bool IsJudgedByEvaluation(const MaterialRecord* material) {
    const Position& p = thread_board;
    if (HasCannotWinFlag(material, WHITE) && HasCannotWinFlag(material, BLACK)) return true;
    const bool pawns = (p.pieces[PAWN][WHITE] | p.pieces[PAWN][BLACK]) != 0;
    if (p.piece_total <= (pawns ? 3 : 4)) return true;
    return p.rook_movers != 0 && MoreThanOne(p.colour[WHITE]) != MoreThanOne(p.colour[BLACK]);
}

// A bishop and rook pawns that promote on the other colour, with the bare enemy king within
// a step of the corner: the pawns never get through.
bool IsWrongBishop(Colour c) {
    const Position& p = thread_board;
    const Colour enemy = ChangeSide(c);
    if (p.NonPawnMaterial[c] != 3 || p.NonPawnMaterial[enemy] != 0 || p.pieces[PAWN][enemy] != 0) return false;
    if (!(c == WHITE ? WrongCorner<WHITE>() : WrongCorner<BLACK>())) return false;
    const Square corner = SquareAt((p.pieces[PAWN][c] & FileA) ? 0 : 7, c == WHITE ? 7 : 0);
    return ((king_attacks[corner] | Bit(corner)) & p.pieces[KING][enemy]) != 0;
}

// A king on the rim file of its own rook pawn or on the next: shut in with the pawn, even a lone
// minor piece may mate it.
bool IsShutInByRookPawn(Colour c) {
    const Position& p = thread_board;
    const Bitboard king = p.pieces[KING][c], pawns = p.pieces[PAWN][c];
    constexpr Bitboard queen_rim = FileMask(0) | FileMask(1), king_rim = FileMask(6) | FileMask(7);
    return ((king & queen_rim) && (pawns & FileA)) || ((king & king_rim) && (pawns & FileH));
}

// Is there hardly a way for the side of at most a lone minor piece, or of the wrong bishop, to win?
bool IsHopeless(const MaterialRecord* material, Colour c) {
    const Position& p = thread_board;
    const Colour enemy = ChangeSide(c);
    if (HasCannotWinFlag(material, c) && p.NonPawnMaterial[c] <= 3) {
        if (p.pieces[PAWN][enemy] == 0) return p.NonPawnMaterial[enemy] <= 3;
        return p.NonPawnMaterial[enemy] == 0 && !IsShutInByRookPawn(enemy);
    }
    return IsWrongBishop(c);
}

int FutilityBase(int depth, Colour us) {
    const int i = depth / ONE_PLY;
    const int own = thread_board.NonPawnMaterial[us], enemy = thread_board.NonPawnMaterial[ChangeSide(us)];
    const int by_enemy = enemy < 15 ? FutilityEnemyUnits[enemy] : 0;
    const int by_own = own < 15 ? FutilityOwnUnits[own] : 0;
    return (FutilityMargin[i] * 100 >> 8) - (by_enemy * FutilityUnitScale[i] >> 8)
        - (FutilityUnitScale[i] * by_own >> 8);
}

// Change of the moving piece's square value, for its owner, blended by game phase.
int SquareGain(Move m, Colour us, int phase) {
    const int16_t* const from = PieceSquare[us][MovePiece(m)][MoveFrom(m)];
    const int16_t* const to = PieceSquare[us][MovePiece(m)][MoveTo(m)];
    const int gain =
        ((to[OpeningPhase] - from[OpeningPhase]) * (256 - phase) + (to[EndgamePhase] - from[EndgamePhase]) * phase)
        / 256;
    return us == WHITE ? -gain : gain;  // the table is from Black's view
}

// Reduction measure of the n-th quiet move; above -34 it is reduced at all.
int ReductionMeasure(int n, int node_type, bool gives_check, int enemy_eval, int alpha) {
    int r = node_type == AllNode ? n - 13 : node_type == CutNode ? n + 7 : n - 33;
    if (gives_check && node_type != CutNode) r -= 9;
    return r - ReductionByScore[std::clamp((enemy_eval + alpha) / 25, -20, 20) + 20];
}

// Depth change of the reduced search, 0 for none.
int Reduction(int r, int n) {
    if (r <= -34) return 0;
    if (r <= -3 || n <= 2) return -ONE_PLY;
    if (r <= 25 || n <= 4) return -2 * ONE_PLY;
    return r <= 42 ? -3 * ONE_PLY : -4 * ONE_PLY;
}

// One node. With `excluded` it is an exclusion search: that move is left out, the table cuts
// nothing off and is not written to.
int SearchNode(int alpha, int beta, int depth, bool null_allowed, int node_type, Move excluded) {
    assert(alpha < beta && depth >= ONE_PLY);
    const int ply = current_ply;
    PlyRecord& record = ply_records[ply];
    const Position& p = thread_board;
    const Colour us = SideToMove(), them = ChangeSide(us);
    const bool in_check = record.in_check != 0;
    const bool pv = node_type == PvNode;
    const int old_alpha = alpha;

    // Step 1. A clean record.
    record.best_move = 0;
    record.second_move = 0;
    ClearLine(ply);
    ++nodes_searched;
    if (ply >= MaxPly || move_count > MoveStackNodeLimit) return in_check ? 0 : Evaluate();

    // Step 2. Mate distance: no line from here beats a shorter mate already found.
    const int low = ply - 32698 - (in_check ? 2 : 0);
    if (alpha < low) {
        alpha = low;
        if (beta <= low) return low;
    }
    if (32699 - ply <= alpha) return alpha;

    // Step 3. Selective depth.
    selective_depth = std::max(selective_depth, ply);

    // Step 4. Input, limits, clock.
    if (--poll_countdown < 0) {
        PeriodicCheck();
        if (stop_flag) return 0;
    }

    // Step 5. Material that cannot win.
    const MaterialRecord* const material = MaterialRecordOrNull();
    const int own_units = p.NonPawnMaterial[us], enemy_units = p.NonPawnMaterial[them];
    if (own_units < SmallUnits && enemy_units < SmallUnits) {
        if (HasCannotWinFlag(material, WHITE) && HasCannotWinFlag(material, BLACK)
            && p.Material[WHITE] + p.Material[BLACK] < DeadMaterial)
            return 0;
        if (depth > PawnlessDepth && own_units == enemy_units && own_units < SmallUnits - 1
            && !(p.pieces[PAWN][WHITE] | p.pieces[PAWN][BLACK]))
            depth = PawnlessDepth;
        if (!in_check && excluded == 0) {
            if (alpha >= 0 && own_units < 6 && IsHopeless(material, us)) return alpha;
            if (beta < 1 && enemy_units < 6 && IsHopeless(material, them)) return 0;
        }
    }

    // Step 6. Draws by rule.
    if (IsDrawByRule(beta)) return 0;

    // Step 7. Depth of the null-move search.
    const int null_depth = own_units > 8 && depth >= 6 * ONE_PLY ? depth - 5 * ONE_PLY : depth - 4 * ONE_PLY;

    // Step 8. Transposition table.
    TableProbe probe = TableProbe{};
    ProbeMain(probe, alpha, beta, depth, ply, excluded == 0);
    if (probe.cutoff) {
        record.best_move = probe.move;
        if (pv && probe.move != 0) {
            pv_table[ply][0] = probe.move;
            pv_length[ply] = 1;
        }
        return probe.value;
    }
    Move hash_move = probe.move;

    // Step 9. Is the hash move a candidate for the singularity test?
    const bool singular_candidate = depth >= 8 * ONE_PLY && probe.hit && probe.depth >= depth - 3 * ONE_PLY
        && probe.singular_mark && excluded == 0 && node_type != CutNode;

    // Step 10. Tablebases.
    if (tablebase_men > 0 && p.piece_total <= tablebase_men && p.castling == 0 && excluded == 0) {
        const Move last = history_count > 0 ? game_history[history_count - 1].move : 0;
        const bool under_promotion = MovePromotion(last) != EMPTY && MovePromotion(last) != QUEEN;
        int score;
        if ((ply < 2 || depth >= 4 * ONE_PLY || (!under_promotion && !IsJudgedByEvaluation(material)))
            && ProbeTablebase(&score)) {
            if (std::abs(score) >= TablebaseScoreLimit) score = score > 0 ? score + 1 - ply : score + ply;
            ++tablebase_hits;
            StoreTable(depth + TablebaseDepth, 0, score, BoundExact, 0, probe.flags, ply);
            return score;
        }
    }

    // Step 11. Results of earlier games.
    if ((UseLearning || UseLearningData) && excluded == 0 && depth > 6 * ONE_PLY && us == root_side
        && history_count < LearnedMaxHistory && own_units >= LearnedMinUnits && enemy_units >= LearnedMinUnits
        && p.fifty < LearnedMaxFifty) {
        int score;
        if (LookUpLearned(depth, &score)) return score;
    }

    // Step 12. Static evaluation.
    const int eval = Evaluate();
    record.eval = eval;
    record.eval_ok = alpha <= eval + 100;

    // Step 13. Null move. If passing still keeps us above beta, a real move will too. Wrong
    // only in zugzwang, which is rare while we have a piece to move.
    bool mate_threat = probe.node_mark;
    if (alpha < MateBound && beta > -MateBound && own_units > 0 && (own_units > 5 || depth <= 6 * ONE_PLY)
        && null_allowed && !pv && !in_check && excluded == 0 && !probe.null_forbidden
        && alpha - eval <= (depth < 2 * ONE_PLY ? 4 : 19)
        && !(null_depth < ONE_PLY && (eval < beta || OpponentThreatens(eval - beta)))) {
        MakeNullMove();
        PrefetchTable(PositionKey(), them);
        record.flags = 0;
        record.gives_check = 0;
        ply_records[ply + 1].in_check = 0;
        // Four deeper each time while it still fails high, so that a refutation is found cheaply.
        int d = null_depth > 0 ? null_depth % ONE_PLY : 0;
        int score;
        do {
            score = SearchChild(-beta, -beta + 1, d, false, AllNode);
        } while (score >= beta && !stop_flag && (d += ONE_PLY) <= null_depth);
        UnmakeNullMove();
        if (stop_flag) return 0;
        if (score >= beta) {
            StoreTable(depth, hash_move, beta, BoundLower, mate_threat, probe.flags, ply);
            return beta;
        }
        if (score == -(32699 - (ply + 1))) mate_threat = true;
    }

    // Step 14. In check: all legal evasions at once.
    const int stack_start = move_count;
    bool single_reply = false;
    if (in_check) {
        GenerateEvasions();
        const int evasions = move_count - stack_start;
        if (evasions == 0) return ply - MATE;
        const Move only = move_stack[stack_start].move;
        const Move own_previous = history_count > 1 ? game_history[history_count - 2].move : 0;
        single_reply = evasions == 1 && !(MoveCaptured(only) == QUEEN && MovePromotion(own_previous) == EMPTY);
        if (single_reply && hash_move == 0) hash_move = only;
    }

    // Step 15. The reduction of this node hides a mate threat: give the depth back.
    if (ply > 0 && mate_threat && (ply_records[ply - 1].flags & NodeReduced)) depth += ONE_PLY;

    // Step 16. Internal deepening: no hash move where one would pay.
    if (depth >= 5 * ONE_PLY && hash_move == 0 && excluded == 0) {
        if (pv) {
            OwnPlyGuard guard;
            if (eval < beta + DeepeningPvWindow) {
                quiesce(alpha - DeepeningPvWindow, beta + DeepeningPvWindow, 0, PvNode);
                hash_move = record.best_move;
            }
            if (hash_move == 0 && !stop_flag) {
                const int d = std::min(depth - 4 * ONE_PLY, 2 * ONE_PLY);
                const int score = SearchNode(alpha - DeepeningPvWindow, beta + DeepeningPvWindow, d, false, PvNode, 0);
                if (score <= alpha - DeepeningPvWindow && !stop_flag) SearchNode(-MATE, beta, d, false, PvNode, 0);
                hash_move = record.best_move;
            }
        } else if (alpha < eval + DeepeningPvWindow) {
            OwnPlyGuard guard;
            const int d = std::min(std::max(depth - 10 * ONE_PLY, ONE_PLY), 2 * ONE_PLY);
            const int score = SearchNode(alpha - DeepeningWindow, beta, d, false, node_type, 0);
            if (score <= alpha - DeepeningWindow && !stop_flag) SearchNode(-MATE, beta, d, false, node_type, 0);
            hash_move = record.best_move;
        }
        if (stop_flag) {
            move_count = stack_start;
            return 0;
        }
    }

    // Step 17. Futility: so far below alpha that only captures and checks can help.
    bool futile = false, use_futility = false, skipped = false;
    int margin = 0;
    CaptureTargets targets = {p.colour[them], -MATE};
    if (!pv && !in_check && depth <= FutilityMaxDepth && std::abs(alpha) <= FutilityMaxAlpha
        && own_units + enemy_units > 0) {
        use_futility = true;
        margin = FutilityBase(depth, us);
        futile = eval < alpha - margin;
        if (depth < 2 * ONE_PLY && eval - 100 < alpha) targets = GainfulTargets(us, eval, alpha);
    }
    const int phase = !use_futility ? 0
        : material != nullptr       ? material->current_phase
                                    : ComputeMaterialRecord().current_phase;

    // Step 18. The moves.
    CheckInfo checks;
    ComputeCheckInfo(checks);
    const Bitboard pinned = in_check ? 0 : PinnedPieces(us);
    MovePicker picker;
    if (in_check) {
        picker.StartInCheck(hash_move, stack_start);
    } else {
        if (hash_move != 0 && !IsPseudoLegal(hash_move)) hash_move = 0;
        picker.StartQuietly(hash_move, targets.squares, futile, checks);
    }
    const Move previous = history_count > 0 ? game_history[history_count - 1].move : 0;
    const bool after_capture = MoveCaptured(previous) != EMPTY;
    ExtensionContext context = {pv, alpha, eval, single_reply, previous};

    int best = -MATE;
    Move best_move = 0;
    int searched = 0;      // moves made at this node
    int quiets_tried = 0;  // of the history-sorted stage, for the reduction and its malus
    Move tried[MaxTried];

    while (const Move m = picker.Next()) {
        if (m == excluded) continue;
        const bool is_hash = m == hash_move;
        const bool quiet = IsQuiet(m);
        if (!in_check && !IsLegal(m, pinned)) continue;

        PrefetchChild(m);
        const bool gives_check = GivesCheck(m, checks);
        int flags;
        context.alpha = alpha;
        int change = Extension(m, gives_check, context, &flags);

        // A hash move that beats all others by a margin deserves a closer look.
        if (is_hash && singular_candidate && change < 0) {
            const int bound = probe.score - 8 - depth / 2;
            const int d = std::max((depth / 2) & ~3, 2 * ONE_PLY);
            int score;
            {
                OwnPlyGuard guard;
                score = SearchNode(bound - 1, bound, d, false, AllNode, m);
            }
            if (stop_flag) {
                move_count = stack_start;
                return 0;
            }
            if (score < bound) change = std::min(change + (ply <= 2 * iteration_depth ? 4 : 2), 0);
        }

        const bool sorted_quiet =
            quiet && !is_hash && (picker.stage == Stage::Quiets || picker.stage == Stage::Evasions);
        if (use_futility && quiet && flags == 0 && !is_hash) {
            const int share = picker.stage == Stage::Killer1 ? Killer1MarginShare
                : picker.stage == Stage::Killer2             ? Killer2MarginShare
                                                             : QuietMarginShare;
            int gain = SquareGain(m, us, phase);
            if (gain < 0) gain = gain * NegativeGainScale[depth / ONE_PLY] / 256;
            const int estimate = eval + (margin * share >> 8) + (HistoryShare * picker.score >> 8) + gain;
            if (estimate < alpha) {
                best = std::max(best, estimate);  // the node's bound may not fall below what was skipped
                skipped = true;
                continue;
            }
        }

        MakeMove(m);
        ++searched;
        record.flags = uint8_t(flags);
        record.gives_check = gives_check;
        ply_records[ply + 1].in_check = gives_check;

        int score = 0;
        bool reduced_failed = false;
        if (sorted_quiet) {
            const int n = ++quiets_tried;
            if (n < MaxTried) tried[n] = m;
            if (depth >= 2 * ONE_PLY && ply > 0 && !single_reply && n >= 2) {
                const int enemy_eval = Evaluate();
                const int r = ReductionMeasure(n, node_type, gives_check, enemy_eval, alpha);
                const int reduction = -enemy_eval - eval > 99 ? 0 : Reduction(r, n);
                if (reduction != 0) {
                    record.flags |= NodeReduced;
                    score = SearchChild(-alpha - 1, -alpha, depth + change + reduction, true,
                                        node_type == CutNode ? AllNode : CutNode);
                    record.flags &= uint8_t(~NodeReduced);
                    reduced_failed = score <= alpha;
                }
            }
        }
        if (!reduced_failed && !stop_flag) {
            if (searched == 1) {
                score = SearchChild(-beta, -alpha, depth + change, true, -node_type);
            } else {
                const int type = searched > 2 ? AllNode : pv ? CutNode : -node_type;
                score = SearchChild(-alpha - 1, -alpha, depth + change, true, type);
                if (score > alpha && score < beta && !stop_flag)
                    score = SearchChild(-beta, -score, depth + change, true, pv ? PvNode : type);
            }
        }
        UnmakeMove();
        if (stop_flag) {
            move_count = stack_start;
            return 0;
        }
        if (after_capture && !in_check && !gives_check)
            RecordCapture(m, us, is_hash ? CaptureScore(m) : picker.score, score > alpha);

        if (score > best) best = score;
        if (score > alpha) {
            alpha = score;
            best_move = m;
            record.best_move = m;
            if (pv) ExtendLine(ply, m);
            if (score >= beta) {
                if (quiet) {
                    if (in_check) {
                        counter_evasions[MoveTo(previous)][p.king_square[us]][us] = m;
                    } else {
                        RewardQuiet(m, us, depth, sorted_quiet ? tried + 1 : nullptr,
                                    std::min(quiets_tried, MaxTried) - 1);
                    }
                }
                if (excluded == 0) StoreTable(depth, m, score, BoundLower, mate_threat, probe.flags, ply);
                move_count = stack_start;
                return score;
            }
        }
    }
    move_count = stack_start;

    // Step 19. All moves searched.
    if (searched == 0 && excluded != 0) return alpha;
    // Stalemate; step 14 has seen mate. Captures are left out at futile nodes only, where alpha is out
    // of reach.
    if (searched == 0 && !futile && !skipped) return 0;
    best = std::max(best, targets.left_out);
    if (searched == 0) best = std::max(best, alpha);
    if (best_move == 0 && futile) best = std::max(best, std::min(alpha, eval + margin));
    if (excluded == 0) {
        const bool exact = alpha > old_alpha && best_move != 0;
        StoreTable(depth, best_move, best, exact ? BoundExact : BoundUpper, mate_threat, probe.flags, ply);
    }
    return best;
}

}  // namespace

int search(int alpha, int beta, int depth, bool null_allowed, int node_type) {
    return SearchNode(alpha, beta, depth, null_allowed, node_type, 0);
}

int SearchChild(int alpha, int beta, int depth, bool null_allowed, int node_type) {
    ++current_ply;
    const int score = depth < ONE_PLY ? -quiesce(alpha, beta, 0, node_type)
                                      : -SearchNode(alpha, beta, depth, null_allowed, node_type, 0);
    --current_ply;
    return score;
}
