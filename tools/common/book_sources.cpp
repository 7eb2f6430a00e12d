// book_sources.cpp - games and lines of moves into a book; see book_tree.h.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unordered_set>

#include "board/file_names.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/position.h"
#include "tools/common/book_tree.h"
#include "tools/common/game_reader.h"
#include "tools/common/text.h"

namespace {

// Where the last game of a text begins, 0 when it cannot be told from the one before.
size_t LastGameStart(const std::string& text) {
    for (const std::string& start : {std::string("\n") + GameStart, std::string("\n\n["), std::string("\n\r\n[")}) {
        size_t at = text.rfind(start);
        if (at == std::string::npos) continue;
        at += start.find('[');
        // Event need not be the first tag.
        while (at > 0) {
            const size_t line_before = at < 2 ? 0 : text.rfind('\n', at - 2) + 1;
            if (text[line_before] != '[') break;
            at = line_before;
        }
        if (at > 0) return at;
    }
    return 0;
}

size_t LastLineStart(const std::string& text) { return text.rfind('\n') + 1; }

// Some editors put one before the first character.
void RemoveByteOrderMark(std::string& text) {
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);
}

// A file in pieces of some bytes that end where `border` finds a place to cut; a piece without one
// grows until there is.
class PieceReader {
public:
    PieceReader(const std::string& path, size_t piece_bytes, size_t (*border)(const std::string&))
        : file(OpenFile(PathOf(path), "rb")), piece_bytes(piece_bytes), border(border) {}
    ~PieceReader() {
        if (file != nullptr) std::fclose(file);
    }
    PieceReader(const PieceReader&) = delete;
    PieceReader& operator=(const PieceReader&) = delete;

    bool Failed() const { return file == nullptr || std::ferror(file); }
    // The next piece and the number of its first line.
    bool Next(std::string& piece, int& first_line) {
        if (Failed()) return false;
        const bool first = line == 1 && rest.empty();
        piece.swap(rest);
        rest.clear();
        for (size_t cut = 0; cut == 0;) {
            const size_t length = piece.size();
            piece.resize(length + piece_bytes);
            const size_t got = std::fread(&piece[length], 1, piece_bytes, file);
            piece.resize(length + got);
            if (got < piece_bytes) break;  // the end of the file
            cut = border(piece);
            if (cut == 0) continue;
            rest = piece.substr(cut);
            piece.resize(cut);
        }
        if (first) RemoveByteOrderMark(piece);
        first_line = line;
        line += int(std::count(piece.begin(), piece.end(), '\n'));
        return !piece.empty() && !Failed();
    }

private:
    std::FILE* file;
    size_t piece_bytes;
    size_t (*border)(const std::string&);
    std::string rest;
    int line = 1;
};

// Lines of moves tell nothing of players: only games of PGN are asked.
bool IsWithinLimits(const ReadGame& game, const BookLimits& limits) {
    const auto is_player = [&](const std::string& name) {
        return LowerCase(name).rfind(LowerCase(limits.player), 0) == 0;
    };
    if (!is_player(game.white) && !is_player(game.black)) return false;
    if (limits.min_rating == 0) return true;
    for (const std::string& rating : {game.white_elo, game.black_elo}) {
        int number = 0;
        if (!ParseNumber(rating, 0, 10000, number) || number < limits.min_rating) return false;
    }
    return true;
}

// The game's moves get its points, each once: a game that comes back to a position counts there
// once only.
void CountGame(const ReadGame& game, BookBuilder& builder) {
    std::vector<uint64_t> keys;
    PlayGame(game, 0);
    for (size_t ply = 0; ply < game.moves.size() && ply < size_t(builder.limits.plies); ++ply) {
        const Move move = game.moves[ply];
        if (!FitsIntoBook(move)) return;
        const uint64_t key = BookNodeKey();
        bool repeated = false;
        for (int back = 4; back <= thread_board.fifty && size_t(back) <= ply; back += 2)
            repeated |= keys[ply - size_t(back)] == key && game.moves[ply - size_t(back)] == move;
        keys.push_back(key);
        if (!repeated) {
            BookMove& entry = BookMoveOf(builder.games[key], MoveFrom(move), MoveTo(move));
            const bool white = SideToMove() == WHITE;
            if (game.result == "1-0") (white ? entry.ours : entry.theirs) += 2;
            else if (game.result == "0-1") (white ? entry.theirs : entry.ours) += 2;
            else if (game.result == "*") ++entry.undecided;
            else ++entry.ours, ++entry.theirs;
        }
        MakeMove(move);
    }
}

