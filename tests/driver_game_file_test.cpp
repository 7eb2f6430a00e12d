// driver_game_file_test.cpp - the stream of games that the developer commands read: what is passed
// over, where games end, what an error costs. Expected moves and messages are written by hand.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "board/make_move.h"
#include "board/notation.h"
#include "board/position.h"
#include "driver/game_file.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"
#include "tests/support/printed.h"
#include "tests/support/temporary_path.h"

namespace {

class GameFile : public ::testing::Test {
protected:
    void TearDown() override {
        std::remove(name_.c_str());
        ResetEngine();
    }
    // The games of a file of this text: "result: moves | ...".
    std::string Read(const std::string& text) {
        std::ofstream(name_, std::ios::binary) << text;
        EXPECT_TRUE(OpenGameFile(name_.c_str(), [] { return false; }));
        std::string games;
        for (GameTags tags; NextGame(&tags);) {
            games += (games.empty() ? "" : " | ") + std::to_string(tags.result) + ":";
            for (Move move; NextMoveOfGame(&move); MakeMove(move)) games += " " + MoveText(move);
        }
        CloseGameFile();
        return games;
    }
    const std::string name_ = TemporaryPath(".pgn");
};

TEST_F(GameFile, GamesAndErrors) {
    const std::string ending = "[FEN \"4k3/8/8/8/8/8/4P3/4K3 b - - 0 1\"]\n";
    const struct {
        const char* why;
        std::string text, expected;
    } cases[] = {
        {"blank lines only", "\n\r\n \n", ""},
        {"a byte order mark, CR LF, no end of the last line",
         "\xEF\xBB\xBF[Result \"1-0\"]\r\n\r\n1. e4 e5\r\n2. Nf3 1-0", "1: e2e4 e7e5 g1f3"},
        {"two games", "[Result \"0-1\"]\n\n1. d4 0-1\n\n[Result \"1/2-1/2\"]\n\n1. c4", "-1: d2d4 | 0: c2c4"},
        {"games told apart by results", "1.e4 1-0 1.d4 * 1.c4 0-1 1.b3 1/2-1/2 1.a3",
         "2: e2e4 | 2: d2d4 | 2: c2c4 | 2: b2b3 | 2: a2a3"},
        {"a result told twice is no game", "1. e4 1-0 1-0\n\n* 1. d4 0-1 0-1\n\n[Event \"c\"]\n\n1. c4 *\n*\n",
         "2: e2e4 | 2: d2d4 | 2: c2c4"},
        {"no moves", "[Event \"a\"]\n\n*\n\n[Event \"b\"]\n\n1. d4 *", "2: | 2: d2d4"},
        {"no result", "[Event \"a\"]\n[Result \"1-0\"]\n\n[Event \"b\"]\n\n1. d4 *", "1: | 2: d2d4"},
        {"tags in another order", "[Result \"1-0\"]\n[Event \"a\"]\n\n1. d4 *", "1: d2d4"},
        {"tags at the end of the file", "1. e4 *\n[Event \"a\"]\n", "2: e2e4 | 2:"},
        {"comments of both kinds and an escaped line",
         "1. e4 {a (b) ; Nf6} e5 ; no {move\n% neither Nc6\n2. Nf3{stuck}Nc6 *", "2: e2e4 e7e5 g1f3 b8c6"},
        {"variations in variations, with comments that hold brackets",
         "1. e4 (1. d4 d5 (1... Nf6 {)} 2. c4) 2. c4) 1... e5 *", "2: e2e4 e7e5"},
        {"glyphs", "1. e4 $1 e5!? $146 2. Nf3!!+- Nc6?$6 3. Bb5 ?! *", "2: e2e4 e7e5 g1f3 b8c6 f1b5"},
        {"odd numbers", "1.e4 1...e5 199. Nf3 12345678901234567890. Nc6 2) d3 *", "2: e2e4 e7e5 g1f3 b8c6 d2d3"},
        {"castling in letters and zeros, check", "1. e4 e5 2. Nf3 Nf6 3. Bc4 Bc5 4. O-O 0-0 5. Bxf7+ *",
         "2: e2e4 e7e5 g1f3 g8f6 f1c4 f8c5 e1g1 e8g8 c4f7"},
        {"a pawn's letter; en passant signs stuck and apart, with and without points",
         "1. Pe4 a6 2. e5 d5 3. exd6 e.p. b5 4. d4 b4 5. c4 bxc3ep 6. h4 h6 7. h5 g5 8. hxg6 ep+ f6 *",
         "2: e2e4 a7a6 e4e5 d7d5 e5d6 b7b5 d2d4 b5b4 c2c4 b4c3 h2h4 h7h6 h4h5 g7g5 h5g6 f7f6"},
        {"a start position, and the usual one again", ending + "\n1... Kd7 *\n\n1. e4 *", "2: e8d7 | 2: e2e4"},
        {"a tag that begins alike", "[FENX \"8/8/8/8/8/8/8/8 w\"]\n\n1. e4 *", "2: e2e4"},
        {"blanks in tags, or none",
         "[ Event\t\"a\"]\n[Result\"1-0\" ]\n[\tFEN\n" + ending.substr(4) + "\n1... Kd7 *\n[Event\"b\"]\n1. d4 *",
         "1: e8d7 | 2: d2d4"},
        {"a tag without a value, then moves", "[Event\n1. e4 *", "2: e2e4"},
        {"several tags in a line", "[Event \"a\"] [Result \"0-1\"]\n\n1. e4 0-1", "-1: e2e4"},
        {"notes among the moves", "1. e4 [%clk 1:00] e5 [a\n[b] 2. Nf3 [x\n\n[Event \"b\"]\n\n1. d4[Nf6]d5 *",
         "2: e2e4 e7e5 g1f3 | 2: d2d4 d7d5"},
        {"a word that begins like a move", "1. e4 ; ok\n\nBest: a---... 2. Nf3", "2: e2e4\nCan't recognize: Be...\n"},
        {"the rest of this game only", "1. e4 e5 2. Ke3 Nf6 3. d4 {x} (3. d3) 1-0\n\n1. d4 *",
         "2: e2e4 e7e5 | 2: d2d4\nCan't recognize: Ke3...\n"},
        {"an ambiguous move counts and is the last", "1. Nf3 d5 2. d3 h6 3. Nd2 h5 *\n1. e4 *",
         "2: g1f3 d7d5 d2d3 h7h6 f3d2 | 2: e2e4\nAmbigous move: Nd2...\n"},
        {"letters of another language", "1. Sf3 d5 *\n1. e4 *", "2: | 2: e2e4\nCan't recognize: Sf3...\n"},
        {"cannot be played", "[FEN \"8/8/8/8/8/8/8/8 w - - 0 1\"]\n\n1. e4 e5 *\n1. e4 *",
         "2: | 2: e2e4\nCan't recognize: e4...\n"},
        {"a comment without end costs one game", "1. e4 { oops [Eve e5 2. Nf3\n[Event] } {\n\n[Event \"b\"]\n\n1. d4 *",
         "2: e2e4 | 2: d2d4"},
        {"a variation likewise", "1. e4 ( oops e5 2. Nf3\n\n[Event \"b\"]\n[Result \"1-0\"]\n\n1. d4 *",
         "2: e2e4 | 1: d2d4"},
        {"a tag without end", "[Event \"oops\n[Result \"1-0\n\n1. d4 *", "1: d2d4"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        std::string games;
        const std::string printed = Printed([&] { games = Read(c.text); });
        EXPECT_EQ(games + printed, c.expected);
    }
}

// A file of nothing but a comment would keep the command from its input for ever.
TEST_F(GameFile, SkippingCanBeInterrupted) {
    std::ofstream(name_) << "1. e4 e5 *\n{" + std::string(8 << 20, 'x');
    static int asked;
    asked = 0;
    ASSERT_TRUE(OpenGameFile(name_.c_str(), [] { return ++asked == 3; }));
    GameTags tags;
    EXPECT_TRUE(NextGame(&tags));
    EXPECT_FALSE(GameFileInterrupted());
    EXPECT_FALSE(NextGame(&tags));
    EXPECT_TRUE(GameFileInterrupted());
    EXPECT_EQ(asked, 3);
    CloseGameFile();
}

// Whatever bytes there are, the reader comes to an end and finds the last game. Words of move letters
// are short here: long ones end the program.
TEST_F(GameFile, JunkIsReadToItsEnd) {
    const std::string pieces[] = {"[Event \"", "[FEN \"", "\"]", "{",   "}",  "(",    ")",    ";",   "%",  "$",   "e4 ",
                                  "Nf3",       "1-0",     "0-0", "1. ", "*",  "\r",   "\xff", "P",   "x ", "[",   "]",
                                  "Zz ",       "-",       "/",   "\n",  "e5", " d4 ", "d5 ",  "Nc6", " ",  "\n\n"};
    TestRandom random{1};
    for (int round = 0; round < 300; ++round) {
        std::string text;
        for (int i = 0; i < 300; ++i) text += pieces[random.Below(std::size(pieces))] + (i % 3 == 2 ? " " : "");
        Printed([&] { Read(text + "\n[Event \"first\"]\n\n1. a3 *\n\n[Event \"last\"]\n\n1. a4 *"); });
        EXPECT_EQ(WriteFen().substr(0, 27), "rnbqkbnr/pppppppp/8/8/P7/8/") << text;
    }
}

}  // namespace
