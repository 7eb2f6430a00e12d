// book_test.cpp - the opening book: reading files sound and damaged, choosing, learning.
#include "book/book.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "board/legality.h"
#include "board/random.h"
#include "board/settings.h"
#include "book/book_learning.h"
#include "search/limits.h"
#include "search/root.h"
#include "tests/support/board_helpers.h"
#include "tests/support/book_bytes.h"
#include "tests/support/engine_environment.h"
#include "tests/support/printed.h"
#include "tests/support/temporary_path.h"
#include "tools/common/text.h"

namespace {

class Book : public ::testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        ResetBookLearning();
        SeedRandom(1);
    }
    void TearDown() override {
        close_book();
        ResetBookLearning();
        std::remove(name_.c_str());
        ResetEngine();
    }
    // Writes and opens a file; returns what was printed.
    std::string Open(const std::string& bytes) {
        close_book();
        std::remove(name_.c_str());  // some file systems wait for the disk when a file is overwritten
        std::ofstream(name_, std::ios::binary) << bytes;
        return Opened(name_);
    }
    static std::string Opened(const std::string& name) {
        return Printed([&] { open_book(name.c_str()); });
    }
    const std::string name_ = TemporaryPath(".cvt");
};

const std::vector<Node> few_nodes = {
    {"", {{"e2e4", 2, 0}}}, {"e2e4", {{"c7c5", 2, 0}}}, {"d2d4 d7d5", {{"c2c4", 2, 0}}}, {"c2c4", {{"e7e5", 2, 0}}}};

