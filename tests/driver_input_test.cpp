// driver_input_test.cpp - bytes to lines: what a pipe can do to a line on its way.
//
// Standard input is a pipe of the test's own for the time of each test.
#include <gtest/gtest.h>

#ifndef _WIN32
#include <unistd.h>

#include <string>
#include <vector>

#include "driver/input.h"

namespace {

class InputLines : public ::testing::Test {
protected:
    void SetUp() override {
        saved_ = dup(STDIN_FILENO);
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        write_end_ = ends[1];
    }
    void TearDown() override {
        while (NextLine()) {}
        dup2(saved_, STDIN_FILENO);
        close(saved_);
        if (write_end_ >= 0) close(write_end_);
    }
    // Writes a piece, reads what is there, and returns the lines that are complete by then.
    std::vector<std::string> Arrive(const std::string& bytes) {
        std::vector<std::string> lines;
        size_t done = 0;
        while (done < bytes.size()) {
            const size_t piece = std::min<size_t>(bytes.size() - done, 3000);
            EXPECT_EQ(write(write_end_, bytes.data() + done, piece), ssize_t(piece));
            done += piece;
            while (input_available() && !LineBuffered()) EXPECT_TRUE(read_input());
            while (CutLine()) {
                lines.push_back(command_line);
                while (!LineBuffered() && input_available()) EXPECT_TRUE(read_input());
            }
        }
        return lines;
    }
    using List = std::vector<std::string>;
    int saved_ = -1, write_end_ = -1;
};

TEST_F(InputLines, PiecesOfLines) {
    EXPECT_EQ(Arrive("isre"), List{});
    EXPECT_EQ(Arrive("ady\nuci\ngo "), (List{"isready", "uci"}));
    EXPECT_EQ(Arrive("infinite\n\n"), (List{"go infinite", ""}));
}

TEST_F(InputLines, WhatIsNoPrintableCharacter) {
    EXPECT_EQ(Arrive("quit\r\n"), List{"quit "});
    EXPECT_EQ(command_line_returns, 1);
    EXPECT_EQ(Arrive("a\tb\n"), List{"a b"});
    EXPECT_EQ(Arrive(std::string("st\0op\n", 6)), List{"st op"});
    EXPECT_EQ(Arrive("\xff\xfe\n"), List{"\xff\xfe"});
}

// The buffer for bytes not yet cut holds 4608 of them; every length around its end and that of
// one read matters.
TEST_F(InputLines, LinesAroundTheSizeOfTheBuffer) {
    for (const size_t length : {4095u, 4096u, 4097u, 4607u, 4608u, 4609u, 9216u, 9217u, 65534u, 65535u}) {
        const std::string line(length, 'x');
        EXPECT_EQ(Arrive(line + "\nshort\n"), (List{line, "short"})) << length;
    }
}

// Half of a line that is too long may mean something else than the whole.
TEST_F(InputLines, LinesTooLongAreDroppedWhole) {
    for (const size_t length : {65536u, 65537u, 200000u})
        EXPECT_EQ(Arrive(std::string(length, 'q') + "\nshort\n"), (List{"", "short"})) << length;
}

TEST_F(InputLines, HeldLinesComeFirstAndInOrder) {
    Arrive("first \r\n");
    ASSERT_TRUE(HoldCommandLine());
    Arrive("second\n");
    ASSERT_TRUE(HoldCommandLine());
    ASSERT_EQ(write(write_end_, "third\n", 6), 6);
    ASSERT_TRUE(read_input());
    List lines;
    while (NextLine()) lines.push_back(command_line);
    EXPECT_EQ(lines, (List{"first  ", "second", "third"}));
}

TEST_F(InputLines, RoomToHoldMeansAnyLineFits) {
    const std::string longest(CommandLineSize - 1, 'x');
    int held = 0;
    for (; RoomToHold() && held < 100; ++held) {
        ASSERT_EQ(Arrive(longest + "\n").size(), 1u);
        ASSERT_TRUE(HoldCommandLine());
    }
    EXPECT_GT(held, 1);
    EXPECT_LT(held, 100);
    for (int i = 0; i < held; ++i) {
        ASSERT_TRUE(NextLine());
        EXPECT_EQ(std::string(command_line), longest);
    }
    EXPECT_FALSE(LinesHeld());
}

TEST_F(InputLines, EndOfInput) {
    Arrive("isready\nhalf");
    close(write_end_);
    write_end_ = -1;
    EXPECT_NE(input_available(), 0);  // so that the end is found
    EXPECT_FALSE(read_input());
    EXPECT_TRUE(input_ended);
    EXPECT_EQ(input_available(), 0);  // and reported once
    EXPECT_FALSE(CutLine());
    input_ended = false;
}

}  // namespace
#endif
