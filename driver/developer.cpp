// developer.cpp - see developer.h.
//
// Files are read and written in the current directory.
#include "driver/developer.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "board/console.h"
#include "board/file_access.h"
#include "board/file_names.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/perft.h"
#include "board/position.h"
#include "driver/commands.h"
#include "driver/game_file.h"
#include "driver/game_state.h"
#include "driver/interruption.h"
#include "driver/measure.h"
#include "driver/words.h"
#include "eval/evaluate.h"
#include "eval/parameters.h"
#include "search/time_control.h"

namespace {

constexpr const char* EvaluationsFile = "out.epd";
// Takes the name above when it is complete, so that a file can be evaluated into itself.
constexpr const char* UnfinishedEvaluations = "out.epd.tmp";
constexpr size_t MostLine = 65536;
constexpr int LinesPerPoll = 256;

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

// The next line without its end, of any length. False at the end of the file.
static bool ReadLine(std::FILE* file, std::string& line) {
    line.clear();
    int c;
    while ((c = std::getc(file)) != EOF && c != '\n')
        if (line.size() < MostLine) line += char(c);
    while (!line.empty() && line.back() == '\r') line.pop_back();
    return c != EOF || !line.empty();
}

void EvaluateEpd() {
    if (word_count < 2) return;
    std::string name = RestOfLine(1);
    name.erase(name.find_last_not_of(' ') + 1);
    std::FILE* input = OpenText(name.c_str());
    if (input == nullptr) {
        Print("Error opening file %s...\n", name.c_str());
        return;
    }
    std::FILE* output = std::fopen(UnfinishedEvaluations, "w");
    if (output == nullptr) {
        Print("Error opening file %s...\n", EvaluationsFile);
        std::fclose(input);
        return;
    }
    HoldWaitingInput();
    const Colour root_side = evaluation_root_side;
    bool written = true, interrupted = false;
    int count = 0;
    for (std::string line; written && !interrupted && ReadLine(input, line);) {
        if (line.find_first_not_of(" \t") == std::string::npos) continue;
        SetFen(line.c_str());
        evaluation_root_side = SideToMove();
        int score = NotEvaluated;
        EvaluatePosition(score);
        written = std::fprintf(output, "%s;%d\n", line.c_str(), score) > 0;
        interrupted = ++count % LinesPerPoll == 0 && Interrupted();
    }
    evaluation_root_side = root_side;
    std::fclose(input);
    written &= std::fclose(output) == 0;
    std::error_code error;
    // Half of a file must not take the place of the whole one that it was made from.
    const bool keep = !interrupted || !std::filesystem::equivalent(PathOf(name), EvaluationsFile, error);
    if (written && keep) {
        std::filesystem::rename(UnfinishedEvaluations, EvaluationsFile, error);
        written = !error;
    }
    if (!written) Print("Error writing file %s...\n", EvaluationsFile);
    if (!written || !keep) std::remove(UnfinishedEvaluations);
    // The last position of the file stays on the board.
    PositionReplaced();
}

void EvaluatePgn() {
    HoldWaitingInput();
    int hits;
    MeasureGames(true, &hits);
}

int SelfTest() {
    HoldWaitingInput();
    RebuildEvaluation();
    int hits;
    MeasureGames(false, &hits);
    return hits;
}
