// protocol_console_test.cpp - what a person at the console sees: listings, set-up, counts.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "tests/support/dialogue.h"

namespace {

const std::vector<std::string> help_before_pause = {
    "Corvantis commands:",
    "------------------------------------------------------------------------------",
    "analyze ................... Enters analyze mode",
    "black ..................... Sets black to move and engine side to white",
    "brd ....................... Prints a board",
    "bkm ....................... Prints book moves for current position",
    "easy ...................... Toggles pondering off",
    "edit ...................... Edit board position",
    "egtbstat .................. Displays current EGTB status",
    "epdevl <f> ................ Produces static evaluations for EPD-file <f>",
    "evl ....................... Shows static evaluation for current position",
    "force ..................... Toggles autoplay off",
    "go ........................ Starts search",
    "hard ...................... Toggles pondering on",
    "help ...................... Displays this help",
    "level <m> <t> <i> ......... Sets ICS time controls",
    "loadfen <e> ............... Sets FEN-position <e>",
    "moves ..................... Displays all legal moves with ranking priorities",
    "mvd ....................... Shows position flags",
    "new ....................... Starts a new game",
    "nopost .................... Toggles silent mode on",
    "",
};
// The last line of the first part has no line end: the rest follows it after the pause.
const char* const help_pause = "Press <enter> to continue....";
const std::vector<std::string> help_after_pause = {
    "perft <d> ................. Tests the move generator/make_move with depth <d>",
    "post ...................... Toggles silent mode off",
    "q[uit] .................... Exits Corvantis",
    "remove .................... Un-makes last moves of each side",
    "sd <d> .................... Sets max search depth to <d>",
    "st <t> .................... Sets max search time to <t>",
    "time <t> .................. Sets remaining game time in milliseconds to <t>",
    "uci ....................... UCI mode",
    "undo ...................... Un-makes last move of one side",
    "white ..................... Sets white to move and engine side to black",
};

}  // namespace

TEST(Console, HelpPausesForOneLine) {
    EngineProcess engine;
    engine.Start();
    engine.Send("help");
    // During the pause nothing but the next line counts, whatever it says.
    EXPECT_EQ(engine.Collect(300), help_before_pause);
    engine.Send("quit");
    std::vector<std::string> lines = engine.Sync();
    // The pause's text has no line end of its own; it gets the one printed after the pause.
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], help_pause);
    lines.erase(lines.begin());
    EXPECT_EQ(lines, help_after_pause);
}

TEST(Console, HelpEndsAtEndOfInput) {
    EngineProcess engine;
    engine.Start();
    engine.Send("help");
    engine.CloseInput();
    EXPECT_NE(engine.WaitForMatch("white \\.+ .*", 3000), "");
}

TEST(Console, LegalMovesWithPriorities) {
    EngineProcess engine;
    engine.Start();
    engine.Send("moves");
    const std::vector<std::string> lines = engine.Sync();
    ASSERT_EQ(lines.size(), 2u) << engine.Transcript();
    EXPECT_EQ(lines[0], "-------------- Legal moves: ----------------");
    EXPECT_TRUE(std::regex_match(lines[1], std::regex("([a-h][1-8][a-h][1-8] \\(-?\\d+\\); ){20}"))) << lines[1];
}

TEST(Console, PrioritiesPutWinningCapturesFirst) {
    EngineProcess engine;
    engine.Start();
    engine.Send("loadfen 4k3/8/8/3q4/4P3/8/8/4K3 w - - 0 1");
    const std::vector<std::string> moves = LegalMoves(engine);
    ASSERT_FALSE(moves.empty());
    EXPECT_EQ(moves[0], "e4d5");
}

const Dialogue console_dialogues[] = {
    {"static evaluation and its terms, in order", R"(
        > evl
        < Heuristic = -?\d+
        < PassedVector\[BLACK\] = .*
        < current_phase = \d+, black_phase = \d+, white_phase = \d+
        < Material\[WHITE\] = 3900 thread_board.Material\[BLACK\] = 3900 EvaluateMaterial\(\) = -?\d+
        < ENDING\(WHITE\) = 0 ENDING\(BLACK\) = 0
        < black_defects_k = \d+ black_defects_q = \d+ white_defects_k = \d+ white_defects_q = \d+
        < thread_eval_info.shelter_penalty\[BLACK\] = -?\d+ thread_eval_info.shelter_penalty\[WHITE\] = -?\d+
        < thread_eval_info.danger\[BLACK\] = -?\d+ thread_eval_info.danger\[WHITE\] = -?\d+
        < Attacks\[ChangeSide\(thread_board.SideToMove\)\] = -?\d+
        < Attacks\[thread_board.SideToMove\] = -?\d+
        < Shelter\[BLACK\] = -?\d+ Shelter\[WHITE\] = -?\d+
        < Dng = -?\d+
        - .*)"},
    {"position flags", R"(
        > mvd
        = castling flags = 15
        > loadfen r3k2r/8/8/8/8/8/8/R3K2R w Kq - 0 1
        > mvd
        = castling flags = 9)"},
    {"counting moves", R"(
        > perft 1
        < total moves = 20 time = \d+\.\d\d
        > perft 4
        < total moves = 197281 time = \d+\.\d\d
        > perft 0
        < total moves = 1 time = \d+\.\d\d
        > loadfen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1
        > perft 3
        < total moves = 97862 time = \d+\.\d\d
        fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq)"},
    // Low 32 bits and bits 16 to 47 of the start position's key 90e444c1f6245655.
    {"book keys without a book", R"(
        > bkm
        = Current nhash1 = -165390763, nhash2 = 1153562148
        = No book loaded...)"},
    {"tablebases: a blank line, the path, the count",
     "> egtbstat\n= UseEGTB = TRUE\n= \n"
     "= tb_path = c:\\tablebases\\\n= EGTB files not found"},
    {"tables may be cleared at any time", R"(
        > easy
        > clean
        - .*
        > sd 4
        > go
        < move .*
        > clean
        - .*)"},
    {"a compatibility word", R"(
        > fritz
        - .*)"},
    {"positions from text", R"(
        > loadfen 8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -
        fen 8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -
        > loadfen r3k2r/8/8/8/8/8/8/R3K2R b kQ - 12 40
        fen r3k2r/8/8/8/8/8/8/R3K2R b Qk -)"},
    {"unplayable positions are shown but not searched", R"(
        > loadfen 8/8/8/8/8/8/8/8 w - - 0 1
        fen 8/8/8/8/8/8/8/8 w - -
        > perft 3
        > go
        > analyze
        > exit
        > demo
        - move.*
        > new
        > easy
        > sd 3
        > go
        < move .*)"},
};

