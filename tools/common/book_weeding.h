// book_weeding.h - which moves of a book can be trusted, by a search of every position.
//
// Games tell how a move scored in the past, with the players of the past; a book made of them
// holds lines that were refuted since. So every position is searched, the end of a line longer
// than the rest, and the scores are carried back: a position is worth half what its own search
// says and half what its best book move leads to. (The best move alone would be the best of many
// inexact scores on the way from the end to the start, and the errors would add up.)
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "book/book_writer.h"

struct BookPosition {
    uint64_t key;     // BookNodeKey()
    std::string fen;  // of the first line that leads there
    bool line_end;    // the book has no moves for it
};
// All positions that book moves lead to from the start position, in the order of the book's text.
std::vector<BookPosition> FindPositions(const BookNodes& nodes);

// Centipawns by BookNodeKey(), the view of the side to move there.
using PositionScores = std::unordered_map<uint64_t, int>;

struct WeedingRules {
    int worst = -60;       // centipawns for the side that plays a move; below, it is excluded
    int score_games = 40;  // the search's word counts like so many games beside the played ones
    int most_games = 40;   // more played games than this count no more than this
    // What is played seldom leads out of the book soon and is sound by the search's word alone:
    // such a move loses so much of its share, half of it with half_rare games.
    double rare_discount = 0.15;
    int half_rare = 12;
    int score_scale = 200;  // centipawns of advantage that are worth 10 points to 1
};
struct WeedingCounts {
    int64_t moves = 0, excluded = 0, unjudged = 0;  // unjudged: leads to no searched position
};
// The book with the moves excluded that lead to less than `worst` or back to an earlier position
// of their line, and with points drawn towards the scores. A move without a score keeps its points.
// What cannot be reached from the start position is left out.
BookNodes WeedBook(const BookNodes& nodes, const PositionScores& scores, const WeedingRules& rules,
                   WeedingCounts& counts);