void TakeGame(const ReadGame& game, bool within_limits, const std::string& name, BookBuilder& builder) {
    if (!game.error.empty()) {
        builder.report(name + ":" + std::to_string(game.error_line) + ": " + game.error);
        ++builder.counts.refused;
    } else if (game.moves.empty()) {
        return;
    } else if (!within_limits) {
        ++builder.counts.left_out;
    } else {
        CountGame(game, builder);
        ++builder.counts.games;
    }
    builder.progress(builder.counts);
}

bool AddGames(const std::string& path, BookBuilder& builder) {
    PieceReader pieces(path, builder.piece_bytes, LastGameStart);
    std::string piece;
    int first_line;
    while (pieces.Next(piece, first_line)) {
        GameReader reader(piece, first_line);
        for (ReadGame game; reader.Next(game);) TakeGame(game, IsWithinLimits(game, builder.limits), path, builder);
    }
    return !pieces.Failed();
}

// A line that holds one game without tags.
void AddLine(const std::string& line, int line_number, const std::string& name, BookBuilder& builder) {
    GameReader reader(line, line_number);
    ReadGame game, more;
    if (!reader.Next(game)) return;
    const bool tags = line.rfind('[', 0) == 0;
    if (tags || (game.error.empty() && reader.Next(more))) {
        game.error = tags ? "a tag: games with tags belong into a file named .pgn" : "more than one game in a line";
        game.error_line = line_number;
    }
    TakeGame(game, true, name, builder);
}

bool AddLines(const std::string& path, bool table, BookBuilder& builder) {
    PieceReader pieces(path, builder.piece_bytes, LastLineStart);
    std::string piece, line;
    int line_number;
    while (pieces.Next(piece, line_number)) {
        for (size_t at = 0; NextLine(piece, at, line); ++line_number) {
            if (!table) {
                line.erase(0, line.find_first_not_of(" \t"));
                if (line.rfind('#', 0) != 0) AddLine(line, line_number, path, builder);
                continue;
            }
            if (line_number == 1 || line.empty()) continue;  // the names of the columns
            const std::vector<std::string> columns = Split(line, '\t');
            if (columns.size() >= 3) {
                AddLine(columns[2], line_number, path, builder);
            } else {
                builder.report(path + ":" + std::to_string(line_number) + ": less than three columns");
                ++builder.counts.refused;
            }
        }
    }
    return !pieces.Failed();
}

uint32_t Games(const BookMove& move) { return (move.ours + move.theirs) / 2 + move.undecided; }

// Gives a move that games played its points, and tells whether it is within the limits.
bool Settle(const BookLimits& limits, BookMove& move) {
    if (Games(move) < uint32_t(limits.min_games)) return false;
    const uint32_t total = move.ours + move.theirs;
    const double thought = double(total) + 2.0 * limits.even;
    const double score = thought == 0 ? 0.5 : (move.ours + double(limits.even)) / thought;
    move.ours = uint32_t(std::lround(score * total));
    move.theirs = total - move.ours;
    return score * 1000 >= limits.min_score;
}

bool IsPlayedMore(const BookMove& a, const BookMove& b) {
    return Games(a) != Games(b) ? Games(a) > Games(b) : a.ours > b.ours;
}

// A move that the limits remove may be the only way to positions whose moves stay: the opponent's
// weak move, which is to be answered and never to be played. It enters as an excluded one. A move
// to a position that other moves lead to stays away.
class WayKeeper {
public:
    WayKeeper(const BookNodes& removed, BookNodes& nodes) : removed(removed), nodes(nodes) {}

