// book_tree.cpp - book text; see book_tree.h.
#include "tools/common/book_tree.h"

#include <unordered_set>
#include <vector>

#include "board/make_move.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "board/position.h"
#include "tools/common/game_reader.h"
#include "tools/common/text.h"

namespace {

// ---- Reading ----

struct BookLine {
    Move move = 0;
    BookMove entry;
};

// False, with the reason, when the words after the indentation are no move of the position on
// the board with its points.
bool ParseBookLine(const std::string& words, BookLine& line, std::string& why) {
    const std::vector<std::string> parts = Split(words, ' ');
    line = {};
    if (parts.size() == 2 && parts[1] == "-") {
        line.entry.excluded = true;
    } else if (parts.size() != 3 || !ParseNumber(parts[1], 0, 254, line.entry.ours)
               || !ParseNumber(parts[2], 0, 254, line.entry.theirs)) {
        why = "not a move with two numbers from 0 to 254, or with a single '-': " + Shown(words);
        return false;
    }
    line.move = MoveOfWord(parts[0], why);
    if (line.move == 0) return false;
    if (!FitsIntoBook(line.move)) {
        why = "a book knows promotions to a queen only: " + Shown(parts[0]);
        return false;
    }
    line.entry.from = uint8_t(MoveFrom(line.move));
    line.entry.to = uint8_t(MoveTo(line.move));
    return true;
}

// ---- Writing ----

class TextWriter {
public:
    explicit TextWriter(const BookNodes& nodes) : nodes(nodes) {}

    std::string Write() {
        SetInitialPosition();
        WriteMoves(0);
        int64_t positions = 0, moves = 0;
        for (const auto& [key, node] : nodes) {
            int64_t missing = 0;
            for (const BookMove& move : node) missing += listed.count(&move) == 0;
            positions += missing != 0;
            moves += missing;
        }
        if (moves != 0)
            text += "# not reached from the start: " + std::to_string(moves) + " moves of " + std::to_string(positions)
                + " positions\n";
        return text;
    }

private:
    const BookNodes& nodes;
    std::unordered_set<const BookMove*> listed;
    std::string text;

    // The moves of the position on the board with all below them. When it is reached again, its
    // moves stand elsewhere but for those that the first way to it made illegal: castling, and
    // captures en passant. So they are taken all at once, before what lies below them.
    void WriteMoves(int ply) {
        const auto node = nodes.find(BookNodeKey());
        if (node == nodes.end()) return;
        std::vector<LegalEntry> lines = LegalEntries(node->second);
        std::erase_if(lines, [&](const LegalEntry& line) { return !listed.insert(line.entry).second; });
        for (const auto& [move, entry] : lines) {
            WriteLine(ply, move, *entry);
            if (!MakeGameMove(move)) continue;
            WriteMoves(ply + 1);
            UnmakeMove();
        }
    }

    void WriteLine(int ply, Move move, const BookMove& entry) {
        text.append(size_t(ply), ' ');
        text += MoveToSan(move);
        const BookEntry points = EntryOf(entry);
        text += entry.excluded ? " -" : ' ' + std::to_string(points.ours) + ' ' + std::to_string(points.theirs);
        text += '\n';
    }
};

}  // namespace

bool FitsIntoBook(Move move) { return MovePromotion(move) == EMPTY || MovePromotion(move) == QUEEN; }

std::vector<LegalEntry> LegalEntries(const std::vector<BookMove>& node) {
    const int count = GenerateLegalMoves(0);
    std::vector<LegalEntry> legal;
    for (const BookMove& entry : node)
        for (int i = 0; i < count; ++i) {
            const Move move = move_stack[i].move;
            if (MoveFrom(move) == entry.from && MoveTo(move) == entry.to && FitsIntoBook(move))
                legal.push_back({move, &entry});
        }
    return legal;
}

int64_t ReadBookText(const std::string& text, const std::string& name, const FaultReport& report, BookNodes& nodes) {
    BookNodes read;
    SetInitialPosition();
    size_t depth = 0;                    // moves on the board
    size_t skipped = std::string::npos;  // lines deeper than this belong to a bad one
    int64_t line_number = 0, bad_lines = 0;
    std::string line;
    for (size_t at = 0; NextLine(text, at, line);) {
        ++line_number;
        line.resize(line.find_last_not_of(" \t") + 1);
        const size_t indentation = line.find_first_not_of(' ');
        if (indentation == std::string::npos || line[line.find_first_not_of(" \t")] == '#' || indentation > skipped)
            continue;
        skipped = std::string::npos;
        const auto refuse = [&](const std::string& why, size_t skip_below) {
            report(name + ":" + std::to_string(line_number) + ": " + why);
            ++bad_lines;
            skipped = skip_below;
        };
        if (indentation > depth) {
            refuse("indented more than one space beyond the line above", depth);
            continue;
        }
        for (; depth > indentation; --depth) UnmakeMove();
        BookLine parsed;
        std::string why;
        if (!ParseBookLine(line.substr(indentation), parsed, why)) {
            refuse(why, indentation);
            continue;
        }
        std::vector<BookMove>& node = read[BookNodeKey()];
        const size_t moves_before = node.size();
        BookMove& entry = BookMoveOf(node, parsed.entry.from, parsed.entry.to);
        if (node.size() == moves_before) {
            refuse("the position has this move already: " + Shown(line.substr(indentation)), indentation);
            continue;
        }
        entry = parsed.entry;
        if (!MakeGameMove(parsed.move)) refuse("too deep, nothing behind this move is read", indentation);
        else ++depth;
    }
    MergeBook(read, nodes);
    return bad_lines;
}

std::string WriteBookText(const BookNodes& nodes) { return TextWriter(nodes).Write(); }
