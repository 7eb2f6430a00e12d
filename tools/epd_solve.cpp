// epd_solve.cpp - runs test positions with known answers.
//
//   epd_solve [--movetime MS | --depth N | --nodes N] FILE...
//
// Each line of a file is an EPD record: four FEN fields, then operations. "bm" names the best
// moves in SAN, any of which solves the position; "dm N" says that the side to move mates in N
// moves, or for a negative N that it is mated in -N, and the score must say the same. With both
// the shortest mate solves whatever its first move. Records without either are searched and
// counted as unrated. Exit status 0 when every rated position is solved.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "board/movegen.h"
#include "board/notation.h"
#include "board/position.h"
#include "search/limits.h"
#include "search/root.h"
#include "search/search_state.h"
#include "search/time_control.h"
#include "tools/common/signature.h"

namespace {

struct Record {
    std::string fen, id;
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

std::vector<std::string> Words(const std::string& text) {
    std::vector<std::string> words;
    size_t at = 0;
    while ((at = text.find_first_not_of(" \t\r", at)) != std::string::npos) {
        const size_t end = std::min(text.find_first_of(" \t\r", at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end;
    }
    return words;
}

// Takes the four fields and the operations apart. A quoted operand may hold a semicolon.
bool ParseRecord(const std::string& line, Record& record) {
    const std::vector<std::string> words = Words(line);
    if (words.size() < 4) return false;
    for (int i = 0; i < 4; ++i) record.fen += words[i] + " ";
    record.fen += "0 1";

    size_t at = 0;
    for (int field = 0; field < 4; ++field) {
        at = line.find_first_not_of(" \t", at);
        at = std::min(line.find_first_of(" \t", at), line.size());
    }
    while (at < line.size()) {
        bool quoted = false;
        size_t end = at;
        while (end < line.size() && (quoted || line[end] != ';')) quoted ^= line[end++] == '"';
        const std::vector<std::string> operation = Words(line.substr(at, end - at));
        at = end + 1;
        if (operation.size() < 2) continue;
        if (operation[0] == "bm") {
            for (size_t i = 1; i < operation.size(); ++i) record.best_moves.push_back(Bare(operation[i]));
        } else if (operation[0] == "dm") {
            record.has_mate = true;
            record.mate = std::atoi(operation[1].c_str());
        } else if (operation[0] == "id") {
            for (const char c : operation[1])
                if (c != '"') record.id += c;
        }
    }
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
            std::fprintf(stderr, "%s: %s is not a legal move\n", record.id.c_str(), best.c_str());
            return false;
        }
    }
    return true;
}

void Solve(const Record& record, const SearchLimits& limits, Totals& totals) {
    ClearSearch();
    ResetSearchMemory();
    SetFen(record.fen.c_str());
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
        solved = mate == record.mate;
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

int Usage() {
    std::fprintf(stderr, "usage: epd_solve [--movetime MS | --depth N | --nodes N] FILE...\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    SearchLimits limits = search_limits;
    limits.MoveTime = 100;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word.rfind("--", 0) != 0) {
            files.push_back(word);
            continue;
        }
        const long long value = i + 1 < argc ? std::atoll(argv[++i]) : 0;
        if (value <= 0) return Usage();
        limits = search_limits;
        if (word == "--movetime") limits.MoveTime = int(std::max(1LL, value / 10));
        else if (word == "--depth") limits.MaxDepth = int(value);
        else if (word == "--nodes") limits.MaxNodes = value;
        else return Usage();
    }
    if (files.empty()) return Usage();

    Totals totals;
    for (const std::string& file : files) {
        std::ifstream in(file);
        if (!in) {
            std::fprintf(stderr, "%s: cannot be read\n", file.c_str());
            return 2;
        }
        for (std::string line; std::getline(in, line);) {
            Record record;
            if (ParseRecord(line, record)) Solve(record, limits, totals);
        }
    }
    std::printf("%d of %d solved", totals.solved, totals.rated);
    if (totals.unrated > 0) std::printf(", %d unrated", totals.unrated);
    std::printf(", %.2f s, %" PRId64 " nodes\n", double(totals.centiseconds) / 100, totals.nodes);
    return totals.solved == totals.rated ? 0 : 1;
}
