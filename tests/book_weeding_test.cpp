// book_weeding_test.cpp - the book's moves judged by scores at the ends of its lines.
#include "tools/common/book_weeding.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/book_bytes.h"
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

// The first field of the position after e4, and of the ends of the lines.
const std::vector<std::string> Scored = {
    "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR",        // e4
    "rnbqkbnr/pppp1ppp/8/4p3/4PP2/8/PPPP2PP/RNBQKBNR",      // f4
    "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R",  // Nc6
    "rnbqkbnr/pppp2pp/5p2/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R",   // f6
    "rnbqkbnr/pppp1ppp/8/4p3/8/P7/1PPPPPPP/RNBQKBNR",       // a3 e5
};
constexpr int None = 9999;

TEST(BookWeeding, FindsEveryPositionOnce) {
    const std::vector<BookPosition> positions = FindPositions(NodesOf(Book));
    std::vector<std::string> ends;
    for (const BookPosition& position : positions)
        if (position.line_end) ends.push_back(position.fen.substr(0, position.fen.find(' ')));
    EXPECT_EQ(ends, std::vector<std::string>(Scored.begin() + 1, Scored.end()));
    EXPECT_EQ(positions.size() - ends.size(), 6u);  // after e4, e4 e5, e4 e5 Nf3, Nf3, Nf3 e5, a3
}

TEST(BookWeeding, Weeds) {
    const struct {
        const char* why;
        std::vector<int> scores;  // of these, the side to move's
        double rare_discount;
        const char* counts;  // of excluded and of unjudged moves
        const char* lines;   // of the weeded book
    } cases[] = {
        // The other side need not have played the bad move. e4: 25 games of 60% and 20 of an even score make
        // 56% of 50 points, rounded. 200 games are kept as 60, 6 as 12. Nf3 e5: one game won beside 20 even
        // ones, 52%. a3 was excluded before and stays.
        {"80 and 200 are lost",
         {None, 80, 0, 200, 0},
         0,
         "3 0",
         "e4 28 22\n e5 20 20\n  f4 -\n  Nf3 60 60\n   Nc6 12 12\n   f6 -\nNf3 12 12\n e5 13 11\n  e4 12 12\n"
         "a3 -\n e5 12 12\n"},
        {"only f4 has a score", {None, 0, None, None, None}, 0, "1 8", "  Nf3 200 200\n   Nc6 6 6\n   f6 1 1\n"},
        // Ten points to one; e4 with 25 games of 60% and 20 of ten elevenths: 73.7%.
        {"every line of e4 but one wins 200", {None, 0, 200, 200, 0}, 0, "5 0", "e4 37 13\n"},
        // 200 games lose next to nothing, 6 a quarter, 1 three sevenths, none one half.
        {"even, but rare", {None, 0, 0, 0, 0}, 0.5, "1 0", "  Nf3 59 61\n   Nc6 9 15\n   f6 7 17\nNf3 6 18\n"},
        // Half of each score: e4 wins 100, 76% in the long run, as 20 games beside the 25 of 60%: 67.1% of 50 points.
        {"the only reply loses, a search says even", {0, 0, 200, 200, 0}, 0, "5 0", "e4 34 16\n e5 -\n"},
    };
    const BookNodes nodes = NodesOf(Book);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        PositionScores by_key;
        for (const BookPosition& position : FindPositions(nodes))
            for (size_t i = 0; i < Scored.size(); ++i)
                if (position.fen.starts_with(Scored[i] + ' ') && c.scores[i] != None)
                    by_key[position.key] = c.scores[i];
        WeedingRules rules;  // round numbers, whatever the shipped book was made with
        rules.score_games = 20;
        rules.score_scale = 200;
        rules.half_rare = 6;
        rules.rare_discount = c.rare_discount;
        WeedingCounts counts;
        const std::string text = '\n' + WriteBookText(WeedBook(nodes, by_key, rules, counts));
        EXPECT_EQ(counts.moves, 11);
        EXPECT_EQ(std::to_string(counts.excluded) + ' ' + std::to_string(counts.unjudged), c.counts);
        EXPECT_NE(text.find(std::string("\n") + c.lines), std::string::npos) << text;
    }
}

}  // namespace