// The count is a signed number; one that is too high says nothing about where the lists begin.
TEST_F(Book, Headers) {
    const struct {
        const char* why;
        size_t at;
        std::string bytes;
        const char* printed;
        bool whole;
    } cases[] = {
        {"the magic does not matter", 0, "Some other", "4 nodes in openings book\n", true},
        {"a later version", 24, Word32(2), "Book version 2 not supported\n", false},
        {"no nodes", 32, Word32(0), "0 nodes in openings book\n", false},
        {"-1", 32, Word32(uint32_t(-1)), "-1 nodes in openings book\n", false},
        {"highest", 32, Word32(INT_MAX), "2147483647 nodes in openings book\n", false},
        {"one too many", 32, Word32(5), "5 nodes in openings book\n", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(Open(BookBytes(1, few_nodes).replace(c.at, c.bytes.size(), c.bytes)), c.printed);
        EXPECT_EQ(book_loaded, c.at != 24);
        for (const Node& node : few_nodes) {
            SetInitialPosition();
            PlayMoves(node.moves);
            const Move move = book_move();
            EXPECT_TRUE(move == 0 ? !c.whole : book_loaded && MoveText(move) == node.entries[0].move) << node.moves;
        }
    }
}

TEST_F(Book, Names) {
    const std::string message = "Error opening \"" + name_ + "\"!\n";
    EXPECT_EQ(Opened(""), "Error opening \"\"!\n");
    ASSERT_EQ(mkdir(name_.c_str(), 0700), 0);
    EXPECT_EQ(Opened(name_), message);
    std::remove(name_.c_str());
    // A pipe would keep the program waiting for somebody to write into it.
    ASSERT_EQ(mkfifo(name_.c_str(), 0600), 0);
    EXPECT_EQ(Opened(name_), message);

    EXPECT_EQ(Open(BookBytes(1, few_nodes)), "4 nodes in openings book\n");
    std::string windows = name_;
    windows[windows.rfind('/')] = '\\';
    for (size_t i = windows.rfind('\\'); i < windows.size(); ++i) windows[i] = char(std::toupper(windows[i]));
    EXPECT_EQ(Opened(windows), "4 nodes in openings book\n");

    ASSERT_EQ(chmod(name_.c_str(), 0444), 0);
    const uid_t nobody = 65534;
    if (getuid() != 0 || seteuid(nobody) == 0) {
        EXPECT_EQ(Opened(name_), message) << "nothing can be learned there";
    }
    EXPECT_EQ(seteuid(getuid()), 0);
}

// What the search does with the book's squares: special moves are recognised, and what is not
// legal here, as keys know no castling rights and may be equal by chance, is not played.
TEST_F(Book, TheSearchPlaysOnlyLegalMoves) {
    const struct {
        const char *why, *fen, *move, *played;
    } cases[] = {
        {"castling", "4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1", "e1g1", "e1g1"},
        {"no right to castle", "4k3/8/8/8/8/8/8/R3K2R w Q - 0 1", "e1g1", "none"},
        {"en passant", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6", "e5d6"},
        {"en passant a move too late", "4k3/8/8/3pP3/8/8/8/4K3 w - - 0 1", "e5d6", "none"},
        {"promotion", "8/P6k/8/8/8/8/8/4K3 w - - 0 1", "a7a8", "a7a8q"},
        {"king into check", "4k3/8/8/8/8/8/4r3/4K3 w - - 0 1", "e1d2", "none"},
        {"empty square", "4k3/8/8/8/8/8/8/4K2R w - - 0 1", "a1a2", "none"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Open(BookBytes(1, {{"", {{c.move, 2, 0}}}}, c.fen));
        SetFen(c.fen);
        search_limits.MaxDepth = 1;
        SearchResult result{};
        Printed([&] { result = think(true); });
        EXPECT_EQ(result.from_book ? MoveText(result.best) : "none", c.played);
    }
}

TEST_F(Book, Choice) {
    constexpr int First = -1, Discover = -2;  // in place of the variety
    const std::vector<Entry> five = {
        {"e2e4", 60, 40}, {"d2d4", 55, 45}, {"c2c4", 53, 47}, {"g1f3", 255, 255}, {"b2b3", 0, 0}};
    const std::vector<Entry> excluded = {{"e2e4", 255, 255}};
    const struct {
        const char* why;
        uint32_t version;
        int variety;
        std::vector<Entry> entries;
        const char* chosen;  // alphabetically
    } cases[] = {
        {"the best alone", 1, 0, five, "e2e4 "},
        {"540 of 1000 points are enough", 1, 10, five, "d2d4 e2e4 "},
        {"never the excluded one", 1, 100, five, "b2b3 c2c4 d2d4 e2e4 "},
        {"the excluded one sets no measure", 1, 0, {{"e2e4", 255, 255}, {"d2d4", 1, 9}}, "d2d4 "},
        {"the first", 1, First, five, "e2e4 "},
        {"the first is excluded", 1, First, {{"e2e4", 255, 255}, {"d2d4", 2, 0}}, ""},
        {"unplayed", 1, Discover, {{"e2e4", 9, 0}, {"d2d4", 0, 0}, {"g1f3", 255, 255}}, "d2d4 "},
        {"few games, score", 1, Discover, {{"e2e4", 2, 2}, {"d2d4", 3, 1}, {"c2c4", 3, 1}, {"g1f3", 4, 2}}, "d2d4 "},
        {"discovering nothing", 1, Discover, excluded, ""},
        {"version 0: the weight only excludes", 0, 0, {{"e2e4", 10}, {"d2d4", 255}, {"c2c4", 0}}, "c2c4 e2e4 "},
        {"version 0: all excluded", 0, 0, excluded, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        VarietyOfPlay = std::max(c.variety, 0);
        BookLearningMode = c.variety == Discover ? DISCOVER : KILL;
        UseBookWeights = c.variety != First;
        Open(BookBytes(c.version, {{"", c.entries}}));
        std::map<std::string, int> counts;
        for (int i = 0; i < 300; ++i)
            if (const Move move = book_move()) ++counts[MoveText(move)];
        std::string chosen;
        for (const auto& [move, count] : counts) {
            chosen += move + ' ';
            EXPECT_GT(count * int(counts.size()), 180) << move;
        }
        EXPECT_EQ(chosen, c.chosen);
    }
}

TEST_F(Book, ListingAndVersion0) {
    Open(BookBytes(1, {{"", {{"e2e4", 3, 1}, {"d2d4", 0, 0}, {"g1f3", 255, 255}, {"c2c4", 0, 5}}}}));
    EXPECT_EQ(Printed(list_book_moves),
              "4 moves from current pos in book:\ne2e4 75% (not less than 2 game(s))\n"
              "d2d4 ?\ng1f3 -\nc2c4 0% (not less than 2 game(s))\n");
    EXPECT_EQ(Open(BookBytes(0, {{"", {{"e2e4", 10}, {"d2d4", 255}}}})),
              "NG: Book learning not supported for book version 0\n1 nodes in openings book\n");
    EXPECT_EQ(UseBookLearning + UseBookWeights, 0);
    UseBookLearning = 1;  // as a user could switch it on again
    update_book_move(ResultWon, ParseCoordinate("e2e4"));
    EXPECT_EQ(Printed(list_book_moves), "2 moves from current pos in book:\ne2e4 10\nd2d4 255\n");
    PlayMoves("e2e4");
    EXPECT_EQ(Printed(list_book_moves), "No moves from current pos in book\n");
}

// A book may be cut anywhere or have any byte wrong: it may lose moves or have senseless ones,
// but learning never spoils its header and index.
TEST_F(Book, DamagedFiles) {
    const std::string whole = BookBytes(1, {{"", {{"e2e4", 2, 0}, {"d2d4", 2, 0}}}, {"e2e4", {{"c7c5", 2, 0}}}});
    constexpr size_t index_end = 36 + 2 * 12;
    const uint32_t end = uint32_t(whole.size());
    std::map<std::string, std::string> books;
    for (uint32_t at = 0; at < end; ++at) {
        books["cut at " + std::to_string(at)] = whole.substr(0, at);
        for (const int flip : {0xFF, 0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80}) {
            std::string& bytes = books["byte " + std::to_string(at) + " xor " + std::to_string(flip)] = whole;
            bytes[at] = char(bytes[at] ^ flip);
        }
    }
    // Places of the move list: in the header (whose unused word looks like one here), the index,
    // the list before, at and behind the end.
    for (const uint32_t place : {0u, 28u, 36u, 59u, 61u, end - 1, end, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        std::string& bytes = books["lists at " + std::to_string(place)] = whole;
        bytes.replace(28, 4, {1, char(SquareOf("e2")), char(SquareOf("e4")), 0});
        for (const size_t record : {36u, 48u}) bytes.replace(record + 8, 4, Word32(place));
    }
    for (const auto& [why, bytes] : books) {
        SCOPED_TRACE(why);
        SetDefaults();
        EXPECT_EQ(Open(bytes) == "Invalid book format\n", bytes.size() < 36);
        ResetBookLearning();
        search_limits.MaxDepth = 1;
        Printed([] {
            list_book_moves();
            EXPECT_TRUE(IsFullyLegal(think(true).best));
        });
        PlayMoves("e2e4 c7c5");
        learn_game(ResultWon);
        SetInitialPosition();
        std::string after;
        ASSERT_TRUE(ReadWholeFile(name_, after));
        EXPECT_EQ(after.size(), bytes.size());
        EXPECT_EQ(after.substr(0, index_end), bytes.substr(0, index_end));
    }
}

// ---- Learning ----

const std::vector<Node> learning_book = {
    {"", {{"e2e4", 0, 0}, {"d2d4", 10, 4}}},
    {"e2e4", {{"e7e5", 5, 253}}},
    {"e2e4 e7e5", {{"g1f3", 253, 3}}},
    {"e2e4 e7e5 g1f3", {{"b8c6", 255, 255}}},
    {"d2d4", {{"d7d5", 254, 31}, {"g8f6", 10, 4}, {"c7c5", 0, 0}, {"e7e6", 255, 255}}},
};

TEST_F(Book, Learning) {
    const std::string full = " d7d5 254/31 g8f6 10/4 e7e6 255/255 ";
    const struct {
        const char *why, *moves;
        int result;
        std::string points;
    } cases[] = {
        {"a draw", "e2e4 e7e5 g1f3 b8c6", ResultDrawn, "e2e4 1/1 d2d4 10/4 e7e5 5/253 g1f3 254/4 b8c6 255/255" + full},
        {"White wins", "e2e4 e7e5 g1f3 b8c6", ResultWon,
         "e2e4 2/0 d2d4 10/4 e7e5 5/253 g1f3 170/2 b8c6 255/255" + full},
        {"Black loses: 255 does not fit, excluded moves stay", "e2e4 e7e5 g1f3 b8c6 f1b5", ResultLost,
         "d2d4 10/4 e7e5 3/170 g1f3 253/3 b8c6 255/255" + full},
        {"nor does 256: all moves keep two thirds", "d2d4 d7d5 c2c4", ResultWon,
         "d2d4 10/4 e7e5 5/253 g1f3 253/3 b8c6 255/255 d7d5 170/20 g8f6 6/2 e7e6 255/255 "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Open(BookBytes(1, learning_book));
        ResetBookLearning();
        UseBookLearning = 1;
        PlayMoves(c.moves);
        const PositionBytes before = BytesOfPosition();
        const int plies = history_count;
        EXPECT_TRUE(BookLearningPending());
        learn_game(c.result);
        EXPECT_FALSE(BookLearningPending());
        learn_game(c.result);  // once a game
        EXPECT_EQ(BytesOfPosition(), before);
        EXPECT_EQ(history_count, plies);
        ResetBookLearning();
        UseBookLearning = 0;
        learn_game(c.result);
        Opened(name_);
        EXPECT_EQ(MovesWithPoints(learning_book), c.points);
    }
}

}  // namespace
