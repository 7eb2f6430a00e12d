// epd_solve.cpp - runs test positions with known answers.
//
//   epd_solve [--movetime MS | --depth N | --nodes N] [--hash MB] [--winner] FILE...
//
// Each line of a file is an EPD record: four FEN fields, then operations; empty lines and lines
// that begin with # are passed over. "bm" names the best moves in SAN, any of which solves the
// position; "dm N" says that the side to move mates in N moves, or for a negative N that it is
// mated in -N, and the score must say the same. With --winner it is enough that the score calls
// the same side the winner, by three pawns or more. With both operations the score solves
// whatever the first move. Records without either are searched and
// counted as unrated; what is no record counts as not solved. Exit status 0 when every rated
// position is solved, 1 when one is not or there are no positions, 2 when a file cannot be read.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "board/movegen.h"
#include "board/notation.h"
#include "board/position.h"
#include "board/settings.h"
#include "search/limits.h"
#include "search/root.h"
#include "search/search_state.h"
#include "search/time_control.h"
#include "search/transposition.h"
#include "tools/common/epd.h"
#include "tools/common/signature.h"
#include "tools/common/text.h"

namespace {

constexpr int DefaultMilliseconds = 1000;
constexpr int LargestHash = 1024;  // megabytes
constexpr int LongestMate = 500;   // moves
constexpr int WinningScore = 300;  // centipawns

bool winner_suffices = false;

struct Record {
    std::string fen, id;
    std::string place;  // file:line, for messages
    std::vector<std::string> best_moves;
    bool has_mate = false;
    int mate = 0;
};

struct Totals {
    int rated = 0, solved = 0, unrated = 0;
    int64_t nodes = 0, centiseconds = 0;
};

// A SAN move without the marks that say what it does rather than which move it is.
std::string Bare(const std::string& san) {
    std::string bare;
    for (const char c : san)
        if (std::strchr("+#!?", c) == nullptr) bare += c;
    return bare;
}

bool ParseRecord(const std::string& line, Record& record) {
    EpdRecord epd;
    if (!ParseEpd(line, epd)) return false;
    record.fen = epd.fen + " 0 1";
    if (const auto* moves = epd.Find("bm"))
        for (size_t i = 1; i < moves->size(); ++i) record.best_moves.push_back(Bare((*moves)[i]));
    if (const auto* mate = epd.Find("dm")) {
        record.has_mate = true;
        if (!ParseNumber((*mate)[1], -LongestMate, LongestMate, record.mate)) return false;
    }
    if (const auto* id = epd.Find("id")) record.id = (*id)[1];
    return true;
}

// Moves to mate that a score stands for: positive when the side to move mates, 0 for no mate.
int MateDistance(int score) {
    if (score > MateBound) return (MATE - score + 1) / 2;
    if (score < -MateBound) return -(MATE + score + 1) / 2;
    return 0;
}

// False, after a message, when the record is not what it claims to be: a best move that is no
// legal move says that the file, not the engine, is wrong.
bool BestMovesAreLegal(const Record& record) {
    const int count = GenerateLegalMoves(ScratchMoves);
    std::vector<std::string> legal;
    std::vector<Move> moves;
    for (int i = 0; i < count; ++i) moves.push_back(move_stack[ScratchMoves + i].move);
    for (const Move move : moves) legal.push_back(Bare(MoveToSan(move)));
    for (const std::string& best : record.best_moves) {
        bool found = false;
        for (const std::string& san : legal) found |= san == best;
        if (!found) {
            std::fprintf(stderr, "%s: %s is not a legal move\n", record.place.c_str(), best.c_str());
            return false;
        }
    }
    return true;
}

void Solve(const Record& record, const SearchLimits& limits, Totals& totals) {
    ClearSearch();
    ResetSearchMemory();
    SetFen(record.fen.c_str());
    if (!IsPlayable()) std::fprintf(stderr, "%s: the position cannot be played\n", record.place.c_str());
    if (!IsPlayable() || !BestMovesAreLegal(record)) {
        std::printf("BAD     %-16s %s\n", record.id.c_str(), record.fen.c_str());
        ++totals.rated;
        return;
    }
    search_limits = limits;
    output_suppressed = true;
    const int64_t start = NowCentiseconds();
    const SearchResult result = think(false);
    const int64_t elapsed = NowCentiseconds() - start;
    output_suppressed = false;

    const std::string san = result.best != 0 ? MoveToSan(result.best) : "none";
    bool solved = false;
    for (const std::string& best : record.best_moves) solved |= best == Bare(san);
    std::string remark;
    if (record.has_mate) {
        const int mate = MateDistance(result.score);
        const int winners_score = record.mate > 0 ? result.score : -result.score;
        solved = winner_suffices ? winners_score >= WinningScore : mate == record.mate;
        remark = "  mate " + std::to_string(mate) + " of " + std::to_string(record.mate);
    }
    const bool rated = record.has_mate || !record.best_moves.empty();
    if (rated) ++totals.rated;
    else ++totals.unrated;
    totals.solved += rated && solved;
    totals.nodes += nodes_searched;
    totals.centiseconds += elapsed;
    std::printf("%s %-16s %-8s score %6d depth %2d time %6.2f nodes %10" PRId64 "%s\n",
                !rated       ? "-      "
                    : solved ? "solved "
                             : "MISSED ",
                record.id.c_str(), san.c_str(), result.score, result.depth, double(elapsed) / 100, nodes_searched,
                remark.c_str());
    std::fflush(stdout);
}

int Usage(std::FILE* stream = stderr) {
    std::fprintf(stream,
                 "usage: epd_solve [--movetime MS | --depth N | --nodes N] [--hash MB] [--winner] FILE...\n"
                 "       one limit a position, default --movetime %d; depth 1..90; hash 1..%d\n"
                 "       --winner: for a mate the right side ahead by three pawns is enough\n",
                 DefaultMilliseconds, LargestHash);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return Usage(stdout), 0;
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    SearchLimits limits = search_limits;
    limits.MoveTime = DefaultMilliseconds / 10;  // centiseconds
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word.rfind("--", 0) != 0) {
            files.push_back(word);
            continue;
        }
        if (word == "--winner") {
            winner_suffices = true;
            continue;
        }
        if (++i == argc) return Usage();
        const std::string value = argv[i];
        if (word == "--hash") {
            int megabytes = 0;
            if (!ParseNumber(value, 1, LargestHash, megabytes)) return Usage();
            if (AllocateTable(uint32_t(megabytes) * 1048576u / TranspositionEntryBytes)) continue;
            std::fprintf(stderr, "out of memory\n");
            return 1;
        }
        limits = search_limits;
        int milliseconds = 0;
        bool good = false;
        if (word == "--movetime") {
            good = ParseNumber(value, 1, INT_MAX, milliseconds);
            limits.MoveTime = std::max(1, milliseconds / 10);
        } else if (word == "--depth") {
            good = ParseNumber(value, 1, 90, limits.MaxDepth);
        } else if (word == "--nodes") {
            good = ParseNumber(value, 1, INT64_MAX, limits.MaxNodes);
        }
        if (!good) return Usage();
    }
    if (files.empty()) return Usage();

    Totals totals;
    for (const std::string& file : files) {
        std::string text, line;
        if (!ReadWholeFile(file, text)) {
            std::fprintf(stderr, "%s: cannot be read\n", file.c_str());
            return 2;
        }
        size_t at = 0;
        for (int number = 1; NextLine(text, at, line); ++number) {
            if (line.find_first_not_of(" \t") == std::string::npos || line[0] == '#') continue;
            Record record;
            record.place = file + ":" + std::to_string(number);
            if (ParseRecord(line, record)) {
                Solve(record, limits, totals);
            } else {
                std::fprintf(stderr, "%s: no EPD record\n", record.place.c_str());
                ++totals.rated;
            }
        }
    }
    if (totals.rated + totals.unrated == 0) {
        std::fprintf(stderr, "no positions\n");
        return 1;
    }
    std::printf("%d of %d solved", totals.solved, totals.rated);
    if (totals.unrated > 0) std::printf(", %d unrated", totals.unrated);
    std::printf(", %.2f s, %" PRId64 " nodes\n", double(totals.centiseconds) / 100, totals.nodes);
    return totals.solved == totals.rated ? 0 : 1;
}
