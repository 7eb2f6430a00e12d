// selfplay_positions.cpp - the engine plays itself and writes the quiet positions of its games.
//
//   selfplay_positions --games N [--nodes N] [--seed N] [--openings FILE.tsv|FILE.pgn]
//                      [--random-plies N] --output FILE
//
// Every move gets the same number of nodes (default 6000). A game begins with a line of the
// openings file, cut after 4 to 12 plies, followed by random legal moves: 2 of them after such
// a line, 8 without an openings file, or as many as --random-plies says. They keep two games
// from one line apart, since the engine itself plays the same game twice. A beginning that
// favours one side too much, or that was played before, is drawn again; after 200 of them in a row
// the program ends with a message and exit status 1, the games played so far being in the file.
//
// The last column of a .tsv file holds moves in SAN.
//
// Each game starts from empty tables, so a seed gives the same games everywhere. Without --seed
// every run draws others; the seed is printed. The weights are the built-in ones. The output file is
// appended to, and its positions are not written twice (quiet_positions.h). Progress goes to
// standard error every 100 games. Interrupted, the program ends after the current game. The last
// line, on standard output: games, positions, seconds.
#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

#include "board/attacks.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/position.h"
#include "board/repetition.h"
#include "search/search_state.h"
#include "tools/common/game_reader.h"
#include "tools/common/quiet_positions.h"
#include "tools/common/random.h"
#include "tools/common/text.h"

namespace {

constexpr int DefaultNodes = 6000;
constexpr int RandomPliesAlone = 8, RandomPliesAfterOpening = 2;
constexpr int ShortestOpening = 4, LongestOpening = 12;  // plies
constexpr int BeginningImbalance = 200;                  // centipawns of material that spoil a beginning
constexpr int BeginningScore = 250;                      // and of search score
constexpr int MostRefusals = 200;                        // of beginnings in a row

// When a game is decided without being played out: scores in centipawns, counts in plies.
constexpr int WonScore = 900, WonPlies = 6;
constexpr int DrawnScore = 10, DrawnPlies = 12, DrawnFromPly = 80;
constexpr int LongestGame = 250;

struct Options {
    int64_t games = 0, nodes = DefaultNodes;
    uint64_t seed = 0;
    bool has_seed = false;
    int random_plies = -1;
    std::string openings, output;
};

enum Result { Unfinished = -1, Draw, WhiteWins, BlackWins };
constexpr const char* ResultText[3] = {"1/2-1/2", "1-0", "0-1"};

volatile std::sig_atomic_t interrupted = 0;
void Interrupt(int) { interrupted = 1; }

// The movetext column of a line per line, with an empty result to end each.
std::string TableToGames(const std::string& table) {
    std::string games, row;
    for (size_t at = 0; NextLine(table, at, row);) games += row.substr(row.rfind('\t') + 1) + " *\n";
    return games;
}

// False, after a message, when the file gives no line at all.
bool ReadOpenings(const std::string& path, std::vector<ReadGame>& openings) {
    std::string text;
    if (!ReadWholeFile(path, text)) {
        std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
        return false;
    }
    const bool is_table = EndsWith(path, ".tsv");
    if (is_table) text = TableToGames(text);
    GameReader reader(text);
    for (ReadGame game; reader.Next(game);) {
        const bool heading = is_table && game.line == 1;
        if (game.error.empty() && !game.moves.empty()) openings.push_back(game);
        else if (!heading)
            std::fprintf(stderr, "%s:%d: %s\n", path.c_str(), game.line,
                         game.error.empty() ? "no moves" : game.error.c_str());
    }
    if (openings.empty()) std::fprintf(stderr, "%s: no openings\n", path.c_str());
    return !openings.empty();
}

// Sets a beginning up. False when it ends the game or gives material away.
bool DrawBeginning(SplitMix& random, const std::vector<ReadGame>& openings, int random_plies) {
    if (openings.empty()) {
        SetInitialPosition();
    } else {
        const ReadGame& opening = openings[size_t(random.Below(int(openings.size())))];
        PlayGame(opening, size_t(ShortestOpening + random.Below(LongestOpening - ShortestOpening + 1)));
    }
    for (int ply = 0; ply < random_plies; ++ply) {
        const int count = GenerateLegalMoves(ScratchMoves);
        if (count == 0) return false;
        MakeMove(move_stack[ScratchMoves + random.Below(count)].move);
    }
    return GenerateLegalMoves(ScratchMoves) > 0
        && std::abs(thread_board.Material[WHITE] - thread_board.Material[BLACK]) < BeginningImbalance;
}

// The result by the rules of the game, or Unfinished.
Result ResultByRule() {
    if (GenerateLegalMoves(ScratchMoves) == 0) {
        if (!InCheck(SideToMove())) return Draw;
        return SideToMove() == WHITE ? BlackWins : WhiteWins;
    }
    if (thread_board.fifty >= 100 || IsInsufficientMaterial() || CountRepetitions() >= 2) return Draw;
    return Unfinished;
}

// How long the scores have been saying the same, for ending a game early.
struct Adjudicator {
    int won_plies = 0, drawn_plies = 0;
    bool white_ahead = false;

