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
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "board/legality.h"
#include "eval/eval_info.h"
#include "eval/evaluate.h"
#include "eval/trace.h"
#include "tools/common/signature.h"

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

// The same game seen from the other side: ranks reversed, colours and castling swapped, the other
// side to move, no en passant.
std::string Flipped(const char* fen) {
    char board[128] = "", side[8] = "", castling[16] = "-";
    std::sscanf(fen, "%127s %7s %15s", board, side, castling);
    std::string rows, row;
    for (const char* c = board;; ++c) {
        if (*c && *c != '/') {
            row += std::isalpha(*c) ? char(*c ^ 32) : *c;
            continue;
        }
        rows.insert(0, rows.empty() ? row : row + "/");
        row.clear();
        if (!*c) break;
    }
    std::string rights;
    for (const char* c = castling; *c; ++c) rights += std::isalpha(*c) ? char(*c ^ 32) : *c;
    return rows + (*side == 'w' ? " b " : " w ") + rights + " -";
}

// One side's knights decide a correction for both, by definition of the imbalance.
bool FlipsExactly() {
    const auto& n = thread_board.PieceCount;
    const bool queens = n[QUEEN][WHITE] + n[QUEEN][BLACK] > 0, rooks = n[ROOK][WHITE] + n[ROOK][BLACK] > 0;
    return !queens || rooks || n[KNIGHT][WHITE] + n[KNIGHT][BLACK] == 0;
}

struct CheckCounts {
    long positions = 0, flipped = 0, derived = 0, cached = 0, settled = 0, faults = 0;
};

void Check(const char* fen, CheckCounts& counts) {
    const auto expect = [&](const char* what, int value, int truth) {
        if (value == truth) return;
        ++counts.faults;
        std::printf("%s: %d instead of %d: %s\n", what, value, truth, fen);
    };
    SetFen(fen);
    if (!IsPlayable()) return;
    ++counts.positions;
    int score = NotEvaluated, other = NotEvaluated;
    TracePosition(score);
    counts.settled += evaluation_trace.exact;
    expect("sum of terms", TracedScore(), score);
    EvaluatePosition(other);
    expect("untraced", other, score);
    const bool derives = thread_eval_info.SymmetryValid;
    const int derived = thread_eval_info.SymmetryDelta - score;

    expect("fresh through the cache", Evaluate(), score);
    expect("cached", Evaluate(), score);
    ++counts.cached;
    thread_board.SideToMove ^= 1;
    EvaluatePosition(other);
    if (derives) {
        expect("derived for the other side", derived, other);
        ++counts.derived;
    }
    expect("other side through the cache", Evaluate(), other);
    if (FlipsExactly()) {
        SetFen(Flipped(fen).c_str());
        EvaluatePosition(other);
        expect("colours swapped", other, score);
        ++counts.flipped;
    }
}

// Evaluates every line of standard input.
bool CheckAll() {
    CheckCounts counts;
    char line[512];
    while (std::fgets(line, sizeof line, stdin)) {
        line[std::strcspn(line, "\r\n")] = 0;
        if (*line) Check(line, counts);
    }
    std::printf(
        "%ld positions: %ld add up, %ld with colours swapped, %ld derived for the other side, %ld from the cache, "
        "%ld settled by a rule; faults: %ld\n",
        counts.positions, counts.positions, counts.flipped, counts.derived, counts.cached, counts.settled,
        counts.faults);
    return counts.faults == 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    evaluation_root_side = WHITE;
    if (argc == 2 && !std::strcmp(argv[1], "--check")) return CheckAll() ? 0 : 1;
    if (argc > 1) {
        std::string fen;
        for (int i = 1; i < argc; ++i) fen += (i > 1 ? " " : "") + std::string(argv[i]);
        return Trace(fen.c_str()) ? 0 : 1;
    }
    bool good = true;
    char line[512];
    while (std::fgets(line, sizeof line, stdin)) {
        line[std::strcspn(line, "\r\n")] = 0;
        if (*line) good &= Trace(line);
    }
    return good ? 0 : 1;
}
