// root.cpp - iterative deepening over the root moves.
//
// k is the iteration: root children are searched at depth 4 k + 2 quarter plies (the half
// ply of bonus is meant), 4 more for checks; users see k + 1. An iteration that the stop
// flag interrupts is dropped, but a move that has already failed high in it stays the best.
//
// State: root_moves (search_state.h).
#include "search/root.h"

#include <algorithm>
#include <cstring>

#include "board/attacks.h"
#include "board/legality.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/ordering_data.h"
#include "board/settings.h"
#include "book/book.h"
#include "eval/evaluate.h"
#include "search/limits.h"
#include "search/principal_variation.h"
#include "search/report.h"
#include "search/root_lines.h"
#include "search/search.h"
#include "search/search_state.h"
#include "search/time_control.h"
#include "search/transposition.h"

namespace {

constexpr int LastIteration = 99;
constexpr int FullWindowIterations = 3;  // the single-line loop aspires after these
constexpr int AspirationWindow = 25;
// Beyond it lie mates, and bounds that stand for mates: no window around such a score holds.
constexpr int DecidedScore = 20000;
constexpr int MultiPVWindow = 40;
constexpr int WindowGrowth = 3;
constexpr int OpenWindow = 32701;
constexpr int EasyMoveIteration = 7;
constexpr int EasyMoveMargin = 200;
constexpr int HistoryResetTarget = 71;  // centiseconds: faster searches forget the history
constexpr int KillerShiftPlies = 192;
constexpr int64_t QuietNodes = 30000;      // no forced fail-high or fail-low lines before
constexpr int64_t CurrentMoveDelay = 100;  // centiseconds before "currmove" lines begin

// Searches one root move with a window given from the root side's view.
int SearchRootMove(RootMove& root, int alpha, int beta, int depth, int node_type) {
    const int64_t before = nodes_searched;
    PlyRecord& record = ply_records[0];
    record.flags = root.gives_check ? NodeGivesCheck : 0;
    record.gives_check = root.gives_check;
    ply_records[1].in_check = root.gives_check;
    MakeMove(root.move);
    pv_length[1] = 0;
    const int score = SearchChild(-beta, -alpha, depth + (root.gives_check ? ONE_PLY : 0), true, node_type);
    UnmakeMove();
    root.nodes += nodes_searched - before;
    return score;
}

int DepthOfIteration(int k) { return ONE_PLY * k + 2; }

// Node type of the i-th root move's child in a zero-window search.
int LaterNodeType(int i) { return i == 1 ? CutNode : AllNode; }

// The band of material balances that the quiescence search takes seriously.
void SetMaterialBand(int k, int score) {
    const Position& p = thread_board;
    const int material = p.Material[root_side] - p.Material[ChangeSide(root_side)];
    const int bias = std::clamp(score / 5, -150, 150);
    band_low = std::min(score, material) + bias - 10 * k - 200;
    band_high = std::max(score, material) + bias + 10 * k + 200;
    LazyWindow[0] = band_low;
    LazyWindow[1] = band_high;
}

void OpenMaterialBand() {
    band_low = LazyWindow[0] = -32767;
    band_high = LazyWindow[1] = 32767;
}

void PrepareRootRecord() {
    PlyRecord& record = ply_records[0];
    record.in_check = InCheck(SideToMove());
    record.eval = Evaluate();
    record.eval_ok = 1;
    record.flags = 0;
    record.best_move = 0;
}

// First guess at the order: the table's move, then what a quiescence search thinks.
void OrderRootMoves() {
    const TableEntry* const entry = PeekTable();
    const Move table_move = entry != nullptr ? entry->packed & 0x1FFFFF : 0;
    iteration_depth = 0;
    for (int i = 0; i < root_move_count; ++i) {
        RootMove& root = root_moves[i];
        root.score = -OpenWindow;
        if (stop_flag) continue;
        // A check gets no deeper search here than other moves.
        const int depth = root.gives_check ? -ONE_PLY : 0;
        const int score = SearchRootMove(root, -OpenWindow, OpenWindow, depth, PvNode);
        if (stop_flag) continue;
        root.score = score;
        KeepLine(root);
    }
    std::stable_sort(root_moves, root_moves + root_move_count, [&](const RootMove& a, const RootMove& b) {
        // Stopped on the way, the table's move may have no score yet, and any with one is better.
        const bool a_first = a.move == table_move && a.score > -OpenWindow;
        const bool b_first = b.move == table_move && b.score > -OpenWindow;
        return a_first != b_first ? a_first : a.score > b.score;
    });
}

// Moves the root move at `index` to `place`, the ones between one down.
void MoveUp(int index, int place) { std::rotate(root_moves + place, root_moves + index, root_moves + index + 1); }

bool TimeForAnotherIteration() {
    if (!time_budget.timed || PonderingNow || AnalysisMode || search_limits.MoveTime > 0
        || search_limits.MaxDepth < NoDepthLimit)
        return true;
    const int64_t elapsed = NowCentiseconds() - search_start;
    return elapsed * 100 <= int64_t(std::min(time_budget.target, time_budget.hard)) * 60;
}

// Is this the mate that the user asked for, or a shorter one?
bool IsWantedMate(int score) {
    return search_limits.MateSearch > 0 && score > MateBound && (32701 - score) / 2 <= search_limits.MateSearch;
}

// Does the best move stand so far above all others that a quarter of the time is enough?
// Tried once, for recaptures.
bool IsEasyMove(int k) {
    if (!time_budget.timed || PonderingNow || AnalysisMode || search_limits.MoveTime > 0 || root_move_count < 2)
        return false;
    const Move previous = history_count > 0 ? game_history[history_count - 1].move : 0;
    const Move best = root_moves[0].move;
    if (MoveCaptured(best) == EMPTY || MoveCaptured(previous) == EMPTY || MoveTo(best) != MoveTo(previous))
        return false;
    const int bound = root_moves[0].score - EasyMoveMargin;
    if (bound < -MateBound) return false;
    for (int i = 1; i < root_move_count; ++i) {
        const int score = SearchRootMove(root_moves[i], bound - 1, bound, ONE_PLY * (k - 3), CutNode);
        if (stop_flag || score >= bound) return false;
    }
    return true;
}

// One root move of the single-line loop with its re-searches. The score is exact or at most
// alpha. Sets root_in_trouble while a re-search runs.
int AspireFirstMove(RootMove& root, int k, int previous) {
    int low = -OpenWindow, high = OpenWindow;
    int width_low = AspirationWindow, width_high = AspirationWindow;
    if (k > FullWindowIterations && std::abs(previous) < DecidedScore) {
        low = previous - width_low;
        high = previous + width_high;
    }
    int failures_low = 0, failures_high = 0;
    for (;;) {
        const int score = SearchRootMove(root, low, high, DepthOfIteration(k), PvNode);
        if (stop_flag) {
            if (failures_low > 0) root.score = previous;  // the bound is no score to end with
            return 0;
        }
        if (score <= low && low > -OpenWindow) {
            root_in_trouble = true;
            root.score = score;
            ReportProgress(k, score, Bound::Upper, nodes_searched > QuietNodes);
            width_low *= WindowGrowth;
            low = ++failures_low >= 3 || score < -DecidedScore ? -OpenWindow : previous - width_low;
        } else if (score >= high && high < OpenWindow) {
            root_in_trouble = true;
            root.score = score;
            KeepLine(root);
            ReportProgress(k, score, Bound::Lower, nodes_searched > QuietNodes);
            width_high *= WindowGrowth;
            high = ++failures_high >= 3 || score > DecidedScore ? OpenWindow : previous + width_high;
        } else {
            return score;
        }
    }
}

// The single-line loop. Returns the last finished iteration.
int IterateSingleLine(int max_depth) {
    int finished = 0;
    for (int k = 1; k < LastIteration; ++k) {
        iteration_depth = k;
        selective_depth = k + 1;
        const int previous = root_moves[0].score;
        SetMaterialBand(k, previous);
        for (int i = 0; i < root_move_count; ++i) root_moves[i].nodes = 0;
        if (k >= 4) poll_countdown = -1;

        int alpha = -OpenWindow;
        for (int i = 0; i < root_move_count; ++i) {
            RootMove& root = root_moves[i];
            root_move_index = i;
            current_root_move = root.move;
            if (NowCentiseconds() - search_start >= CurrentMoveDelay) ReportCurrentMove(k, root_moves[0].score);
            int score;
            if (i == 0) {
                score = AspireFirstMove(root, k, previous);
            } else {
                score = SearchRootMove(root, alpha, alpha + 1, DepthOfIteration(k), LaterNodeType(i));
                if (!stop_flag && score > alpha) {
                    // Better than all before as far as this window tells. Should the search be
                    // stopped before the open one is done, it is the move to play.
                    const int old_score = root.score;
                    root.score = score;
                    KeepLine(root);
                    MoveUp(i, 0);
                    RootMove& leader = root_moves[0];
                    ReportProgress(k, score, Bound::Lower, nodes_searched > QuietNodes);
                    root_in_trouble = true;
                    score = SearchRootMove(leader, alpha, OpenWindow, DepthOfIteration(k), PvNode);
                    if (stop_flag) return finished;
                    root_in_trouble = false;
                    if (score <= alpha) {
                        // Not so after all: back to its place.
                        leader.score = old_score;
                        std::rotate(root_moves, root_moves + 1, root_moves + i + 1);
                    } else {
                        leader.score = score;
                        KeepLine(leader);
                        alpha = score;
                        ReportProgress(k, score, Bound::None, true);
                    }
                    continue;
                }
            }
            if (stop_flag) return finished;
            root.score = score;
            if (i == 0) {
                root_in_trouble = false;
                KeepLine(root);
                alpha = score;
                ReportProgress(k, score, Bound::None, true);
            }
        }
        finished = k;
        root_in_trouble = false;
        std::stable_sort(root_moves + 1, root_moves + root_move_count,
                         [](const RootMove& a, const RootMove& b) { return a.nodes > b.nodes; });
        ReportProgress(k, root_moves[0].score, Bound::None, true);
        if (k + 1 >= max_depth || IsWantedMate(root_moves[0].score) || !TimeForAnotherIteration()) break;
        if (k == EasyMoveIteration && IsEasyMove(k)) time_budget.target = std::max(time_budget.target / 4, 1);
        if (stop_flag) break;
    }
    return finished;
}

// One of the first MultiPV root moves: window around its own score, opened on failure. Sets
// root_in_trouble while a re-search runs.
int AspireLine(int i, int k) {
    RootMove& root = root_moves[i];
    const int previous = root.score;
    int score = SearchRootMove(root, previous - MultiPVWindow, previous + MultiPVWindow, DepthOfIteration(k), PvNode);
    if (stop_flag) return 0;
    if (score >= previous + MultiPVWindow) {
        root.score = score;
        KeepLine(root);
        ReportMultiPV(k, i, Bound::Lower);
        root_in_trouble = true;
        score = SearchRootMove(root, score, OpenWindow, DepthOfIteration(k), PvNode);
    } else if (score <= previous - MultiPVWindow) {
        root.score = score;
        ReportMultiPV(k, i, Bound::Upper);
        root_in_trouble = true;
        score = SearchRootMove(root, -OpenWindow, score, DepthOfIteration(k), PvNode);
    }
    return score;
}

int IterateMultiPV(int max_depth) {
    int finished = 0;
    RootMove snapshot[MaxRootMoves];
    for (int k = 1; k < LastIteration; ++k) {
        iteration_depth = k;
        selective_depth = k + 1;
        SetMaterialBand(k, root_moves[0].score);
        for (int i = 0; i < root_move_count; ++i) root_moves[i].nodes = 0;
        if (k >= 4) poll_countdown = -1;
        std::memcpy(snapshot, root_moves, sizeof snapshot);

        int worst = OpenWindow;  // the lowest score among the lines
        for (int i = 0; i < root_move_count; ++i) {
            RootMove& root = root_moves[i];
            root_move_index = i;
            current_root_move = root.move;
            int score;
            if (i < MultiPV) {
                score = AspireLine(i, k);
            } else {
                score = SearchRootMove(root, worst, worst + 1, DepthOfIteration(k), LaterNodeType(i));
                if (!stop_flag && score > worst) {
                    root.score = score;
                    ReportMultiPV(k, i, Bound::Lower);
                    root_in_trouble = true;
                    score = SearchRootMove(root, score, OpenWindow, DepthOfIteration(k), PvNode);
                }
            }
            root_in_trouble = false;
            if (stop_flag) {
                std::memcpy(root_moves, snapshot, sizeof snapshot);
                return finished;
            }
            root.score = score;
            if (i < MultiPV || score > worst) KeepLine(root);
            int place = i;
            while (place > 0 && root_moves[place - 1].score < score) --place;
            MoveUp(i, place);
            worst = root_moves[std::min(i, MultiPV - 1)].score;
            ReportMultiPV(k, i, Bound::None);
        }
        finished = k;
        if (root_move_count > MultiPV)
            std::stable_sort(root_moves + MultiPV, root_moves + root_move_count,
                             [](const RootMove& a, const RootMove& b) { return a.score > b.score; });
        if (k + 1 >= max_depth || IsWantedMate(root_moves[0].score) || !TimeForAnotherIteration()) break;
    }
    return finished;
}

// History fades from search to search, or goes when there is no time to profit from it;
// killers move up with the two plies that have been played.
void AgeOrderingData() {
    if (time_budget.target < HistoryResetTarget) {
        std::memset(history_table, 0, sizeof history_table);
    } else {
        for (auto& half : history_table)
            for (auto& piece_class : half)
                for (auto& squares : piece_class)
                    for (int32_t& value : squares) value >>= 8;
    }
    for (int ply = 0; ply < KillerShiftPlies; ++ply)
        std::memcpy(ply_records[ply].killers, ply_records[ply + 2].killers, sizeof ply_records[ply].killers);
}

// The book's move if there is one and it is legal; pawns that reach the end become queens.
Move AskBook() {
    Move move = book_move();
    if (move == 0) return 0;
    if (MovePiece(move) == PAWN && RelativeRank(SideToMove(), MoveTo(move)) == 7)
        move = (move & 0x3FFFF) | Move(QUEEN) << 18;
    for (int i = 0; i < root_move_count; ++i)
        if (root_moves[i].move == move) return move;
    return 0;
}

// Keeps only the moves that "searchmoves" names, unless none of them is legal.
void RestrictRootMoves() {
    if (search_limits.search_move_count == 0) return;
    const Move* const wanted = search_limits.search_moves;
    const Move* const end = wanted + search_limits.search_move_count;
    RootMove* const kept = std::stable_partition(root_moves, root_moves + root_move_count, [&](const RootMove& root) {
        return std::find(wanted, end, root.move) != end;
    });
    if (kept != root_moves) root_move_count = int(kept - root_moves);
}

void RememberPrediction(const Move* line, int length) {
    predicted_line = {};
    if (length > 0) predicted_line.own = line[0];
    if (length > 1) predicted_line.reply = line[1];
    if (length > 2) predicted_line.next = line[2];
}

// What the last search meant to play here, if both moves since are those it foresaw. (After a ponder
// search that missed, the first is not.)
Move ExpectedMove() {
    if (history_count < 2 || predicted_line.next == 0) return 0;
    const HistoryRecord* const last = game_history + history_count - 1;
    return last[-1].move == predicted_line.own && last[0].move == predicted_line.reply ? predicted_line.next : 0;
}

Move PredictReply(const Move* line, int length) {
    if (length > 1) return line[1];
    MakeMove(line[0]);
    const TableEntry* const entry = PeekTable();
    const Move move = entry != nullptr ? entry->packed & 0x1FFFFF : 0;
    const Move reply = move != 0 && IsFullyLegal(move) ? move : 0;
    UnmakeMove();
    return reply;
}

bool IsTimedPlay() {
    return !PonderingNow && !AnalysisMode && search_limits.OwnTime < InfiniteTime
        && search_limits.MaxDepth >= NoDepthLimit && search_limits.MaxNodes == 0 && search_limits.MateSearch == 0
        && (search_limits.OwnTime != NoClock || search_limits.MoveTime > 0 || !UciMode);
}

}  // namespace

