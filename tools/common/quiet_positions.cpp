// quiet_positions.cpp - see quiet_positions.h.
#include "tools/common/quiet_positions.h"

#include <cinttypes>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "board/attacks.h"
#include "board/file_names.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/ordering_data.h"
#include "board/position.h"
#include "eval/evaluate.h"
#include "search/limits.h"
#include "search/search.h"
#include "search/search_state.h"
#include "search/transposition.h"
#include "tools/common/epd.h"
#include "tools/common/game_reader.h"
#include "tools/common/signature.h"
#include "tools/common/text.h"

namespace {

// Entries. They stay in the processor's cache, and a game at a few thousand nodes a move does
// not need more.
constexpr uint32_t TableSize = 65536, PawnTableSize = 16384, EvalTableSize = 32768;

constexpr int OpenWindow = 32701;
constexpr uint64_t BlackToMoveKey = 0x9E3779B97F4A7C15ULL;

std::string FourFields(const std::string& fen) {
    size_t end = 0;
    for (int field = 0; field < 4 && end != std::string::npos; ++field) end = fen.find(' ', end + (field > 0));
    return fen.substr(0, end);
}

// Openings of matches are about this long, and the players take a few moves to get used to them.
constexpr int UnplayedPlies = 8;

// What the termination tag says, in part, of games whose result the position did not decide.
constexpr const char* OutsideReasons[] = {"time forfeit", "abandoned", "illegal", "infraction", "unterminated",
                                          "stall",        "crash",     "death",   "emergency",  "disconnect"};

bool IsDecidedByPlay(const ReadGame& game) {
    if (game.result == "*") return false;
    for (const char* reason : OutsideReasons)
        if (game.termination.find(reason) != std::string::npos) return false;
    return true;
}

// The plies of a game before which the position is calm.
std::vector<int> CalmPlies(const ReadGame& game) {
    std::vector<int> plies;
    const int unplayed = game.fen == StartFen ? UnplayedPlies : 0;
    PlayGame(game, 0);
    for (int ply = 0; ply < int(game.moves.size()); ++ply) {
        if (ply >= unplayed + SettlingPlies && IsCalm()) plies.push_back(ply);
        MakeMove(game.moves[size_t(ply)]);
    }
    return plies;
}

}  // namespace

bool InitialisePositionTool() {
    return InitialiseEngine() && AllocateTable(TableSize) && AllocatePawnHash(PawnTableSize)
        && AllocateEvalCache(EvalTableSize);
}

SearchResult SearchNodes(int64_t nodes) {
    ResetLimits();
    search_limits.MaxNodes = nodes;
    output_suppressed = true;
    const SearchResult result = think(false);
    output_suppressed = false;
    ResetLimits();
    return result;
}

bool IsCalm() {
    if (InCheck(SideToMove())) return false;
    // What think() sets up for its root. A search that ran into its node limit leaves the
    // stop flag set, under which every procedure returns 0.
    stop_flag = false;
    current_ply = 0;
    move_count = 0;
    iteration_depth = 0;
    poll_countdown = INT_MAX;
    root_side = SideToMove();
    root_history_count = history_count;
    SetEvaluationRoot(root_side);
    band_low = LazyWindow[0] = -32767;
    band_high = LazyWindow[1] = 32767;
    ply_records[0].in_check = false;
    return quiesce(-OpenWindow, OpenWindow, 0, PvNode) == Evaluate();
}

bool IsQuietPosition(const SearchResult& found) {
    return found.best != 0 && IsQuiet(found.best) && std::abs(found.score) < QuietScoreLimit && IsCalm();
}

bool IsInsufficientMaterial() {
    const Position& p = thread_board;
    const int minors = p.MinorCount[WHITE] + p.MinorCount[BLACK];
    return minors <= 1 && p.piece_total == 2 + minors;
}

uint64_t DuplicateKey() { return PositionKey() ^ (SideToMove() == BLACK ? BlackToMoveKey : 0); }

QuietPosition TakePosition(int score) { return {FourFields(WriteFen()), DuplicateKey(), score}; }

std::string PositionLine(const QuietPosition& position, const std::string& result) {
    return position.fen + " ce " + std::to_string(position.score) + "; c0 \"" + result + "\";\n";
}

bool PositionWriter::Open(const std::string& file_path) {
    Close();
    path = file_path;
    keys.clear();
    written = 0;
    const auto refuse = [&](const char* why) {
        std::fprintf(stderr, "%s: %s\n", path.c_str(), why);
        return false;
    };
    if (EndsWith(path, ".gz")) return refuse("plain text cannot be appended to a compressed file");
    std::error_code error;
    if (std::filesystem::exists(PathOf(path), error)) {
        std::string text, line;
        if (!ReadWholeFile(path, text)) return refuse("cannot be read");
        const size_t whole = text.rfind('\n') + 1;  // bytes of complete lines
        const size_t size = text.size();
        text.resize(whole);
        if (whole < size && whole == 0) return refuse("exists and is no file of positions");
        for (size_t at = 0; NextLine(text, at, line);) {
            EpdRecord record;
            const bool position = ParseEpd(line, record);
            SetFen(record.fen.c_str());
            // Whatever else the name belongs to must not be cut or added to.
            if (keys.empty() && (!position || !record.Find("c0") || !IsPlayable()))
                return refuse("exists and is no file of positions");
            keys.insert(DuplicateKey());
        }
        if (whole < size) std::filesystem::resize_file(PathOf(path), whole, error);
    }
    file = error ? nullptr : OpenFile(PathOf(path), "ab");
    return file != nullptr || refuse("cannot be written");
}

bool PositionWriter::Add(const QuietPosition& position, const std::string& result) {
    if (!keys.insert(position.key).second) return false;
    pending += PositionLine(position, result);
    ++pending_lines;
    return true;
}

bool PositionWriter::WriteGame() {
    const bool done = std::fwrite(pending.data(), 1, pending.size(), file) == pending.size() && std::fflush(file) == 0;
    if (done) written += pending_lines;
    else std::fprintf(stderr, "%s: writing failed\n", path.c_str());
    pending.clear();
    pending_lines = 0;
    return done;
}

void PositionWriter::Close() {
    if (file != nullptr) std::fclose(file);
    file = nullptr;
    pending.clear();
    pending_lines = 0;
}

bool WriteGamePositions(const std::string& text, const std::string& name, int64_t nodes, PositionWriter& writer,
                        GameCounts& counts) {
    GameReader reader(text);
    for (ReadGame game; reader.Next(game);) {
        if (!game.error.empty()) {
            std::fprintf(stderr, "%s:%d: %s\n", name.c_str(), game.error_line, game.error.c_str());
            ++counts.bad;
            continue;
        }
        if (!IsDecidedByPlay(game)) {
            ++counts.undecided;
            continue;
        }
        ++counts.good;
        ClearSearch();
        const std::vector<int> plies = CalmPlies(game);
        TakeSpread(int(plies.size()), [&](int i) {
            PlayGame(game, size_t(plies[size_t(i)]));
            if (writer.Has(DuplicateKey())) return false;
            const SearchResult found = SearchNodes(nodes);
            return IsQuietPosition(found) && writer.Add(TakePosition(found.score), game.result);
        });
        if (!writer.WriteGame()) return false;
        if (counts.good % GamesPerReport == 0)
            std::fprintf(stderr, "%" PRId64 " games, %" PRId64 " positions\n", counts.good, writer.written);
    }
    return true;
}
