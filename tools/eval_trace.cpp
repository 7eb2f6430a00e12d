// eval_trace.cpp - prints the evaluation of positions, term by term, colour by colour.
//
//   eval_trace FEN              (the FEN may be given unquoted, as several arguments)
//   eval_trace < FILE           one position a line
//   eval_trace --check < FILE   no print, but tests of every position: the terms add up; colours
//                               swapped, the same score; the score derived for the other side to
//                               move is his own; what the cache answers is what it was told
//
// Gains are centipawns of the colour named, opening half and endgame half. The last lines put
// them together; "total" is what the engine says of the position.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "board/position.h"
#include "eval/eval_info.h"
#include "eval/evaluate.h"
#include "eval/trace.h"
#include "tools/common/mirror.h"
#include "tools/common/signature.h"
#include "tools/common/text.h"

namespace {

void PrintRow(const char* name, const int (&white)[2], const int (&black)[2]) {
    std::printf("%-22s %6d %6d   %6d %6d   %6d %6d\n", name, white[0], white[1], black[0], black[1],
                white[0] - black[0], white[1] - black[1]);
}

// False when the total is not the sum of what was printed.
bool Trace(const char* fen) {
    SetFen(fen);
    evaluation_root_side = SideToMove();
    int score = NotEvaluated;
    TracePosition(score);
    std::printf("%s\n%-22s %13s   %13s   %13s\n", fen, "", "White", "Black", "White - Black");
    for (int i = 0; i < int(TracePart::Count); ++i) {
        const auto& part = evaluation_trace.part[i];
        if (part[0][0] || part[0][1] || part[1][0] || part[1][1])
            PrintRow(TracePartName(TracePart(i)), part[WHITE], part[BLACK]);
    }
    for (int i = 0; i < TermListLength; ++i) {
        int gain[2][2];
        for (const Colour c : {WHITE, BLACK})
            for (int phase = 0; phase < 2; ++phase) gain[c][phase] = TracedTerm(term_list[i], c, phase);
        if (gain[0][0] || gain[0][1] || gain[1][0] || gain[1][1]) PrintRow(term_list[i].name, gain[WHITE], gain[BLACK]);
    }
    const EvalInfo& info = thread_eval_info;
    const int sum = TracedScore();
    std::printf("phase %d of 256 (White's men %d, Black's %d)\nsum %d, total %d for the side to move\n\n",
                info.current_phase, info.phase[WHITE], info.phase[BLACK], sum, score);
    return sum == score;
}

// Passed checks of each kind.
struct CheckCounts {
    long positions = 0, sums = 0, flipped = 0, derived = 0, cached = 0;
    long settled = 0, faults = 0, unreadable = 0;
};

void Check(const std::string& fen, CheckCounts& counts) {
    const auto expect = [&](const char* what, int value, int truth) {
        if (value == truth) return true;
        ++counts.faults;
        std::printf("%s: %d instead of %d: %s\n", what, value, truth, fen.c_str());
        return false;
    };
    SetFen(fen.c_str());
    if (!IsPlayable()) {
        ++counts.unreadable;
        return;
    }
    const std::string whole_fen = WriteFen();
    const bool mirrors = MirrorsExactly();
    ++counts.positions;
    int score = NotEvaluated, other = NotEvaluated;
    TracePosition(score);
    counts.settled += evaluation_trace.exact;
    const bool sum = expect("sum of terms", TracedScore(), score);
    EvaluatePosition(other);
    const bool same = expect("untraced", other, score);
    counts.sums += sum && same;
    const bool derives = thread_eval_info.SymmetryValid;
    const int derived = thread_eval_info.SymmetryDelta - score;

    bool cached = expect("fresh through the cache", Evaluate(), score);
    cached &= expect("cached", Evaluate(), score);
    thread_board.SideToMove ^= 1;
    EvaluatePosition(other);
    if (derives) counts.derived += expect("derived for the other side", derived, other);
    cached &= expect("other side through the cache", Evaluate(), other);
    counts.cached += cached;
    if (!mirrors) return;
    SetFen(ColourFlipped(whole_fen).c_str());
    EvaluatePosition(other);
    counts.flipped += expect("colours swapped", other, score);
}

// Calls visit() with every line of standard input that holds something.
template <typename Visit> void EveryLine(Visit visit) {
    for (std::string line; std::getline(std::cin, line);) {
        while (!line.empty() && std::strchr(" \t\r", line.back())) line.pop_back();
        if (!line.empty()) visit(line);
    }
}

bool CheckAll() {
    CheckCounts counts;
    EveryLine([&](const std::string& line) { Check(line, counts); });
    std::printf(
        "%ld positions: %ld add up, %ld with colours swapped, %ld derived for the other side, %ld from the cache, "
        "%ld settled by a rule; faults: %ld\n",
        counts.positions, counts.sums, counts.flipped, counts.derived, counts.cached, counts.settled, counts.faults);
    if (counts.unreadable > 0) std::fprintf(stderr, "%ld lines hold no playable position\n", counts.unreadable);
    if (counts.positions == 0) std::fprintf(stderr, "nothing was checked\n");
    return counts.faults == 0 && counts.positions > 0;
}

int Usage(std::FILE* stream = stderr) {
    std::fprintf(stream,
                 "usage: eval_trace FEN\n"
                 "       eval_trace [--check] < FILE      (one position a line; default: print them)\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return Usage(stdout), 0;
    const bool check = argc == 2 && !std::strcmp(argv[1], "--check");
    if (argc > 1 && argv[1][0] == '-' && !check) return Usage();
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    evaluation_root_side = WHITE;
    if (check) return CheckAll() ? 0 : 1;
    bool adds_up = true;
    // False when there is nothing to trace.
    const auto trace = [&](const std::string& fen) {
        SetFen(fen.c_str());
        if (!IsPlayable()) {
            std::fprintf(stderr, "cannot be played: %s\n", fen.c_str());
            return false;
        }
        adds_up &= Trace(fen.c_str());
        return true;
    };
    if (argc > 1) {
        std::string fen;
        for (int i = 1; i < argc; ++i) fen += (i > 1 ? " " : "") + std::string(argv[i]);
        if (!trace(fen)) return Usage();
        return adds_up ? 0 : 1;
    }
    long unreadable = 0;
    EveryLine([&](const std::string& line) { unreadable += !trace(line); });
    if (unreadable > 0) std::fprintf(stderr, "%ld lines hold no playable position\n", unreadable);
    return adds_up && unreadable == 0 ? 0 : 1;
}
