// driver_learning_test.cpp - when a game is learned, for whom and with which result, and which
// searched positions are.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "board/settings.h"
#include "book/book.h"
#include "book/learning_file.h"
#include "driver/commands.h"
#include "driver/input.h"
#include "driver/words.h"
#include "tests/support/board_helpers.h"
#include "tests/support/book_bytes.h"
#include "tests/support/engine_environment.h"
#include "tests/support/printed.h"
#include "tests/support/temporary_path.h"
#include "tools/common/text.h"

namespace {

class Learning : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(AllocateWords());
        std::remove(file_.c_str());
        Restart();
    }
    void TearDown() override {
        close_book();
        CloseLearning();
        std::remove(file_.c_str());
        Restart();
    }
    static void Restart() {
        ResetEngine();
        PonderSwitch = 0;
        Execute("xboard");
        Execute("new");
    }
    static void Execute(const std::string& line) {
        std::strcpy(command_line, line.c_str());
        command_line_returns = 0;
        execute_line();
    }
    static void ExecuteAll(const std::string& lines) {
        Printed([&] {
            for (const std::string& line : Split(lines, '|')) Execute(line);
        });
    }
    const std::string file_ = TemporaryPath(".learning");
};

const std::vector<Node> unplayed = {
    {"", {{"f2f3", 0, 0}, {"g1f3", 0, 0}, {"e2e4", 0, 0}}},
    {"f2f3", {{"e7e5", 0, 0}}},
    {"f2f3 e7e5", {{"g2g4", 0, 0}}},
    {"f2f3 e7e5 g2g4", {{"d8h4", 0, 0}}},
    {"g1f3", {{"g8f6", 0, 0}}},
    {"e2e4", {{"d7d5", 0, 0}, {"e7e5", 0, 0}}},
    {"e2e4 d7d5", {{"d1g4", 0, 0}}},
    {"e2e4 d7d5 d1g4", {{"c8g4", 0, 0}}},
    {"e2e4 e7e5", {{"d1h5", 0, 0}}},
    {"e2e4 e7e5 d1h5", {{"e8e7", 0, 0}}},
};

TEST_F(Learning, OfGames) {
    const struct {
        const char* why;
        bool by_score;  // a score of 400 decides the game
        const char *lines, *points;
    } cases[] = {
        {"the engine is mated", false, "force|f2f3|e7e5|g2g4|black|d8h4", "f2f3 0/2 g2g4 0/2 "},
        {"the engine mates", false, "force|f2f3|e7e5|g2g4|go", "e7e5 2/0 "},
        {"a repetition", false, "force|g1f3|g8f6|f3g1|f6g8|g1f3|g8f6|f3g1|black|f6g8", "g1f3 2/2 "},
        {"mated in UCI", false, "uci|position startpos moves f2f3 e7e5 g2g4 d8h4|go depth 3", "f2f3 0/2 g2g4 0/2 "},
        {"of analysis nothing", false,
         "uci|position startpos moves f2f3 e7e5 g2g4 d8h4|go infinite|stop|position startpos moves e2e4 e7e5|"
         "go depth 3|ucinewgame",
         ""},
        {"a won score", true, "force|e2e4|e7e5|d1h5|e8e7|go", "e2e4 2/0 d1h5 2/0 "},
        {"a lost score", true, "force|e2e4|d7d5|d1g4|c8g4|go", "e2e4 0/2 d1g4 0/2 "},
        {"Black's", true, "uci|position startpos moves e2e4 d7d5 d1g4 d8d6 g4c8|go depth 3", "d7d5 0/2 "},
        {"not lost enough", false, "force|e2e4|d7d5|d1g4|c8g4|go", ""},
        {"the front end ends the game", false, "force|e2e4|e7e5|go|reset", "e2e4 1/1 "},
        {"the engine's last move does not count", false, "uci|position startpos moves e2e4|go depth 3|ucinewgame", ""},
        {"a UCI game ends", false, "uci|position startpos moves e2e4 e7e5|go depth 3|ucinewgame", "e2e4 1/1 "},
        {"by the opponent's move", false, "force|e2e4|e7e5|go|force|b8c6|reset", ""},
        {"once a game", true, "force|e2e4|d7d5|d1g4|c8g4|go|reset", "e2e4 0/2 d1g4 0/2 "},
        {"and in the next again", true, "force|e2e4|d7d5|d1g4|c8g4|go|new|sd 3|force|e2e4|d7d5|d1g4|c8g4|go",
         "e2e4 0/4 d1g4 0/4 "},
    };
    const std::string book = BookBytes(1, unplayed);
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.why) + ": " + c.lines);
        close_book();
        std::remove(file_.c_str());
        std::ofstream(file_, std::ios::binary) << book;
        Restart();
        BookLearningBound = c.by_score ? 400 : 32767;
        OwnBook = 0;
        ExecuteAll("setoption name OpeningsBook value " + file_ + "|sd 3|" + c.lines);
        EXPECT_EQ(MovesWithPoints(unplayed), c.points);
    }
}

TEST_F(Learning, OfPositions) {
    // Nobody can move a pawn, so that nine plies take no time.
    const char* const quick = "1k3r2/2nnr3/1p1p1p1p/p1p1p1p1/P1P1P1P1/1P1P1P1P/K3R3/2NR2N1 w - - 0 1";
    const char* const few_black = "1k3r2/2nn4/1p1p1p1p/p1p1p1p1/P1P1P1P1/1P1P1P1P/K3R3/2NR2N1 w - - 0 1";
    const char* const few_white = "1k3r2/2nnr3/1p1p1p1p/p1p1p1p1/P1P1P1P1/1P1P1P1P/K3R3/2N3N1 w - - 0 1";
    const struct {
        const char *why, *fen, *line;
        bool learned;
    } cases[] = {
        {"a real search", quick, "go depth 9", true},
        {"too shallow by a ply", quick, "go depth 8", false},
        {"not all moves", quick, "go depth 9 searchmoves a2b1", false},
        {"Black has few men", few_black, "go depth 9", false},
        {"White has few men", few_white, "go depth 9", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Restart();
        UseLearning = 1;
        std::remove(file_.c_str());
        load_learning(file_.c_str());
        ExecuteAll(std::string("uci|position fen ") + c.fen + '|' + c.line + "|ucinewgame");
        SetFen(c.fen);
        int score;
        EXPECT_EQ(LookUpLearned(32, &score), c.learned);  // quarter plies
        EXPECT_FALSE(LookUpLearned(33, &score));
    }
}

}  // namespace
