// eval_trace.cpp - prints the evaluation of positions, term by term, colour by colour.
//
//   eval_trace FEN              (the FEN may be given unquoted, as several arguments)
//   eval_trace < FILE           one position a line
//
// Gains are centipawns of the colour named, opening half and endgame half. The last lines put
// them together; "total" is what the engine says of the position.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

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

}  // namespace

int main(int argc, char** argv) {
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
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
