// make_book.cpp - makes an opening book, or lists one.
//
//   make_book [OPTION]... --output Book.cvt FILE...
//   make_book --list Book.cvt
//
// A file is read as what its name ends in:
//
//   .pgn    games
//   .txt    lines of moves, a game each, a result at the end if known; '#' begins a comment line
//   .tsv    a table of openings: a line with the names of the columns, moves in the third column
//   .book   book text, as --list writes it (tools/common/book_tree.h)
//   .cvt    a book
//
// The book is written as a whole or not at all. Games with a fault are reported with file and line
// and never enter. The last line, on standard output: what is in the book and what is not.
#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/common/book_tree.h"
#include "tools/common/signature.h"
#include "tools/common/text.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Options {
    BookLimits limits;
    std::string output, list;
    std::vector<std::string> files;
};

int Usage(std::FILE* stream = stderr) {
    const BookLimits standard;
    std::fprintf(stream,
                 "usage: make_book [OPTION]... --output BOOK.cvt FILE...\n"
                 "       make_book --list BOOK.cvt\n"
                 "files: .pgn .txt .tsv (games and lines), .book .cvt (books; these enter as they stand)\n"
                 "options for games and lines:\n"
                 "  --plies N       so many of each game (default %d)\n"
                 "  --min-games N   leave out moves played less (default %d)\n"
                 "  --min-score N   leave out moves below so many thousandths of the points (default %d)\n"
                 "  --even N        drawn games thought beside a move's own for its score (default %d)\n"
                 "options for .pgn:\n"
                 "  --min-rating N  both players', games without ratings are left out (default: any)\n"
                 "  --player NAME   only games of a player whose name begins so (default: any)\n",
                 standard.plies, standard.min_games, standard.min_score, standard.even);
    return 2;
}

bool ParseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word.rfind("--", 0) != 0) {
            options.files.push_back(word);
            continue;
        }
        if (++i == argc) return false;
        const std::string value = argv[i];
        BookLimits& limits = options.limits;
        bool good = true;
        if (word == "--output") options.output = value;
        else if (word == "--list") options.list = value;
        else if (word == "--plies") good = ParseNumber(value, 1, 10000, limits.plies);
        else if (word == "--min-games") good = ParseNumber(value, 0, 1000000000, limits.min_games);
        else if (word == "--min-score") good = ParseNumber(value, 0, 1000, limits.min_score);
        else if (word == "--min-rating") good = ParseNumber(value, 0, 10000, limits.min_rating);
        else if (word == "--even") good = ParseNumber(value, 0, 1000000, limits.even);
        else if (word == "--player") limits.player = value;
        else good = false;
        if (!good) return false;
    }
    if (!options.list.empty()) return options.files.empty() && options.output.empty();
    return !options.files.empty() && !options.output.empty();
}

// On a terminal a line that is written over every second; in a file one every 10,000 games.
class Progress {
public:
    void operator()(const BookCounts& counts) {
        const int64_t games = counts.games + counts.refused + counts.left_out;
        if (terminal ? Clock::now() - last < std::chrono::seconds(1) : games % 10000 != 0) return;
        last = Clock::now();
        shown = terminal;
        std::fprintf(stderr, "%s%" PRId64 " games, %" PRId64 " of them refused%s", terminal ? "\r" : "", games,
                     counts.refused, terminal ? "" : "\n");
    }
    // Before anything else is written to the terminal.
    void EndLine() {
        if (shown) std::fprintf(stderr, "\n");
        shown = false;
    }

private:
    bool terminal = isatty(STDERR_FILENO) != 0, shown = false;
    Clock::time_point last = Clock::now();
};

int List(const std::string& path) {
    std::string bytes, error;
    BookNodes nodes;
    if (!ReadWholeFile(path, bytes)) error = "cannot be read";
    else ReadBookFile(bytes, nodes, error);
    if (!error.empty()) {
        std::fprintf(stderr, "%s: %s\n", path.c_str(), error.c_str());
        return 2;
    }
    const std::string text = WriteBookText(nodes);
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0 ? 0 : 1;
}

// Writes the book and looks whether the disk gives it back.
bool Write(const std::string& path, const std::string& bytes) {
    std::string written;
    if (!ReplaceFile(path, bytes)) {
        std::fprintf(stderr, "%s: cannot be written\n", path.c_str());
        return false;
    }
    if (ReadWholeFile(path, written) && written == bytes) return true;
    std::fprintf(stderr, "%s: does not hold what was written\n", path.c_str());
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return Usage(stdout), 0;
    Options options;
    if (!ParseOptions(argc, argv, options)) return Usage();
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    if (!options.list.empty()) return List(options.list);
    if (!EndsWith(LowerCase(options.output), ".cvt")) {
        std::fprintf(stderr, "%s: the name of a book must end in .cvt\n", options.output.c_str());
        return 2;
    }
    if (std::string why; !CanReplaceFile(options.output, &why)) {
        std::fprintf(stderr, "%s: %s\n", options.output.c_str(), why.c_str());
        return 1;
    }

    const auto start = Clock::now();
    Progress progress;
    BookBuilder builder;
    builder.limits = options.limits;
    builder.progress = [&](const BookCounts& counts) { progress(counts); };
    builder.report = [&](const std::string& fault) {
        progress.EndLine();
        std::fprintf(stderr, "%s\n", fault.c_str());
    };
    for (const std::string& file : options.files) {
        std::string error;
        if (AddBookSource(file, builder, error)) continue;
        progress.EndLine();
        std::fprintf(stderr, "%s\n", error.c_str());
        return 2;
    }
    progress.EndLine();
    const BookNodes nodes = FinishBook(builder);
    int64_t moves = 0;
    for (const auto& node : nodes) moves += int64_t(node.second.size());
    const std::string bytes = BookFileBytes(nodes);
    // An engine with an empty book would be none the wiser, and an old book be lost.
    const BookCounts& counts = builder.counts;
    if (!options.limits.player.empty() && counts.games == 0 && counts.left_out > 0)
        std::fprintf(stderr,
                     "no game within the limits is of a player whose name begins with \"%s\"; in PGN the "
                     "family name stands first\n",
                     options.limits.player.c_str());
    if (moves == 0) std::fprintf(stderr, "no moves: %s is not written\n", options.output.c_str());
    else if (!Write(options.output, bytes)) return 1;

    const int printed =
        std::printf("%zu positions, %" PRId64 " moves of %" PRId64 " games; %" PRId64 " games refused, %" PRId64
                    " left out by the limits, %" PRId64 " bad lines of book text; %zu bytes, %.1f seconds\n",
                    nodes.size(), moves, counts.games, counts.refused, counts.left_out, counts.bad_lines, bytes.size(),
                    std::chrono::duration<double>(Clock::now() - start).count());
    return printed > 0 && std::fflush(stdout) == 0 && moves != 0 ? 0 : 1;
}
