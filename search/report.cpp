// report.cpp - the search's output lines.
//
// State: the node count at the last progress line.
#include "search/report.h"

#include <cinttypes>

#include <algorithm>

#include "board/console.h"
#include "board/notation.h"
#include "board/settings.h"
#include "search/limits.h"
#include "search/root_lines.h"
#include "search/search_state.h"
#include "search/time_control.h"
#include "search/transposition.h"

namespace {

constexpr int64_t ProgressInterval = 30000;    // more nodes than this between two UCI lines
constexpr int64_t ThinkingLineNodes = 100000;  // more than this before an xboard line
constexpr int64_t MultiPVQuietNodes = 50000;   // 1 to this many: the lines are not printed
constexpr int XboardMateShift = 67;            // MATE + 67 = 32767 there

int64_t last_report_nodes;

int64_t Elapsed() { return NowCentiseconds() - search_start; }

// "mate N ", "mate -N " or "cp N "; `chooser` decides which kind, `score` supplies the number.
void PrintScore(int score, int chooser) {
    if (chooser > MateBound) Print("mate %d ", (32701 - score) >> 1);
    else if (chooser < -MateBound) Print("mate -%d ", (score + 32701) >> 1);
    else Print("cp %d ", score);
}

void PrintBound(Bound bound) {
    if (bound == Bound::Upper) Print("upperbound ");
    if (bound == Bound::Lower) Print("lowerbound ");
}

void PrintCounters() {
    Print("nodes %" PRId64 " time %" PRId64 " hashfull %d nps %lld tbhits %" PRId64, nodes_searched, Elapsed() * 10,
          HashFull(), NodesPerSecond(), tablebase_hits);
}

void PrintMoves(const Move* line, int length) {
    char text[8];
    for (int i = 0; i < length; ++i) Print(" %s", MoveToText(text, line[i]));
}

void PrintCurrentMove() {
    char text[8];
    Print(" currmove %s currmovenumber %d", MoveToText(text, current_root_move), root_move_index + 1);
}

// What the user is shown of a score while a mate in MateSearch moves is looked for.
int ShownScore(int score) {
    if (search_limits.MateSearch == 0 || (32701 - score) / 2 == search_limits.MateSearch) return score;
    return 0;
}

bool UciLineDue(bool force) {
    if (output_suppressed || !UciMode) return false;
    return force || nodes_searched == 0 || nodes_searched - last_report_nodes > ProgressInterval;
}

void BeginUciLine(int k, int score, Bound bound) {
    last_report_nodes = nodes_searched;
    Print("info depth %d seldepth %d score ", k + 1, selective_depth);
    const int shown = ShownScore(score);
    PrintScore(shown, shown);
    PrintBound(bound);
    PrintCounters();
}

void PrintThinkingLine(int k, int score) {
    if (output_suppressed || UciMode || !PostMode || nodes_searched <= ThinkingLineNodes) return;
    if (score > MateBound) score += XboardMateShift;
    else if (score < -MateBound) score -= XboardMateShift;
    Print("%d %d %" PRId64 " %" PRId64, k + 1, score, Elapsed(), nodes_searched);
    Move line[MaxPly + 2];
    PrintMoves(line, PrincipalVariation(line, k + 1));
    Print("\n");
    Flush();
}

}  // namespace

long long NodesPerSecond() {
    const int64_t elapsed = Elapsed();
    return elapsed > 0 ? nodes_searched * 100 / elapsed : 0;
}

void ResetReports() { last_report_nodes = 0; }

void ReportProgress(int k, int score, Bound bound, bool force) {
    PrintThinkingLine(k, score);
    if (!UciLineDue(force)) return;
    BeginUciLine(k, score, bound);
    Print(" pv");
    Move line[MaxPly + 2];
    PrintMoves(line, PrincipalVariation(line, k + 1));
    Print("\n");
    Flush();
}

void ReportCurrentMove(int k, int score) {
    if (!UciLineDue(false)) return;
    BeginUciLine(k, score, Bound::None);
    PrintCurrentMove();
    Print("\n");
    Flush();
}

void ReportMultiPV(int k, int line, Bound bound) {
    if (output_suppressed) return;
    if (!UciMode) {
        if (line == 0) PrintThinkingLine(k, root_moves[0].score);
        return;
    }
    if (nodes_searched >= 1 && nodes_searched <= MultiPVQuietNodes) return;
    last_report_nodes = nodes_searched;
    const int lines = std::min(MultiPV, root_move_count);
    for (int i = 0; i < lines; ++i) {
        Print("info multipv %d depth %d seldepth %d score ", i + 1, k + 1, selective_depth);
        PrintScore(ShownScore(root_moves[i].score), ShownScore(root_moves[0].score));
        if (i == line) PrintBound(bound);
        PrintCounters();
        PrintCurrentMove();
        Print(" pv");
        Move moves[MaxPly + 2];
        PrintMoves(moves, RootLine(i, moves, k + 1));
        Print("\n");
    }
    Flush();
}

void ReportNodesPerSecond() {
    if (output_suppressed) return;
    Print("info nps %lld nodes %" PRId64 " tbhits %" PRId64 " hashfull %d\n", NodesPerSecond(), nodes_searched,
          tablebase_hits, HashFull());
    Flush();
}
