// driver_game_file_test.cpp - the stream of games that the developer commands read: what is passed
// over, where games end, what an error costs. Expected moves and messages are written by hand.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "board/console.h"
#include "board/make_move.h"
#include "board/notation.h"
#include "board/position.h"
#include "driver/game_file.h"
#include "tests/support/engine_environment.h"
#include "tests/support/temporary_path.h"

namespace {

constexpr const char* PawnEnding = "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1";

class GameFile : public ::testing::Test {
protected:
    void TearDown() override {
        std::remove(name_.c_str());
        ResetEngine();
    }
    // The games of a file of this text: "result: moves | ...", and what was printed.
    std::string Read(const std::string& text, std::string* printed) {
        std::ofstream(name_, std::ios::binary) << text;
        Flush();
        ::testing::internal::CaptureStdout();
        EXPECT_TRUE(OpenGameFile(name_.c_str(), [] { return false; }));
        std::string games;
        for (GameTags tags; NextGame(&tags);) {
            games += (games.empty() ? "" : " | ") + std::to_string(tags.result) + ":";
            for (Move move; NextMoveOfGame(&move); MakeMove(move)) games += " " + MoveText(move);
        }
        CloseGameFile();
        Flush();
        *printed = ::testing::internal::GetCapturedStdout();
        return games;
    }
    const std::string name_ = TemporaryPath(".pgn");
};

TEST_F(GameFile, GamesAndErrors) {
    const std::string fen_tag = std::string("[SetUp \"1\"]\n[FEN \"") + PawnEnding + "\"]\n";
    struct Case {
        const char* why;
        std::string text, games, printed;
    };
    const Case cases[] = {
        {"an empty file", "", "", ""},
        {"blank lines only", "\n\r\n \n", "", ""},
        {"tags, numbers, a result", "[Event \"x\"]\n[Result \"1-0\"]\n\n1. e4 e5 2. Nf3 1-0\n", "1: e2e4 e7e5 g1f3",
         ""},
        {"two games, other results", "[Result \"0-1\"]\n\n1. d4 0-1\n\n[Result \"1/2-1/2\"]\n\n1. c4 1/2-1/2\n",
         "-1: d2d4 | 0: c2c4", ""},
        {"no tags at all, games told apart by results", "1.e4 1-0 1.d4 * 1.c4 0-1 1.b3 1/2-1/2 1.a3",
         "2: e2e4 | 2: d2d4 | 2: c2c4 | 2: b2b3 | 2: a2a3", ""},
        {"a result told twice is no game", "1. e4 1-0 1-0\n\n* 1. d4 0-1 0-1\n\n[Event \"c\"]\n\n1. c4 *\n*\n",
         "2: e2e4 | 2: d2d4 | 2: c2c4", ""},
        {"no result before the next tags", "[Event \"a\"]\n\n1. e4\n\n[Event \"b\"]\n\n1. d4", "2: e2e4 | 2: d2d4", ""},
        {"a game without moves", "[Event \"a\"]\n\n*\n\n[Event \"b\"]\n\n1. d4 *", "2: | 2: d2d4", ""},
        {"not even a result", "[Event \"a\"]\n[Result \"1-0\"]\n\n[Event \"b\"]\n\n1. d4 *", "1: | 2: d2d4", ""},
        {"tags in another order", "[Result \"1-0\"]\n[Event \"a\"]\n\n1. d4 *", "1: d2d4", ""},
        {"tags at the end of the file", "1. e4 *\n[Event \"a\"]\n", "2: e2e4 | 2:", ""},
        {"CR LF, and no end of the last line", "[Result \"1-0\"]\r\n\r\n1. e4 e5\r\n2. Nf3 1-0", "1: e2e4 e7e5 g1f3",
         ""},
        {"a byte order mark", "\xEF\xBB\xBF[Result \"1-0\"]\n\n1. e4 1-0", "1: e2e4", ""},
        {"comments of both kinds and an escaped line",
         "1. e4 {a (b) ; Nf6} e5 ; no {move\n% neither Nc6\n2. Nf3{stuck}Nc6 *", "2: e2e4 e7e5 g1f3 b8c6", ""},
        {"variations in variations, with comments that hold brackets",
         "1. e4 (1. d4 d5 (1... Nf6 {)} 2. c4) 2. c4) 1... e5 *", "2: e2e4 e7e5", ""},
        {"numeric and other glyphs", "1. e4 $1 e5!? $146 2. Nf3!!+- Nc6?$6 3. Bb5 ?! *", "2: e2e4 e7e5 g1f3 b8c6 f1b5",
         ""},
        {"numbers that stick, are large or are odd", "1.e4 1...e5 199. Nf3 12345678901234567890. Nc6 2) Bb5 *",
         "2: e2e4 e7e5 g1f3 b8c6 f1b5", ""},
        {"castling in letters and zeros, check and mate signs",
         "1. e4 e5 2. Nf3 Nf6 3. Bc4 Bc5 4. O-O 0-0 5. Bxf7+ Kh8 *",
         "2: e2e4 e7e5 g1f3 g8f6 f1c4 f8c5 e1g1 e8g8 c4f7 g8h8", ""},
        {"en passant signs stuck to the move, with and without points",
         "1. e4 a6 2. e5 d5 3. exd6e.p. b5 4. d4 b4 5. c4 bxc3ep 6. bxc3 f6 7. h4 f5 8. h5 g5 9. hxg6 ep+ h6 "
         "10. g4 h5 11. g5 f4 *",
         "2: e2e4 a7a6 e4e5 d7d5 e5d6 b7b5 d2d4 b5b4 c2c4 b4c3 b2c3 f7f6 h2h4 f6f5 h4h5 g7g5 h5g6 h7h6 g2g4 h6h5 "
         "g4g5 f5f4",
         ""},
        {"a pawn's letter; en passant as it was once written", "1. Pe4 a6 2. e5 d5 3. exd6 e.p. h6 *",
         "2: e2e4 a7a6 e4e5 d7d5 e5d6 h7h6", ""},
        {"a start position, and the usual one again", fen_tag + "\n1... Kd7 2. Kd2 *\n\n1. e4 *",
         "2: e8d7 e1d2 | 2: e2e4", ""},
        {"a tag of another name that begins alike", "[FENX \"8/8/8/8/8/8/8/8 w\"]\n\n1. e4 *", "2: e2e4", ""},
        {"blanks around names and values of tags, or none",
         std::string("[ Event\t\"a\"]\n[Result\"1-0\" ]\n[\tFEN\n \"") + PawnEnding
             + "\" ]\n\n1... Kd7 *\n[Event\"b\"]\n1. d4 *",
         "1: e8d7 | 2: d2d4", ""},
        {"a tag without a value, then moves", "[Event\n1. e4 *", "2: e2e4", ""},
        {"several tags in a line", "[Event \"a\"] [Result \"0-1\"]\n\n1. e4 0-1", "-1: e2e4", ""},
        {"notes in brackets among the moves",
         "1. e4 [%clk 1:00] e5 [a\n[b] 2. Nf3 [x\n\n[Event \"b\"]\n\n1. d4[Nf6]d5 *",
         "2: e2e4 e7e5 g1f3 | 2: d2d4 d7d5", ""},
        {"a word that begins like a move, behind a comment", "1. e4 ; ok\n\nBest: a---... 2. Nf3", "2: e2e4",
         "\nCan't recognize: Be...\n"},
        {"unknown move: the rest of this game only", "1. e4 e5 2. Ke3 Nf6 3. d4 {x} (3. d3) 1-0\n\n1. d4 *",
         "2: e2e4 e7e5 | 2: d2d4", "\nCan't recognize: Ke3...\n"},
        {"an ambiguous move counts and is the last", "1. Nf3 d5 2. g3 g6 3. d3 h6 4. Nd2 h5 *\n1. e4 *",
         "2: g1f3 d7d5 g2g3 g7g6 d2d3 h7h6 f3d2 | 2: e2e4", "\nAmbigous move: Nd2...\n"},
        {"letters of another language", "1. Sf3 d5 *\n1. e4 *", "2: | 2: e2e4", "\nCan't recognize: Sf3...\n"},
        {"a move after mate", "1. f3 e5 2. g4 Qh4 3. a3 *\n1. e4 *", "2: f2f3 e7e5 g2g4 d8h4 | 2: e2e4",
         "\nCan't recognize: a3...\n"},
        {"a start position that cannot be played", "[FEN \"8/8/8/8/8/8/8/8 w - - 0 1\"]\n\n1. e4 e5 *\n1. e4 *",
         "2: | 2: e2e4", "\nCan't recognize: e4...\n"},
        {"a comment without end costs one game", "1. e4 { oops [Eve e5 2. Nf3\n[Event] } {\n\n[Event \"b\"]\n\n1. d4 *",
         "2: e2e4 | 2: d2d4", ""},
        {"a variation without end likewise", "1. e4 ( oops e5 2. Nf3\n\n[Event \"b\"]\n[Result \"1-0\"]\n\n1. d4 *",
         "2: e2e4 | 1: d2d4", ""},
        {"a tag without end", "[Event \"oops\n[Result \"1-0\n\n1. d4 *", "1: d2d4", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        std::string printed;
        EXPECT_EQ(Read(c.text, &printed), c.games);
        EXPECT_EQ(printed, c.printed);
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

// Whatever bytes there are, the reader comes to an end, and only by its own move rules. Words of move
// letters are short here: long ones end the program.
TEST_F(GameFile, JunkIsReadToItsEnd) {
    const char* const pieces[] = {"[Event \"", "[FEN \"", "\"]", "\n",  "{",   "}",   "(",  ")",  ";",  "%",
                                  "$",         "e4",      " ",   "Nf3", "1-0", "0-0", "1.", "*",  "\r", "\xff",
                                  "P",         "x ",      "e5 ", "d4 ", "d5 ", "[",   "]",  "Zz", "-",  "/"};
    uint32_t random = 1;
    for (int round = 0; round < 300; ++round) {
        std::string text, printed;
        for (int i = 0; i < 300; ++i) {
            random = random * 1664525 + 1013904223;
            text += pieces[(random >> 16) % std::size(pieces)];
            // Never more than a few move letters in a row.
            if (i % 3 == 2) text += (random >> 8) % 2 ? ' ' : '\0';
        }
        Read(text + "\n[Event \"first\"]\n\n1. a3 *\n\n[Event \"last\"]\n\n1. a4 *", &printed);
        EXPECT_EQ(WriteFen().substr(0, 27), "rnbqkbnr/pppppppp/8/8/P7/8/") << text;
    }
}

}  // namespace