    // `score` is White's view.
    Result Judge(int score, int ply) {
        const bool won = std::abs(score) > WonScore;
        won_plies = !won ? 0 : (score > 0) == white_ahead ? won_plies + 1 : 1;
        white_ahead = score > 0;
        drawn_plies = ply > DrawnFromPly && std::abs(score) < DrawnScore ? drawn_plies + 1 : 0;
        if (won_plies >= WonPlies) return white_ahead ? WhiteWins : BlackWins;
        if (drawn_plies >= DrawnPlies || ply >= LongestGame) return Draw;
        return Unfinished;
    }
};

// Plays on from the beginning on the board and collects the quiet positions. Unfinished when
// the first search finds that the beginning favours one side too much.
Result PlayOut(int64_t nodes, std::vector<QuietPosition>& positions) {
    positions.clear();
    ClearSearch();
    ResetGameMemory();
    Adjudicator adjudicator;
    for (int own_plies = 0;; ++own_plies) {
        if (const Result result = ResultByRule(); result != Unfinished) return result;
        const SearchResult found = SearchNodes(nodes);
        if (own_plies == 0 && std::abs(found.score) > BeginningScore) return Unfinished;
        if (own_plies >= SettlingPlies && IsQuietPosition(found)) positions.push_back(TakePosition(found.score));
        const int white_score = SideToMove() == WHITE ? found.score : -found.score;
        const Result result = adjudicator.Judge(white_score, history_count - history_base);
        if (result != Unfinished) return result;
        MakeMove(found.best);
    }
}

bool ParseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string word = argv[i], value = argv[i + 1];
        bool good = true;
        if (word == "--games") good = ParseNumber(value, 1, INT64_MAX, options.games);
        else if (word == "--nodes") good = ParseNumber(value, 1, INT64_MAX, options.nodes);
        else if (word == "--random-plies") good = ParseNumber(value, 0, 100, options.random_plies);
        else if (word == "--openings") options.openings = value;
        else if (word == "--output") options.output = value;
        else if (word == "--seed") options.has_seed = good = ParseNumber(value, 0, UINT64_MAX, options.seed);
        else good = false;
        if (!good) return false;
    }
    return argc % 2 == 1 && options.games > 0 && !options.output.empty();
}

int Usage(std::FILE* stream = stderr) {
    std::fprintf(stream,
                 "usage: selfplay_positions --games N [--nodes N] [--seed N] [--openings FILE.tsv|FILE.pgn]\n"
                 "                          [--random-plies N] --output FILE\n"
                 "       --nodes a move, default %d; --random-plies 0..100, default %d, behind a line of\n"
                 "       --openings %d; --seed default another in every run; --openings default none\n",
                 DefaultNodes, RandomPliesAlone, RandomPliesAfterOpening);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return Usage(stdout), 0;
    Options options;
    if (!ParseOptions(argc, argv, options)) return Usage();
    if (!InitialisePositionTool()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    std::vector<ReadGame> openings;
    if (!options.openings.empty() && !ReadOpenings(options.openings, openings)) return 2;
    PositionWriter writer;
    if (!writer.Open(options.output)) return 2;
    if (options.random_plies < 0) options.random_plies = openings.empty() ? RandomPliesAlone : RandomPliesAfterOpening;
    if (!options.has_seed) options.seed = std::random_device{}();
    std::fprintf(stderr, "seed %" PRIu64 ", %zu openings\n", options.seed, openings.size());
    std::signal(SIGINT, Interrupt);
    std::signal(SIGTERM, Interrupt);

    SplitMix random{options.seed};
    std::unordered_set<uint64_t> beginnings;
    std::vector<QuietPosition> positions;
    int64_t results[3] = {0, 0, 0}, games = 0;
    const auto start = std::chrono::steady_clock::now();
    const auto seconds = [&] {
        return std::max(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 0.001);
    };
    const auto report = [&] {
        std::fprintf(stderr,
                     "%" PRId64 " games (%.2f/s), %" PRId64 " positions (%.1f/s), +%" PRId64 " =%" PRId64 " -%" PRId64
                     "\n",
                     games, double(games) / seconds(), writer.written, double(writer.written) / seconds(),
                     results[WhiteWins], results[Draw], results[BlackWins]);
    };
    int refused = 0;
    while (games < options.games && refused < MostRefusals && !interrupted) {
        ++refused;
        if (!DrawBeginning(random, openings, options.random_plies)) continue;
        if (!beginnings.insert(DuplicateKey()).second) continue;
        const Result result = PlayOut(options.nodes, positions);
        if (result == Unfinished) continue;
        refused = 0;
        ++results[result];
        TakeSpread(int(positions.size()), [&](int i) { return writer.Add(positions[size_t(i)], ResultText[result]); });
        if (!writer.WriteGame()) return 1;
        if (++games % GamesPerReport == 0) report();
    }
    if (games % GamesPerReport != 0) report();
    if (refused == MostRefusals)
        std::fprintf(stderr, "%d beginnings in a row give material away, favour one side or were played before\n",
                     MostRefusals);
    std::printf("%" PRId64 " games, %" PRId64 " positions, %.1f seconds\n", games, writer.written, seconds());
    return refused == MostRefusals ? 1 : 0;
}
