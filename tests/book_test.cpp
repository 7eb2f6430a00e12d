// book_test.cpp - the opening book: reading files sound and damaged, choosing, learning.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "board/console.h"
#include "board/random.h"
#include "board/settings.h"
#include "book/book.h"
#include "book/book_file.h"
#include "book/book_keys.h"
#include "book/book_learning.h"
#include "search/limits.h"
#include "search/root.h"
#include "tests/support/board_helpers.h"
#include "tests/support/book_bytes.h"
#include "tests/support/engine_environment.h"

namespace {

class Book : public ::testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        ResetBookLearning();
        SeedRandom(1);
        name_ = (std::filesystem::temp_directory_path()
                 / ("corvantis-book-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name())))
                    .string();
    }
    void TearDown() override {
        close_book();
        ResetBookLearning();
        std::remove(name_.c_str());
        ResetEngine();
    }
    // Writes and opens a file; returns what was printed.
    std::string Open(const std::string& bytes) {
        return Printed([&] { OpenAloud(bytes); });
    }
    void OpenAloud(const std::string& bytes) {
        close_book();
        std::remove(name_.c_str());  // some file systems wait for the disk when a file is overwritten
        std::ofstream(name_, std::ios::binary) << bytes;
        open_book(name_.c_str());
    }
    template <typename F> static std::string Printed(F f) {
        Flush();
        ::testing::internal::CaptureStdout();
        f();
        Flush();
        return ::testing::internal::GetCapturedStdout();
    }
    std::string Bytes() const {
        std::ifstream file(name_, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    static std::string Chosen() { return MoveText(book_move()); }
    // How often each move is chosen of 300 times.
    static std::map<std::string, int> Choices() {
        std::map<std::string, int> counts;
        for (int i = 0; i < 300; ++i) ++counts[Chosen()];
        return counts;
    }
    // The points of a move in the file, as "ours/theirs".
    std::string Points(const char* moves, const char* move) {
        SetInitialPosition();
        PlayMoves(moves);
        BookNode node;
        if (!ReadBookNode(node)) return "no node";
        for (int i = 0; i < node.count; ++i)
            if (node.entries[i].from == SquareOf(move) && node.entries[i].to == SquareOf(move + 2))
                return std::to_string(node.entries[i].ours) + "/" + std::to_string(node.entries[i].theirs);
        return "no entry";
    }
    std::string name_;
};

// Computed by a separate program; books made with other numbers are not understood.
TEST(BookKeys, AreTheNumbersOfTheFormat) {
    EXPECT_EQ(book_keys.half[0][WHITE][0][0], 0x24BB8EB3u);
    EXPECT_EQ(book_keys.half[1][BLACK][7][63], 0x218B9EB8u);
    uint64_t hash = 0xCBF29CE484222325ULL;  // FNV-1a over the tables, little-endian
    for (const auto& half : book_keys.half)
        for (const auto& colour : half)
            for (const auto& type : colour)
                for (const uint32_t number : type)
                    for (int shift = 0; shift < 32; shift += 8)
                        hash = (hash ^ ((number >> shift) & 255)) * 0x100000001B3ULL;
    EXPECT_EQ(hash, 0x3474EFABB3E8F561ULL);
    SetInitialPosition();
    EXPECT_EQ(CurrentBookKey().first, 0xFF74C4D7u);
    EXPECT_EQ(CurrentBookKey().second, 0x15B212AAu);
    thread_board.SideToMove = BLACK;
    EXPECT_EQ(CurrentBookKey().first, 0xFF74C4D7u ^ 0x07D3ADEBu);
    SetInitialPosition();
}

// Among these lines are keys with either sign in either half, so the order of the records counts.
const std::vector<Node> many_nodes = {
    {"", {{"e2e4", 2, 0}}},          {"e2e4", {{"c7c5", 2, 0}}},           {"e2e4 c7c5", {{"g1f3", 2, 0}}},
    {"d2d4", {{"d7d5", 2, 0}}},      {"d2d4 d7d5", {{"c2c4", 2, 0}}},      {"c2c4", {{"e7e5", 2, 0}}},
    {"g1f3", {{"g8f6", 2, 0}}},      {"e2e4 e7e5", {{"g1f3", 2, 0}}},      {"e2e4 e7e6", {{"d2d4", 2, 0}}},
    {"e2e4 c7c6", {{"d2d4", 2, 0}}}, {"e2e4 e7e5 g1f3", {{"b8c6", 2, 0}}}, {"b2b3", {{"e7e5", 2, 0}}},
};

TEST_F(Book, EveryNodeIsFound) {
    EXPECT_EQ(Open(BookBytes(1, many_nodes)), "12 nodes in openings book\n");
    for (const Node& node : many_nodes) {
        SetInitialPosition();
        ASSERT_TRUE(PlayMoves(node.moves));
        EXPECT_EQ(Chosen(), node.entries[0].move) << node.moves;
    }
    for (const char* unknown : {"a2a3", "e2e4 a7a6", "d2d4 g8f6"}) {
        SetInitialPosition();
        PlayMoves(unknown);
        EXPECT_EQ(book_move(), 0u) << unknown;
    }
}

TEST_F(Book, Opening) {
    EXPECT_EQ(Printed([] { open_book("no such book"); }), "Error opening \"no such book\"!\n");
    EXPECT_FALSE(book_loaded);
    EXPECT_EQ(Open(BookBytes(1, {})), "0 nodes in openings book\n");
    EXPECT_TRUE(book_loaded);
    EXPECT_EQ(book_move(), 0u);
    EXPECT_EQ(Open(BookBytes(2, many_nodes)), "Book version 2 not supported\n");
    EXPECT_FALSE(book_loaded);
    EXPECT_EQ(book_move(), 0u);
    std::string other = BookBytes(1, many_nodes);
    other.replace(0, 10, "Some other");  // the magic does not matter
    EXPECT_EQ(Open(other), "12 nodes in openings book\n");
    EXPECT_EQ(Chosen(), "e2e4");
}

// A pipe would keep the program waiting for somebody to write into it.
TEST_F(Book, NamesThatAreNoFiles) {
    const std::string message = "Error opening \"" + name_ + "\"!\n";
    ASSERT_EQ(mkdir(name_.c_str(), 0700), 0);
    EXPECT_EQ(Printed([&] { open_book(name_.c_str()); }), message);
    std::remove(name_.c_str());
    ASSERT_EQ(mkfifo(name_.c_str(), 0600), 0);
    EXPECT_EQ(Printed([&] { open_book(name_.c_str()); }), message);
    EXPECT_EQ(Printed([] { open_book(""); }), "Error opening \"\"!\n");
    EXPECT_FALSE(book_loaded);
}

// The count is a signed number; one that is too high says nothing about where the lists begin.
TEST_F(Book, WrongNodeCounts) {
    for (const int32_t count : {-1, -3, INT32_MIN, INT32_MAX, 13}) {
        std::string bytes = BookBytes(1, many_nodes);
        bytes.replace(32, 4, Word32(uint32_t(count)));
        EXPECT_EQ(Open(bytes), std::to_string(count) + " nodes in openings book\n");
        EXPECT_TRUE(book_loaded);
        for (const Node& node : many_nodes) {
            SetInitialPosition();
            PlayMoves(node.moves);
            const std::string move = Chosen();
            EXPECT_TRUE(move == MoveText(0) || move == node.entries[0].move) << count << ": " << move;
        }
    }
}

// What the search does with the book's squares: special moves are recognised, and what is not
// legal here, as keys know no castling rights and may be equal by chance, is not played.
TEST_F(Book, TheSearchPlaysOnlyLegalMoves) {
    struct Case {
        const char *why, *fen;
        Entry entry;
        const char* played;  // by the book
    };
    const Case cases[] = {
        {"castling", "4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1", {"e1g1", 2, 0}, "e1g1"},
        {"no right to castle", "4k3/8/8/8/8/8/8/R3K2R w Q - 0 1", {"e1g1", 2, 0}, "none"},
        {"en passant", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", {"e5d6", 2, 0}, "e5d6"},
        {"en passant a move too late", "4k3/8/8/3pP3/8/8/8/4K3 w - - 0 1", {"e5d6", 2, 0}, "none"},
        {"promotion", "8/P6k/8/8/8/8/8/4K3 w - - 0 1", {"a7a8", 2, 0}, "a7a8q"},
        {"promotion with capture", "4k3/8/8/8/8/8/p7/1N2K3 b - - 0 1", {"a2b1", 2, 0}, "a2b1q"},
        {"king into check", "4k3/8/8/8/8/8/4r3/4K3 w - - 0 1", {"e1d2", 2, 0}, "none"},
        {"empty square", "4k3/8/8/8/8/8/8/4K2R w - - 0 1", {"a1a2", 2, 0}, "none"},
        {"the enemy's man", "4k3/7p/8/8/8/8/8/4K2R w - - 0 1", {"h7h6", 2, 0}, "none"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        Open(BookBytes(1, {{"", {c.entry}}}, c.fen));
        SetFen(c.fen);
        search_limits.MaxDepth = 1;
        SearchResult result{};
        Printed([&] { result = think(true); });
        EXPECT_EQ(result.from_book ? MoveText(result.best) : "none", c.played);
    }
}

TEST_F(Book, NamesFromAnotherSystem) {
    Open(BookBytes(1, many_nodes));
    const std::filesystem::path path(name_);
    std::string windows = path.parent_path().string() + "\\" + path.filename().string();
    std::transform(windows.begin() + long(path.parent_path().string().size()), windows.end(),
                   windows.begin() + long(path.parent_path().string().size()),
                   [](unsigned char c) { return std::toupper(c); });
    EXPECT_EQ(Printed([&] { open_book(windows.c_str()); }), "12 nodes in openings book\n");
}

TEST_F(Book, Version0) {
    EXPECT_EQ(
        Open(BookBytes(0, {{"", {{"e2e4", 10, 0}, {"d2d4", 255, 0}, {"c2c4", 0, 0}}}, {"e2e4", {{"e7e5", 255, 0}}}})),
        "NG: Book learning not supported for book version 0\n2 nodes in openings book\n");
    EXPECT_EQ(UseBookLearning, 0);
    EXPECT_EQ(UseBookWeights, 0);
    const auto choices = Choices();
    EXPECT_EQ(choices.size(), 2u);
    EXPECT_GT(choices.at("e2e4"), 90);  // the weight only excludes
    EXPECT_GT(choices.at("c2c4"), 90);
    EXPECT_EQ(Printed(list_book_moves), "3 moves from current pos in book:\ne2e4 10\nd2d4 255\nc2c4 0\n");
    PlayMoves("e2e4");
    EXPECT_EQ(book_move(), 0u);
    UseBookLearning = 1;  // as a user could switch it on again
    update_book_move(ResultWon, PackMove(E1, E1, KING));
    SetInitialPosition();
    update_book_move(ResultWon, ParseCoordinate("e2e4"));
    EXPECT_EQ(Printed(list_book_moves), "3 moves from current pos in book:\ne2e4 10\nd2d4 255\nc2c4 0\n");
}

TEST_F(Book, ChoiceByScore) {
    Open(BookBytes(1,
                   {{"", {{"e2e4", 60, 40}, {"d2d4", 55, 45}, {"c2c4", 53, 47}, {"g1f3", 255, 255}, {"b2b3", 0, 0}}}}));
    VarietyOfPlay = 0;
    EXPECT_EQ(Choices(), (std::map<std::string, int>{{"e2e4", 300}}));
    VarietyOfPlay = 10;  // 540 of 1000 points are enough
    const auto some = Choices();
    EXPECT_EQ(some.size(), 2u);
    EXPECT_GT(some.at("d2d4"), 90);
    VarietyOfPlay = 100;
    EXPECT_EQ(Choices().size(), 4u);  // never the excluded one
    UseBookWeights = 0;
    EXPECT_EQ(Choices(), (std::map<std::string, int>{{"e2e4", 300}}));
}

TEST_F(Book, ExcludedFirstMoveWithoutWeights) {
    Open(BookBytes(1, {{"", {{"e2e4", 255, 255}, {"d2d4", 2, 0}}}}));
    UseBookWeights = 0;
    EXPECT_EQ(book_move(), 0u);
}

TEST_F(Book, Discovering) {
    BookLearningMode = DISCOVER;
    Open(BookBytes(1, {{"", {{"e2e4", 10, 0}, {"d2d4", 0, 0}, {"g1f3", 255, 255}}}}));
    EXPECT_EQ(Chosen(), "d2d4") << "the unplayed move";
    Open(BookBytes(1, {{"", {{"e2e4", 2, 2}, {"d2d4", 3, 1}, {"c2c4", 3, 1}, {"g1f3", 4, 2}}}}));
    EXPECT_EQ(Chosen(), "d2d4") << "fewest games, then score, then order";
    Open(BookBytes(1, {{"", {{"e2e4", 255, 255}}}}));
    EXPECT_EQ(book_move(), 0u);
}

TEST_F(Book, Listing) {
    Open(BookBytes(1, {{"", {{"e2e4", 3, 1}, {"d2d4", 0, 0}, {"g1f3", 255, 255}, {"c2c4", 0, 5}}}}));
    EXPECT_EQ(Printed(list_book_moves),
              "4 moves from current pos in book:\ne2e4 75% (not less than 2 game(s))\n"
              "d2d4 ?\ng1f3 -\nc2c4 0% (not less than 2 game(s))\n");
    PlayMoves("e2e4");
    EXPECT_EQ(Printed(list_book_moves), "No moves from current pos in book\n");
}

// A book may be cut anywhere or have any byte wrong: it may lose moves or have senseless ones,
// but says only what books say, and learning never spoils its header and index.
TEST_F(Book, DamagedFiles) {
    const std::string whole = BookBytes(1, {{"", {{"e2e4", 2, 0}, {"d2d4", 2, 0}}}, {"e2e4", {{"c7c5", 2, 0}}}});
    constexpr size_t index_end = 36 + 2 * 12;
    const std::regex messages(
        "Invalid book format\n|Book version -?[0-9]+ not supported\n"
        "|(NG: Book learning not supported for book version 0\n)?-?[0-9]+ nodes in openings book\n");
    search_limits.MaxDepth = 1;
    const auto try_book = [&](const std::string& bytes) {
        SetDefaults();
        ASSERT_TRUE(std::regex_match(Open(bytes), messages));
        ResetBookLearning();
        Printed([] {
            list_book_moves();
            const MoveList legal = LegalMoveList();
            const Move played = think(true).best;
            EXPECT_NE(std::find(legal.begin(), legal.end(), played), legal.end());
        });
        PlayMoves("e2e4 c7c5");
        learn_game(ResultWon);
        SetInitialPosition();
        close_book();
        const std::string after = Bytes();
        EXPECT_EQ(after.size(), bytes.size());
        EXPECT_EQ(after.substr(0, index_end), bytes.substr(0, index_end));
    };
    for (size_t length = 0; length <= whole.size(); ++length) {
        SCOPED_TRACE("cut at " + std::to_string(length));
        try_book(whole.substr(0, length));
    }
    for (size_t at = 0; at < whole.size(); ++at) {
        for (const int flip : {0xFF, 0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80}) {
            SCOPED_TRACE("byte " + std::to_string(at) + " with bits " + std::to_string(flip) + " turned over");
            std::string bytes = whole;
            bytes[at] = char(bytes[at] ^ flip);
            try_book(bytes);
        }
    }
    // Places of the move list: in the header (whose unused word looks like one here), the index,
    // the list before, at and behind the end.
    for (const uint32_t place : {0u, 28u, 36u, 59u, 61u, uint32_t(whole.size()) - 1, uint32_t(whole.size()),
                                 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE("lists at " + std::to_string(place));
        std::string bytes = whole;
        bytes.replace(28, 4, {1, char(SquareOf("e2")), char(SquareOf("e4")), 0});
        for (const size_t record : {36u, 48u}) bytes.replace(record + 8, 4, Word32(place));
        try_book(bytes);
    }
    SetDefaults();
    EXPECT_EQ(Open(whole), "2 nodes in openings book\n");
    EXPECT_EQ(Points("", "e2e4"), "2/0");
}

// ---- Learning ----

const std::vector<Node> learning_book = {
    {"", {{"e2e4", 0, 0}, {"d2d4", 10, 4}}},
    {"e2e4", {{"e7e5", 5, 5}}},
    {"e2e4 e7e5", {{"g1f3", 1, 3}}},
    {"e2e4 e7e5 g1f3", {{"b8c6", 255, 255}}},
};

TEST_F(Book, LearnsTheMovesOfTheSideToMove) {
    struct Case {
        int result;
        const char *first, *third;
    };
    for (const Case& c : {Case{ResultDrawn, "1/1", "2/4"}, {ResultWon, "2/0", "3/3"}, {ResultLost, "0/2", "1/5"}}) {
        Open(BookBytes(1, learning_book));
        ResetBookLearning();
        PlayMoves("e2e4 e7e5 g1f3 b8c6");
        const PositionBytes before = BytesOfPosition();
        EXPECT_TRUE(BookLearningPending());
        learn_game(c.result);
        EXPECT_EQ(BytesOfPosition(), before);
        EXPECT_EQ(history_count, 4);
        EXPECT_EQ(Points("", "e2e4"), c.first);
        EXPECT_EQ(Points("e2e4 e7e5", "g1f3"), c.third);
        EXPECT_EQ(Points("", "d2d4"), "10/4") << "not played";
        EXPECT_EQ(Points("e2e4", "e7e5"), "5/5") << "the other side's";
    }
}

TEST_F(Book, LearnsOncePerGame) {
    Open(BookBytes(1, learning_book));
    PlayMoves("e2e4 e7e5");
    learn_game(ResultWon);
    EXPECT_FALSE(BookLearningPending());
    learn_game(ResultWon);
    EXPECT_EQ(Points("", "e2e4"), "2/0");
    ResetBookLearning();
    PlayMoves("e2e4 e7e5");
    UseBookLearning = 0;
    learn_game(ResultWon);
    EXPECT_EQ(Points("", "e2e4"), "2/0");
}

TEST_F(Book, LearnsForBlackAndLeavesExcludedMoves) {
    Open(BookBytes(1, learning_book));
    PlayMoves("e2e4 e7e5 g1f3 b8c6 f1b5");
    learn_game(ResultLost);
    EXPECT_EQ(Points("e2e4", "e7e5"), "5/7");
    EXPECT_EQ(Points("e2e4 e7e5 g1f3", "b8c6"), "255/255");
    EXPECT_EQ(Points("e2e4 e7e5", "g1f3"), "1/3");
}

// 254 + 2 does not fit: all moves keep two thirds.
TEST_F(Book, FullCounters) {
    Open(BookBytes(1, {{"", {{"e2e4", 254, 31}, {"d2d4", 10, 4}, {"c2c4", 0, 0}, {"g1f3", 255, 255}}}}));
    PlayMoves("e2e4 e7e5");
    learn_game(ResultWon);
    EXPECT_EQ(Points("", "e2e4"), "170/20");
    EXPECT_EQ(Points("", "d2d4"), "6/2");
    EXPECT_EQ(Points("", "c2c4"), "0/0");
    EXPECT_EQ(Points("", "g1f3"), "255/255");
}

TEST_F(Book, WhatIsLearnedIsInTheFile) {
    Open(BookBytes(1, learning_book));
    PlayMoves("e2e4 e7e5");
    learn_game(ResultDrawn);
    close_book();
    Printed([&] { open_book(name_.c_str()); });
    EXPECT_EQ(Points("", "e2e4"), "1/1");
}

}  // namespace
