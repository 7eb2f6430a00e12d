// game_positions.cpp - writes the quiet positions of games from PGN files.
//
//   game_positions [--nodes N] --output FILE GAMES.pgn...
//
// Meant for games of matches. The score of a position comes from a search of so many nodes
// (default 6000), the result from the game. Bad games are reported with file and line and
// skipped, and so are games without a result and those that a clock or a crash decided: their
// result says nothing about the position. The output file is appended to, and its positions are
// not written twice (quiet_positions.h). The last line, on standard output: games, positions,
// seconds.
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/common/game_reader.h"
#include "tools/common/quiet_positions.h"
#include "tools/common/text.h"

static constexpr int64_t DefaultNodes = 6000;

static int Usage(std::FILE* stream = stderr) {
    std::fprintf(stream,
                 "usage: game_positions [--nodes N] --output FILE GAMES.pgn...\n"
                 "       --nodes a position, default %" PRId64 "\n",
                 DefaultNodes);
    return 2;
}

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return Usage(stdout), 0;
    int64_t nodes = DefaultNodes;
    std::string output;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word.rfind("--", 0) != 0) {
            files.push_back(word);
            continue;
        }
        if (++i == argc) return Usage();
        if (word == "--output") output = argv[i];
        else if (word != "--nodes" || !ParseNumber(argv[i], 1, INT64_MAX, nodes)) return Usage();
    }
    if (files.empty() || output.empty()) return Usage();
    if (!InitialisePositionTool()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    PositionWriter writer;
    if (!writer.Open(output)) return 2;

    GameCounts counts;
    const auto start = std::chrono::steady_clock::now();
    for (const std::string& file : files) {
        std::string text;
        if (!ReadWholeFile(file, text)) {
            std::fprintf(stderr, "%s: cannot be read\n", file.c_str());
            return 2;
        }
        if (!WriteGamePositions(text, file, nodes, writer, counts)) return 1;
        std::fprintf(stderr,
                     "%s: up to here %" PRId64 " good games, %" PRId64 " bad, %" PRId64
                     " without a result of play, %" PRId64 " positions\n",
                     file.c_str(), counts.good, counts.bad, counts.undecided, writer.written);
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%" PRId64 " games, %" PRId64 " positions, %.1f seconds\n", counts.good, writer.written, seconds);
    return 0;
}
