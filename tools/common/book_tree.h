// book_tree.h - an opening book put together from games, lines of moves and other books, and
// the text form of a book.
//
// Book text (".book") is a tree in pre-order from the start position, one line a move: one space
// of indentation a ply, the move in SAN, its points and the other side's; "-" in place of the
// points excludes a move:
//
//   e4 30 24
//    c5 28 30
//    e5 20 20
//   f4 -
//
// A position has its moves at one place, however often it is reached. Lines that begin with '#',
// also behind blanks, are comments.
//
// Everything here plays moves on the one board and leaves it at any position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "board/types.h"
#include "book/book_writer.h"

// What enters from games. Book text and book files enter as they stand.
struct BookLimits {
    int plies = 24;      // of each game
    int min_games = 1;   // a move played less is left out
    int min_score = 0;   // thousandths of the points; a move that scores less is left out
    int min_rating = 0;  // both players', PGN only
    int even = 4;        // drawn games thought beside a move's own when its score is worked out
    std::string player;  // one player's name begins so, PGN only; letters of either case
};

struct BookCounts {
    int64_t games = 0;      // entered
    int64_t refused = 0;    // games with a fault
    int64_t left_out = 0;   // games that the limits keep out
    int64_t bad_lines = 0;  // of book text
};

// Told of a fault, "file:line: why".
using FaultReport = std::function<void(const std::string& fault)>;

struct BookBuilder {
    BookLimits limits;
    FaultReport report = [](const std::string&) {};
    std::function<void(const BookCounts&)> progress = [](const BookCounts&) {};  // after every game
    size_t piece_bytes = size_t(4) << 20;                                        // read of a file at once

    BookCounts counts;
    BookNodes games;  // their points as they were played, moves in the order met
    BookNodes books;  // as they stand
};

// A pawn that reaches the end becomes a queen: an entry has no room for another piece.
bool FitsIntoBook(Move move);

struct LegalEntry {
    Move move;
    const BookMove* entry;
};
// The moves of a node that are legal in the position on the board, in the node's order.
std::vector<LegalEntry> LegalEntries(const std::vector<BookMove>& node);

// Adds a file, of the kind that its name ends in: .pgn, .tsv, .txt, .book or .cvt. False, with the
// reason, when it cannot be read; faults inside go to `report` and do not end the reading.
bool AddBookSource(const std::string& path, BookBuilder& builder, std::string& error);
// The book: games within the limits, moves played most first, merged with the books. A move
// outside the limits that alone leads to moves within them is excluded. Leaves the builder without
// nodes, and the board at any position.
BookNodes FinishBook(BookBuilder& builder);

// Adds the moves of a book text. Returns the number of bad lines, which are reported and, with
// all below them, skipped.
int64_t ReadBookText(const std::string& text, const std::string& name, const FaultReport& report, BookNodes& nodes);
// The text that ReadBookText() makes the same nodes of. What no legal moves from the start
// position lead to is only counted, in a comment at the end; so are castling and captures en
// passant that every way listed to their position forbids.
std::string WriteBookText(const BookNodes& nodes);