    void Keep() {
        SetInitialPosition();
        Walk();
        for (size_t i = 0; i < waiting.size(); ++i) {
            if (reached.count(waiting[i].key) != 0) continue;
            path = waiting[i].path;
            SetInitialPosition();
            for (size_t ply = 0; ply + 1 < path.size(); ++ply) MakeGameMove(path[ply]);
            const Move move = path.back();
            BookMoveOf(nodes[BookNodeKey()], MoveFrom(move), MoveTo(move)).excluded = true;
            MakeGameMove(move);
            Walk();
        }
    }

private:
    struct Way {
        std::vector<Move> path;  // from the start; the last is a removed move
        uint64_t key;            // of the position behind it
    };
    const BookNodes& removed;
    BookNodes& nodes;
    std::unordered_set<uint64_t> reached;
    std::vector<Move> path;  // to the position on the board
    std::vector<Way> waiting;

    static bool Has(const BookNodes& nodes, uint64_t key, Move move) {
        const auto node = nodes.find(key);
        return node != nodes.end()
            && std::any_of(node->second.begin(), node->second.end(), [move](const BookMove& entry) {
                   return entry.from == MoveFrom(move) && entry.to == MoveTo(move);
               });
    }

    // All that the book's moves lead to from here; removed moves wait until that is known.
    void Walk() {
        const uint64_t key = BookNodeKey();
        if (!reached.insert(key).second || (nodes.count(key) == 0 && removed.count(key) == 0)) return;
        std::vector<Move> moves;
        for (int i = 0, count = GenerateLegalMoves(0); i < count; ++i) moves.push_back(move_stack[i].move);
        for (const Move move : moves) {
            const bool kept = Has(nodes, key, move);
            if (!FitsIntoBook(move) || (!kept && !Has(removed, key, move)) || !MakeGameMove(move)) continue;
            path.push_back(move);
            if (kept) Walk();
            else if (nodes.count(BookNodeKey()) != 0) waiting.push_back({path, BookNodeKey()});
            path.pop_back();
            UnmakeMove();
        }
    }
};

}  // namespace

bool AddBookSource(const std::string& path, BookBuilder& builder, std::string& error) {
    error = path + ": cannot be read";
    const std::string name = LowerCase(path);
    if (EndsWith(name, ".pgn")) return AddGames(path, builder);
    if (EndsWith(name, ".txt")) return AddLines(path, false, builder);
    if (EndsWith(name, ".tsv")) return AddLines(path, true, builder);
    const bool is_text = EndsWith(name, ".book");
    if (!is_text && !EndsWith(name, ".cvt")) {
        error = path + ": its name must end in .pgn, .txt, .tsv, .book or .cvt";
        return false;
    }
    std::string text, why;
    if (!ReadWholeFile(path, text)) return false;
    if (is_text) {
        RemoveByteOrderMark(text);
        builder.counts.bad_lines += ReadBookText(text, path, builder.report, builder.books);
        return true;
    }
    BookNodes read;
    error = path + ": ";
    if (!ReadBookFile(text, read, why)) {
        error += why;
        return false;
    }
    MergeBook(read, builder.books);
    return true;
}

BookNodes FinishBook(BookBuilder& builder) {
    BookNodes nodes, removed;
    nodes.swap(builder.books);
    for (auto node = builder.games.begin(); node != builder.games.end();) {
        std::vector<BookMove>& moves = node->second;
        const auto kept = std::stable_partition(moves.begin(), moves.end(),
                                                [&](BookMove& move) { return Settle(builder.limits, move); });
        if (kept != moves.end()) removed[node->first].assign(kept, moves.end());
        moves.erase(kept, moves.end());
        std::stable_sort(moves.begin(), moves.end(), IsPlayedMore);
        node = moves.empty() ? builder.games.erase(node) : std::next(node);
    }
    MergeBook(builder.games, nodes);
    builder.games.clear();
    if (!removed.empty()) WayKeeper(removed, nodes).Keep();
    return nodes;
}