class Console : public ::testing::TestWithParam<Dialogue> {};
TEST_P(Console, Dialogue) { RunDialogue(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Protocol, Console, ::testing::ValuesIn(console_dialogues));

TEST(Console, EvaluationPutsThePassedPawnVectorsTogether) {
    // The two vectors are printed without line ends of their own; both labels must be there.
    EngineProcess engine;
    engine.Start();
    engine.Send("evl");
    std::string text;
    for (const std::string& line : engine.Sync()) text += line + "\n";
    const size_t black = text.find("PassedVector[BLACK] = "), white = text.find(" PassedVector[WHITE] = ");
    EXPECT_NE(black, std::string::npos);
    ASSERT_NE(white, std::string::npos);
    EXPECT_LT(black, white);
}

TEST(Console, DemoPlaysBothSidesAndEndsWithInput) {
    EngineProcess engine;
    engine.Start();
    engine.Send("level 0 0:10 0");
    engine.Send("demo");
    engine.WaitForMatch(".*[a-h][12][a-h][1-8].*");
    engine.WaitForMatch(".*[a-h][78][a-h][1-8].*");
    engine.Send("new");
    engine.Sync();
    EXPECT_TRUE(engine.Collect(300).empty()) << "still playing";
    EXPECT_EQ(CurrentFen(engine).substr(0, 43), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR");
    engine.Send("quit");
    EXPECT_EQ(engine.WaitForExit(3000), 0);
}

// Editing. What comes before and inside "edit", and the board that must result.
struct EditCase {
    const char* why;
    const char* script;
    const char* fen;
};

const EditCase edit_cases[] = {
    {"White to move", R"(
        > new
        > force
        > edit
        > #
        > Pe5
        > Ra1
        > Ke1
        > Rh1
        > c
        > Ra8
        > Ke8
        > Rh8
        > Pd5
        > .)",
     "r3k2r/8/8/3pP3/8/8/8/R3K2R w KQkq -"},
    {"Black to move after a dummy move of the a-pawn", R"(
        > new
        > force
        > a2a3
        > edit
        > #
        > Pa2
        > Ke1
        > c
        > Ke8
        > .)",
     "4k3/8/8/8/8/8/P7/4K3 b - -"},
    {"Black to move by the word, before force", R"(
        > new
        > black
        > force
        > edit
        > #
        > Ke1
        > Rh1
        > c
        > Kd8
        > .)",
     "3k4/8/8/8/8/8/8/4K2R b K -"},
    {"Black to move after a dummy move of the b-pawn", R"(
        > new
        > force
        > b2b3
        > edit
        > #
        > Kg1
        > c
        > Kg8
        > Ra8
        > .)",
     "r5k1/8/8/8/8/8/8/6K1 b - -"},
    {"the colour word comes twice", R"(
        > force
        > a2a3
        > edit
        > #
        > Kc1
        > c
        > Kc8
        > Qd8
        > c
        > .)",
     "2kq4/8/8/8/8/8/8/2K5 b - -"},
    {"pieces taken away from the standing board", R"(
        > edit
        > xa1
        > xd8
        > c
        > xh2
        > Nd4
        > .)",
     "rnb1kbnr/pppppppp/8/8/3n4/8/PPPPPPP1/1NBQKBNR w Kkq -"},
    {"one man replaces another", R"(
        > edit
        > Qe2
        > c
        > Qa7
        > .)",
     "rnbqkbnr/qppppppp/8/8/8/8/PPPPQPPP/RNBQKBNR w KQkq -"},
    {"lower-case and nonsense lines", R"(
        > edit
        > #
        > ke1
        > Zz9
        > Pa9
        > hello
        > c
        > ke8
        > .)",
     "4k3/8/8/8/8/8/8/4K3 w - -"},
};

TEST(Console, Edit) {
    for (const EditCase& c : edit_cases) {
        SCOPED_TRACE(c.why);
        EngineProcess engine;
        engine.Start();
        RunSteps(engine, c.script);
        const std::string fen = c.fen;
        EXPECT_EQ(CurrentFen(engine).substr(0, fen.size()), fen);
        // No history behind the new board.
        engine.Send("undo");
        EXPECT_EQ(CurrentFen(engine).substr(0, fen.size()), fen);
    }
}
