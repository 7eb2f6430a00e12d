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
    using List = std::vector<std::string>;
    // Writes a piece, reads what is there, and returns the lines that are complete by then.
    List Arrive(const std::string& bytes) {
        List lines;
        for (size_t done = 0; done < bytes.size(); done += 3000) {
            const size_t piece = std::min<size_t>(bytes.size() - done, 3000);
            EXPECT_EQ(write(write_end_, bytes.data() + done, piece), ssize_t(piece));
            do {
                while (input_available() && !LineBuffered()) EXPECT_TRUE(read_input());
                if (CutLine()) lines.push_back(command_line);
            } while (LineBuffered() || input_available());
        }
        return lines;
    }
    static List Waiting() {
        List lines;
        while (NextLine()) lines.push_back(command_line);
        return lines;
    }
    int saved_ = -1, write_end_ = -1;
};

TEST_F(InputLines, PiecesOfLinesAndOtherCharacters) {
    const struct {
        std::string bytes;
        List lines;
    } cases[] = {
        {"isre", {}},
        {"ady\nuci\ngo ", {"isready", "uci"}},
        {"infinite\n\n", {"go infinite", ""}},
        {"a\tb\n", {"a b"}},
        {std::string("st\0op\n", 6), {"st op"}},
        {"\xff\xfe\n", {"\xff\xfe"}},
        {"quit\r\n", {"quit "}},
    };
    for (const auto& c : cases) EXPECT_EQ(Arrive(c.bytes), c.lines) << c.bytes;
    EXPECT_EQ(command_line_returns, 1);
}

// The buffer for bytes not yet cut holds 4608 of them; every length around its end and that of
// one read matters.
TEST_F(InputLines, LinesAroundTheSizeOfTheBuffer) {
    for (const size_t length : {4095u, 4096u, 4097u, 4607u, 4608u, 4609u, 9216u, 9217u, 65534u, 65535u}) {
        const std::string line(length, 'x');
        EXPECT_EQ(Arrive(line + "\nshort\n"), (List{line, "short"})) << length;
    }
    // Half of a line that is too long may mean something else than the whole.
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
    EXPECT_EQ(Waiting(), (List{"first  ", "second", "third"}));
}

TEST_F(InputLines, RoomToHoldMeansAnyLineFits) {
    const std::string longest(CommandLineSize - 1, 'x');
    List lines;
    while (RoomToHold() && lines.size() < 100) {
        ASSERT_EQ(Arrive(longest + "\n"), List{longest});
        ASSERT_TRUE(HoldCommandLine());
        lines.push_back(longest);
    }
    EXPECT_GT(lines.size(), 1u);
    EXPECT_LT(lines.size(), 100u);
    EXPECT_EQ(Waiting(), lines);
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
