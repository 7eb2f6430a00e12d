// book_test.cpp - the opening book: reading files sound and damaged, choosing, learning.
//
// Books are written byte by byte here, from the layout alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "board/console.h"
#include "board/random.h"
#include "board/settings.h"
#include "book/book.h"
#include "book/book_file.h"
#include "book/book_keys.h"
#include "book/book_learning.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"

namespace {

struct Entry {
    const char* move;
    int ours, theirs;  // version 0: weight, nothing
};
struct Node {
    const char* moves;  // from the start position
    std::vector<Entry> entries;
};

std::string Word32(uint32_t v) { return {char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; }

int SquareOf(const char* text) { return (text[0] - 'a') + 8 * (text[1] - '1'); }

std::string BookBytes(uint32_t version, const std::vector<Node>& nodes) {
    std::vector<std::pair<std::pair<int32_t, int32_t>, const Node*>> sorted;
    for (const Node& node : nodes) {
        SetInitialPosition();
        PlayMoves(node.moves);
        const BookKey key = CurrentBookKey();
        sorted.push_back({{int32_t(key.first), int32_t(key.second)}, &node});
    }
    SetInitialPosition();
    std::sort(sorted.begin(), sorted.end());
    std::string records, lists;
    const size_t lists_at = 36 + 12 * nodes.size();
    for (const auto& [key, node] : sorted) {
        records +=
            Word32(uint32_t(key.first)) + Word32(uint32_t(key.second)) + Word32(uint32_t(lists_at + lists.size()));
        lists += char(node->entries.size());
        for (const Entry& e : node->entries) {
            lists += char(SquareOf(e.move));
            lists += char(SquareOf(e.move + 2));
            lists += char(e.ours);
            if (version != 0) lists += char(e.theirs);
        }
    }
    return "~Corvantis openings book" + Word32(version) + Word32(0xABCDEF01) + Word32(uint32_t(nodes.size())) + records
        + lists;
}

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

// A book may be cut anywhere or have any byte wrong: it may lose moves, never more.
TEST_F(Book, DamagedFiles) {
    const std::string whole = BookBytes(1, {{"", {{"e2e4", 2, 0}, {"d2d4", 2, 0}}}, {"e2e4", {{"c7c5", 2, 0}}}});
    Printed([&] {
        for (size_t length = 0; length < whole.size(); ++length) {
            OpenAloud(whole.substr(0, length));
            book_move();
            list_book_moves();
        }
        TestRandom random{7};
        for (int i = 0; i < 1000; ++i) {
            std::string bytes = whole;
            bytes[24 + size_t(random.Below(int(whole.size()) - 24))] = char(random.Below(256));
            OpenAloud(bytes);
            ResetBookLearning();
            book_move();
            PlayMoves("e2e4 c7c5");
            learn_game(ResultWon);
            SetInitialPosition();
        }
    });
    SetDefaults();
    EXPECT_EQ(Open(whole), "2 nodes in openings book\n");
    EXPECT_NE(book_move(), 0u);
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
