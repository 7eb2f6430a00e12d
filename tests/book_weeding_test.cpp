// book_weeding_test.cpp - the book's moves judged by scores at the ends of its lines.
#include "tools/common/book_weeding.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tools/common/book_tree.h"

namespace {

// e4 e5 branches into a gambit, a main line and a line that comes back by another order of moves.
const std::string Book =
    "e4 30 20\n"
    " e5 20 20\n"
    "  f4 8 8\n"
    "  Nf3 200 200\n"
    "   Nc6 6 6\n"
    "   f6 1 1\n"
    "Nf3 0 0\n"
    " e5 2 0\n"
    "  e4 2 2\n"
    "a3 -\n"
    " e5 2 2\n";

BookNodes NodesOf(const std::string& text) {
    BookNodes nodes;
    EXPECT_EQ(0,
              ReadBookText(
                  text, "test", [](const std::string& fault) { ADD_FAILURE() << fault; }, nodes));
    return nodes;
}

// Positions by the first field.
const std::string AfterE4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR";
const std::string AfterF4 = "rnbqkbnr/pppp1ppp/8/4p3/4PP2/8/PPPP2PP/RNBQKBNR";
const std::string AfterNc6 = "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R";
const std::string AfterF6 = "rnbqkbnr/pppp2pp/5p2/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R";
const std::string AfterA3E5 = "rnbqkbnr/pppp1ppp/8/4p3/8/P7/1PPPPPPP/RNBQKBNR";

// The weeded book as text; scores are the side to move's.
std::string Weeded(const std::map<std::string, int>& scores, WeedingCounts& counts, double rare_discount = 0) {
    WeedingRules rules;  // round numbers, whatever the shipped book was made with
    rules.score_games = 20;
    rules.score_scale = 200;
    rules.half_rare = 6;
    rules.rare_discount = rare_discount;
    const BookNodes nodes = NodesOf(Book);
    PositionScores by_key;
    for (const BookPosition& position : FindPositions(nodes)) {
        const auto score = scores.find(position.fen.substr(0, position.fen.find(' ')));
        if (score != scores.end()) by_key[position.key] = score->second;
    }
    return WriteBookText(WeedBook(nodes, by_key, rules, counts));
}

TEST(BookWeeding, FindsEveryPositionOnce) {
    std::vector<std::string> ends;
    size_t inner = 0;
    for (const BookPosition& position : FindPositions(NodesOf(Book))) {
        if (position.line_end) ends.push_back(position.fen.substr(0, position.fen.find(' ')));
        else ++inner;
    }
    EXPECT_EQ((std::vector<std::string>{AfterF4, AfterNc6, AfterF6, AfterA3E5}), ends);
    EXPECT_EQ(6u, inner);  // after e4, e4 e5, e4 e5 Nf3, Nf3, Nf3 e5, a3
}

TEST(BookWeeding, ExcludesMovesThatTheirBestReplyRefutes) {
    WeedingCounts counts;
    // White is 80 worse after the gambit, Black 200 worse after f6; the rest is even, and so is
    // what leads there: the other side need not have played the bad move.
    const std::string text = Weeded({{AfterF4, 80}, {AfterNc6, 0}, {AfterF6, 200}, {AfterA3E5, 0}}, counts);
    EXPECT_EQ(11, counts.moves);
    EXPECT_EQ(3, counts.excluded);  // a3 was before and stays
    EXPECT_EQ(0, counts.unjudged);
    EXPECT_EQ(
        "e4 28 22\n"  // 25 games of 60% and 20 of an even score: 56% of 50 points, rounded
        " e5 20 20\n"
        "  f4 -\n"
        "  Nf3 60 60\n"   // 200 games are kept as 60
        "   Nc6 12 12\n"  // 6 games are kept as 12
        "   f6 -\n"
        "Nf3 12 12\n"
        " e5 13 11\n"  // one game won beside 20 even ones: 52%
        "  e4 12 12\n"
        "a3 -\n"
        " e5 12 12\n",
        text);
}

TEST(BookWeeding, LeavesAloneWhatNoScoreTells) {
    WeedingCounts counts;
    const std::string text = Weeded({{AfterF4, 0}}, counts);
    EXPECT_EQ(8, counts.unjudged);  // all but e4 e5 f4
    EXPECT_NE(std::string::npos, text.find("  Nf3 200 200\n"));
    EXPECT_NE(std::string::npos, text.find("   f6 1 1\n"));
}

TEST(BookWeeding, DrawsPointsTowardsTheScore) {
    WeedingCounts counts;
    // The line that every other line of e4 leads to wins for White by 200 centipawns: ten points
    // to one. e4 with 25 games of 60% and 20 of ten elevenths: 73.7%.
    const std::string text = Weeded({{AfterF4, 0}, {AfterNc6, 200}, {AfterF6, 200}, {AfterA3E5, 0}}, counts);
    EXPECT_EQ(0u, text.find("e4 37 13\n")) << text;
}

TEST(BookWeeding, TrustsRareMovesLess) {
    WeedingCounts counts;
    const std::string text = Weeded({{AfterF4, 0}, {AfterNc6, 0}, {AfterF6, 0}, {AfterA3E5, 0}}, counts, 0.5);
    // All is even. 200 games lose next to nothing, 6 a quarter, 1 three sevenths, none one half.
    EXPECT_NE(std::string::npos, text.find("  Nf3 59 61\n   Nc6 9 15\n   f6 7 17\n")) << text;
    EXPECT_NE(std::string::npos, text.find("Nf3 6 18\n")) << text;
}

TEST(BookWeeding, WeighsAPositionsOwnSearchAgainstItsLines) {
    WeedingCounts counts;
    // The only reply that the book has to e4 loses 200; the search of the position after e4 finds
    // a better one and calls it even. Half of each: e4 wins 100, 76% in the long run, as 20 games
    // beside the 25 of 60%: 67.1% of 50 points.
    const std::string text =
        Weeded({{AfterE4, 0}, {AfterF4, 0}, {AfterNc6, 200}, {AfterF6, 200}, {AfterA3E5, 0}}, counts);
    EXPECT_EQ(0u, text.find("e4 34 16\n e5 -\n")) << text;
}

}  // namespace