int GenerateRootMoves() {
    const int start = move_count;
    root_move_count = 0;
    CheckInfo checks;
    ComputeCheckInfo(checks);
    const int count = GenerateLegalMoves(start);
    for (int i = 0; i < count && i < MaxRootMoves; ++i) {
        const Move move = move_stack[start + i].move;
        root_moves[root_move_count] = {move, 0, GivesCheck(move, checks), 0, root_move_count};
        ++root_move_count;
    }
    move_count = start;
    for (int i = 1; i < root_move_count; ++i)
        if (root_moves[i].move == last_best_move) MoveUp(i, 0);
    ForgetLines();
    root_move_index = 0;
    current_root_move = root_moves[0].move;
    return root_move_count;
}

SearchResult think(bool use_book) {
    SearchResult result = SearchResult{};
    searching = true;
    stop_flag = false;
    current_ply = 0;
    move_count = 0;
    nodes_searched = 0;
    tablebase_hits = 0;
    writes_this_search = 0;
    selective_depth = 0;
    root_in_trouble = false;
    root_side = SideToMove();
    root_history_count = history_count;
    ResetReports();
    AgeTable(1);
    SetEvaluationRoot(root_side);
    OpenMaterialBand();
    GenerateRootMoves();
    RestrictRootMoves();
    StartClock();
    expected_best_move = ExpectedMove();

    const auto finish = [&] {
        OpenMaterialBand();
        searching = false;
        return result;
    };
    if (root_move_count == 0) return finish();
    result.best = root_moves[0].move;

    const bool single_line = MultiPV <= 1;
    if (single_line) AgeOrderingData();
    if (single_line && use_book && OwnBook && !PonderingNow && !AnalysisMode && search_limits.OwnTime < InfiniteTime) {
        if (const Move book = AskBook(); book != 0) {
            result.best = book;
            result.from_book = true;
            predicted_line = {};
            if (!output_suppressed) last_best_move = book;
            return finish();
        }
    }

    const int max_depth = search_limits.MaxDepth;
    PrepareRootRecord();
    const bool obvious = root_move_count == 1 && IsTimedPlay();
    OrderRootMoves();
    if (!obvious && max_depth >= 2 && !stop_flag) {
        result.depth = single_line ? IterateSingleLine(max_depth) : IterateMultiPV(max_depth);
        result.searched = true;
    }
    result.best = root_moves[0].move;
    result.score = root_moves[0].score > -OpenWindow ? root_moves[0].score : 0;  // stopped before the first guess
    // Front ends want one line with a score for every move, searched or not. After a ponder miss
    // or a take-back in analysis xboard would credit it to the new position.
    const bool outdated = stop_flag && !UciMode && (PonderingNow || AnalysisMode);
    if (!outdated) ReportProgress(result.depth, result.score, Bound::None, true);

    Move line[MaxPly + 2];
    const int length = RootLine(0, line, 3);
    result.ponder = PredictReply(line, length);
    if (!output_suppressed) {
        last_best_move = result.best;
        RememberPrediction(line, result.searched ? length : 0);
        if (result.searched) {
            reference_score = result.score;
            reference_side = root_side;
            reference_valid = true;
            if (!PonderingNow && !AnalysisMode) ++move_phase;
        }
    }
    iteration_depth = 0;
    return finish();
}

void ClearHashTables() {
    ClearTable();
    ClearEvaluationTables();
}

void ClearSearch() {
    ClearHashTables();
    ClearOrderingData();
    predicted_line = {};
    reference_valid = false;
}
