// developer.cpp - see developer.h.
//
// Files are read and written in the current directory.
#include "driver/developer.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>

#include "board/console.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/perft.h"
#include "board/position.h"
#include "driver/commands.h"
#include "driver/game_state.h"
#include "driver/input.h"
#include "driver/input_platform.h"
#include "driver/search_input.h"
#include "driver/words.h"
#include "eval/evaluate.h"
#include "eval/parameters.h"
#include "search/time_control.h"

namespace {

constexpr const char* DefaultPgn = "games.pgn";

// Trees below this depth are counted without looking for input: some ten milliseconds.
constexpr int PerftPollDepth = 4;

uint64_t InterruptiblePerft(int depth, bool* interrupted) {
    if (depth <= PerftPollDepth) return Perft(depth);
    Move moves[256];
    int count = GenerateLegalMoves(ScratchMoves);
    if (count > 256) count = 256;
    for (int i = 0; i < count; ++i) moves[i] = move_stack[ScratchMoves + i].move;
    uint64_t leaves = 0;
    for (int i = 0; i < count && !*interrupted; ++i) {
        if (Interrupted()) {
            *interrupted = true;
            break;
        }
        MakeMove(moves[i]);
        leaves += InterruptiblePerft(depth - 1, interrupted);
        UnmakeMove();
    }
    return leaves;
}

}  // namespace

void HoldWaitingInput() {
    while (RoomToHold() && input_available()) {
        if (!LineBuffered() && (!read_input() || !LineBuffered())) return;
        if (CutLine()) HoldCommandLine();
    }
}

bool Interrupted() {
    if (SignalWaits()) return TakeSignal() != Signal::None;
    while (RoomToHold() && input_available()) {
        if (!LineBuffered() && !read_input()) return false;
        if (!CutLine()) return false;  // half a line
        const SearchInput meaning = ClassifySearchInput(command_line);
        if (meaning == SearchInput::Quit) HoldCommandLine();
        if (meaning == SearchInput::Quit || meaning == SearchInput::Stop || meaning == SearchInput::Exit) return true;
        HoldCommandLine();
    }
    return false;
}

void PerftCommand() {
    if (word_count < 2) return;
    const int depth = int(ParseNumber(Word(1), 0, 100));
    HoldWaitingInput();
    const int64_t start = NowCentiseconds();
    bool interrupted = false;
    const uint64_t leaves = IsPlayable() ? InterruptiblePerft(depth, &interrupted) : 0;
    if (interrupted) return;
    Print("total moves = %" PRIu64 " time = %.2f\n", leaves, double(NowCentiseconds() - start) / 100);
}

void EvaluateEpd() {
    if (word_count < 2) return;
    const std::string name = RestOfLine(1);
    std::FILE* input = std::fopen(name.c_str(), "r");
    if (input == nullptr) {
        Print("Error opening file %s...\n", name.c_str());
        return;
    }
    std::FILE* output = std::fopen("out.epd", "w");
    char line[1024];
    while (output != nullptr && std::fgets(line, sizeof line, input) != nullptr) {
        line[std::strcspn(line, "\r\n")] = '\0';
        if (*SkipSpaces(line) == '\0') continue;
        SetFen(line);
        SetEvaluationRoot(SideToMove());
        int score = NotEvaluated;
        EvaluatePosition(score);
        std::fprintf(output, "%s;%d\n", line, score);
    }
    if (output != nullptr) std::fclose(output);
    std::fclose(input);
    // The last position of the file stays on the board.
    PositionReplaced();
}

void EvaluatePgn() {
    std::FILE* file = std::fopen(DefaultPgn, "r");
    if (file == nullptr) {
        Print("Error opening file %s...\n", DefaultPgn);
        return;
    }
    std::fclose(file);
}

void SelfTest() {
    RebuildEvaluation();
    EvaluatePgn();
}

void TuneParameters() { EvaluatePgn(); }
