// weed_book.cpp - takes the moves out of a book that searches of its positions refute.
//
//   weed_book [options] --scores SCORES.epd [--output BOOK.book] BOOK...
//
// The books are files of the kinds that make_book reads. Every position is searched, the ends of
// lines with all nodes, the others with an eighth of them, and its score appended to SCORES.epd
// at once, one EPD line each, so that the work can be broken off, taken up again, and shared:
// with --part 2/3 this run searches the second of every three. Then, with --output, the scores
// decide which moves are excluded and the weeded book is written as text. The last line, on
// standard output: positions, searched now, moves, excluded, unjudged, seconds.
#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/file_names.h"
#include "board/movegen.h"
#include "board/position.h"
#include "search/root.h"
#include "tools/common/book_tree.h"
#include "tools/common/book_weeding.h"
#include "tools/common/epd.h"
#include "tools/common/quiet_positions.h"
#include "tools/common/signature.h"
#include "tools/common/text.h"

namespace {

constexpr int64_t DefaultNodes = 400000;
constexpr int64_t InnerPositionShare = 8;
constexpr int MatedScore = -32000;

using Clock = std::chrono::steady_clock;

struct Options {
    int64_t nodes = DefaultNodes;
    int part = 1, parts = 1;
    std::string scores, output;
    std::vector<std::string> books;
    WeedingRules rules;
};

int Usage(std::FILE* stream = stderr) {
    std::fprintf(stream,
                 "usage: weed_book [options] --scores SCORES.epd [--output BOOK.book] BOOK...\n"
                 "       --nodes N      of each search, default %" PRId64
                 "\n"
                 "       --part I/N     search only every N-th position, from the I-th\n"
                 "       --worst CP     moves that lead to less are excluded, default %d\n",
                 DefaultNodes, WeedingRules{}.worst);
    return 2;
}

bool ReadOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word.rfind("--", 0) != 0) {
            options.books.push_back(word);
            continue;
        }
        if (++i == argc) return false;
        const std::string value = argv[i];
        if (word == "--scores") {
            options.scores = value;
        } else if (word == "--output") {
            options.output = value;
        } else if (word == "--nodes") {
            if (!ParseNumber(value, 1, INT64_MAX, options.nodes)) return false;
        } else if (word == "--worst") {
            if (!ParseNumber(value, -1000, 0, options.rules.worst)) return false;
        } else if (word == "--part") {
            const std::vector<std::string> numbers = Split(value, '/');
            if (numbers.size() != 2 || !ParseNumber(numbers[1], 1, 1000, options.parts)
                || !ParseNumber(numbers[0], 1, options.parts, options.part))
                return false;
        } else {
            return false;
        }
    }
    // Nobody wants scores at the end of a collection of games, or a book in place of one.
    return !options.books.empty() && EndsWith(options.scores, ".epd")
        && (options.output.empty() || EndsWith(options.output, ".book"));
}

// The scores that an earlier run left. Sets up positions on the board. Returns whether the file
// ends in half a line, left by a run that was killed; a line counts only up to its ";".
bool ReadScores(const std::string& path, PositionScores& scores) {
    std::string text, line;
    if (!ReadWholeFile(path, text)) return false;
    const bool half = !text.empty() && text.back() != '\n';
    text.resize(text.rfind('\n') + 1);  // npos + 1 is 0: half a line alone is nothing
    for (size_t at = 0; NextLine(text, at, line);) {
        EpdRecord record;
        int score;
        if (line.empty() || line.back() != ';' || !ParseEpd(line, record)) continue;
        const std::vector<std::string>* const ce = record.Find("ce");
        if (ce == nullptr || ce->size() < 2 || !ParseNumber((*ce)[1], -32767, 32767, score)) continue;
        SetFen(record.fen.c_str());
        if (IsPlayable()) scores[BookNodeKey()] = score;
    }
    return half;
}

int SearchScore(int64_t nodes) {
    if (GenerateLegalMoves(0) == 0) return InCheck(SideToMove()) ? MatedScore : 0;
    ClearSearch();
    return SearchNodes(nodes).score;
}

// Searches the positions that have no score in the file yet. False when the disk refuses.
bool SearchAll(const Options& options, const std::vector<BookPosition>& positions, PositionScores& scores,
               int64_t& searched) {
    const bool half_line = ReadScores(options.scores, scores);
    std::FILE* const file = OpenFile(PathOf(options.scores), "ab");
    if (file == nullptr) return false;
    const auto start = Clock::now();
    bool good = !half_line || std::fputc('\n', file) != EOF;
    int64_t passed = 0;
    for (size_t i = size_t(options.part - 1); good && i < positions.size(); i += size_t(options.parts)) {
        ++passed;
        if (scores.count(positions[i].key)) continue;
        SetFen(positions[i].fen.c_str());
        const std::string fields = TakePosition(0).fen;
        const int64_t nodes = positions[i].line_end ? options.nodes : options.nodes / InnerPositionShare;
        const int score = SearchScore(std::max(nodes, int64_t(1)));
        scores[positions[i].key] = score;
        good = std::fprintf(file, "%s ce %d;\n", fields.c_str(), score) > 0 && std::fflush(file) == 0;
        if (++searched % 100 == 0)
            std::fprintf(stderr, "%" PRId64 " of %zu positions, %.1f a minute\n", passed,
                         (positions.size() + size_t(options.parts) - 1) / size_t(options.parts),
                         double(searched) * 60 / std::chrono::duration<double>(Clock::now() - start).count());
    }
    return std::fclose(file) == 0 && good;
}

}  // namespace

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return Usage(stdout), 0;
    Options options;
    if (!ReadOptions(argc, argv, options)) return Usage();
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    const auto start = Clock::now();
    BookBuilder builder;
    builder.report = [](const std::string& fault) { std::fprintf(stderr, "%s\n", fault.c_str()); };
    for (const std::string& book : options.books) {
        std::string error;
        if (AddBookSource(book, builder, error)) continue;
        std::fprintf(stderr, "%s\n", error.c_str());
        return 2;
    }
    if (!options.output.empty() && !CanReplaceFile(options.output)) {
        std::fprintf(stderr, "%s: cannot be written\n", options.output.c_str());
        return 1;
    }
    const BookNodes nodes = FinishBook(builder);
    const std::vector<BookPosition> positions = FindPositions(nodes);
    PositionScores scores;
    int64_t searched = 0;
    if (!SearchAll(options, positions, scores, searched)) {
        std::fprintf(stderr, "%s: cannot be written\n", options.scores.c_str());
        return 1;
    }
    WeedingCounts counts;
    const BookNodes weeded = WeedBook(nodes, scores, options.rules, counts);
    if (!options.output.empty() && !ReplaceFile(options.output, WriteBookText(weeded))) {
        std::fprintf(stderr, "%s: cannot be written\n", options.output.c_str());
        return 1;
    }
    std::printf("%zu positions, %" PRId64 " searched, %" PRId64 " moves, %" PRId64 " excluded, %" PRId64
                " unjudged, %.1f seconds\n",
                positions.size(), searched, counts.moves, counts.excluded, counts.unjudged,
                std::chrono::duration<double>(Clock::now() - start).count());
    return 0;
}
