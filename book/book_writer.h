// book_writer.h - a whole book in memory, and the file made of it. For tools: the engine itself
// never writes more than the points of one move.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "book/book_file.h"

struct BookMove {
    uint8_t from = 0, to = 0;
    bool excluded = false;
    // Two points a game, shared by its result. May be more than a file can hold; see EntryOf().
    uint32_t ours = 0, theirs = 0;
    uint32_t undecided = 0;  // games without a result; no file tells of them
};
// The moves of every position, the main move first.
using BookNodes = std::unordered_map<uint64_t, std::vector<BookMove>>;

// First half of the file's key in the upper 32 bits.
uint64_t BookNodeKey();  // of the position on the board

// The entry of this move in a node; added at the end, without points, when it is not there.
BookMove& BookMoveOf(std::vector<BookMove>& node, int from, int to);
// Adds the points of every move. What either book excludes stays excluded. Moves that `into` does
// not have go behind its own.
void MergeBook(const BookNodes& from, BookNodes& into);

// The move as a file holds it: points that do not fit into their bytes are scaled down, keeping
// their ratio.
BookEntry EntryOf(const BookMove& move);
// The bytes of a version-1 file. Of more than BookMaxMoves moves the first are kept.
std::string BookFileBytes(const BookNodes& nodes);
// The nodes of a version-1 file. False, with the reason, when it is none or is damaged.
bool ReadBookFile(const std::string& bytes, BookNodes& nodes, std::string& error);
