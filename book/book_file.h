// book_file.h - the layout of a book file and the node of one position.
//
// Little-endian, addressed in slots of 12 bytes:
//
//   0  magic, 24 bytes         24  version 0 or 1      28  ignored      32  node count N
//   36 N records {key first half, key second half, offset of the move list}, sorted
//   move list: one byte with the number of moves, then per move
//     version 0: from, to, weight (255 = excluded)
//     version 1: from, to, our points, their points (both 255 = excluded)
//
// Records are sorted by their halves as signed numbers. Every game played adds two points to a
// move. Example of a version-1 move: 0C 1C 03 01 is e2e4 with 3 points of 4, that is 75%.
#pragma once

#include <cstdint>

constexpr const char* BookMagic = "~Corvantis openings book";  // 24 characters
constexpr int BookMagicBytes = 24;
constexpr int BookVersionOffset = 24, BookCountOffset = 32;
constexpr int BookSlotBytes = 12, BookFirstSlot = 3;
constexpr int BookMaxMoves = 255;

struct BookEntry {
    uint8_t from, to;
    uint8_t ours, theirs;  // version 0: the weight, and 0

    int Games2() const { return ours + theirs; }  // twice the number of games
    // Points in thousandths, 500 without games.
    int Score() const { return Games2() == 0 ? 500 : ours * 1000 / Games2(); }
};

struct BookNode {
    int count;
    int64_t entries_offset;  // of the first entry in the file
    BookEntry entries[BookMaxMoves];
};

extern bool book_version_0;  // no points, no learning

struct BookKey {
    uint32_t first, second;
};
// The order of the records: both halves as signed numbers.
constexpr bool ComesBefore(BookKey a, BookKey b) {
    return a.first != b.first ? int32_t(a.first) < int32_t(b.first) : int32_t(a.second) < int32_t(b.second);
}
BookKey CurrentBookKey();  // of the position on the board

// True when the open book has a node for the current position; *list_at is then where in the
// file its move list should begin.
bool find_node(int64_t* list_at);
// The same, and reads the node. False too when there is no whole list at that place.
bool ReadBookNode(BookNode& node);
// Excluded moves are never played and never changed.
bool IsExcluded(const BookEntry& entry);
// Writes the points of these entries of a version-1 node back, in one piece. False when the
// disk refuses.
bool WriteBookPoints(const BookNode& node, int first, int count);
