// protocol_console_test.cpp - what a person at the console sees: listings, set-up, counts.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>

#include "tests/support/dialogue.h"

// Two pages of commands and what they do, in columns. During the pause between them nothing but the next
// line counts, whatever it says.
TEST(Console, HelpPausesForOneLine) {
    EngineProcess engine;
    engine.Start();
    engine.Send("help");
    std::vector<std::string> lines;
    for (int i = 0; i < 22; ++i) lines.push_back(engine.WaitForMatch(".*"));
    EXPECT_EQ(engine.Collect(200), std::vector<std::string>());
    EXPECT_EQ(lines[0], "Corvantis commands:");
    EXPECT_EQ(lines[1], std::string(78, '-'));
    EXPECT_EQ(lines[21], "");
    engine.Send("quit");
    const std::vector<std::string> second_page = engine.Sync();
    ASSERT_EQ(second_page.size(), 11u) << engine.Transcript();
    // The pause's text has no line end of its own; it gets the one printed after the pause.
    EXPECT_EQ(second_page[0], "Press <enter> to continue....");
    lines.insert(lines.end(), second_page.begin(), second_page.end());
    const std::regex row("(?=.{27} [A-Z])[a-z]+(\\[uit\\])?( <[a-z]>)* \\.+ .*\\S");
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [&](const auto& line) { return std::regex_match(line, row); }),
              19 + 10);
}

std::string Document(const char* name) {
    const std::string text = ContentsOf(std::string(CORVANTIS_SOURCE_DIR "/") + name);
    EXPECT_NE(text, "") << name;
    return text;
}

// The session in the documentation takes place as it stands there.
TEST(Console, SessionOfTheDocumentation) {
    EngineProcess engine;
    engine.Start();
    std::istringstream page(Document("doc/console.md"));
    bool in_session = false;
    int typed = 0;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("```", 0) == 0) {
            in_session = !in_session;
        } else if (in_session && line.rfind("> ", 0) == 0) {
            engine.Send(line.substr(2));
            ++typed;
        } else if (in_session) {
            std::string answer;
            ASSERT_TRUE(engine.ReadLine(&answer, EngineProcess::DefaultTimeout)) << line << engine.Transcript();
            ASSERT_EQ(answer, line);
        }
    }
    EXPECT_GT(typed, 10);
    EXPECT_EQ(engine.ReadToEnd(), std::vector<std::string>());
    EXPECT_EQ(engine.WaitForExit(), 0);
}

// What the manual page and README.md say of options is what the program says.
TEST(Console, DocumentationKnowsAllOptions) {
    const std::string manual = Document("doc/man/corvantis.6"), readme = Document("README.md");
    EngineProcess engine;
    engine.Start();
    const std::regex option("option name (.*) type .*");
    std::string options;
    std::smatch m;
    engine.Send("uci");
    for (const std::string& line : engine.Sync()) {
        if (!std::regex_match(line, m, option)) continue;
        options += (options.empty() ? "" : ", ") + m[1].str();
        EXPECT_TRUE(std::regex_search(manual, std::regex("\n\\.BR? [^\n]*" + m[1].str()))) << line;
    }
    EXPECT_NE(std::regex_replace(readme, std::regex("\\s+"), " ").find("Options: " + options + "."), std::string::npos)
        << options;
}

// Men are drawn as symbols only where a terminal has them.
TEST(Console, BoardInSymbols) {
    const struct {
        EngineProcess::Channel channel;
        const char *locale, *terminal, *rank;
    } cases[] = {
        {EngineProcess::Channel::Terminal, "C.UTF-8", "xterm", "1  ♖ ♘ ♗ ♕ ♔ ♗ ♘ ♖"},
        {EngineProcess::Channel::Terminal, "ca_ES.utf8@valencia", "xterm", "7  ♟ ♟ ♟ ♟ ♟ ♟ ♟ ♟"},
        {EngineProcess::Channel::Terminal, "de_DE.ISO-8859-1", "xterm", "1  R N B Q K B N R"},
        {EngineProcess::Channel::Terminal, "C", "xterm", "1  R N B Q K B N R"},
        {EngineProcess::Channel::Terminal, "C.UTF-8", "dumb", "1  R N B Q K B N R"},
        {EngineProcess::Channel::Terminal, "C.UTF-8", "linux", "8  r n b q k b n r"},
        {EngineProcess::Channel::Pipes, "C.UTF-8", "xterm", "8  r n b q k b n r"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.locale) + ", " + c.terminal);
        setenv("LC_ALL", c.locale, 1);
        setenv("TERM", c.terminal, 1);
        EngineProcess engine({}, 0, c.channel);
        engine.Start();
        engine.Send("brd");
        const std::vector<std::string> lines = engine.Sync();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), c.rank), 1) << engine.Transcript();
    }
    unsetenv("LC_ALL");
}

const Dialogue console_dialogues[] = {
    {"legal moves with priorities, winning captures first", R"(
        > moves
        < -------------- Legal moves: ----------------
        < ([a-h][1-8][a-h][1-8] \(-?\d+\); ){20}
        - .*
        > loadfen 4k3/8/8/3q4/4P3/8/8/4K3 w - - 0 1 | moves
        < e4d5 \(.*)"},
    {"static evaluation and its terms", R"(
        > evl
        < Heuristic = -?\d+
        < Material\[WHITE\] = 3900 thread_board.Material\[BLACK\] = 3900 EvaluateMaterial\(\) = -?\d+
        < Dng = -?\d+
        - .*)"},
    {"position flags, and positions without their last fields", R"(
        > mvd
        = castling flags = 15
        > loadfen r3k2r/8/8/8/8/8/8/R3K2R w Kq - 0 1 | mvd
        = castling flags = 9
        > loadfen 8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -
        fen 8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -
        > loadfen r3k2r/8/8/8/8/8/8/R3K2R b kQ - 12 40
        fen r3k2r/8/8/8/8/8/8/R3K2R b Qk -)"},
    {"counting moves", R"(
        > perft 4
        < total moves = 197281 time = \d+\.\d\d
        > perft 0
        < total moves = 1 time = \d+\.\d\d
        > loadfen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1 | perft 3
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
    {"tables may be cleared at any time, and a compatibility word", R"(
        > easy | clean | fritz
        - .*
        > sd 4 | go
        < move .*
        > clean
        - .*)"},
    {"unplayable positions are shown but not searched", R"(
        > loadfen 8/8/8/8/8/8/8/8 w - - 0 1
        fen 8/8/8/8/8/8/8/8 w - -
        > perft 3 | go | analyze | exit | demo
        - move.*
        > new | easy | sd 3 | go
        < move .*)"},
    {"a demonstration plays both sides and ends with input", R"(
        > level 0 0:10 0 | demo
        < .*[a-h][12][a-h][1-8].*
        < .*[a-h][78][a-h][1-8].*
        > new | isready
        < readyok
        sleep 300
        - .*
        fen rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR)"},
};

class Console : public ::testing::TestWithParam<Dialogue> {};
TEST_P(Console, Dialogue) { RunDialogue(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Protocol, Console, ::testing::ValuesIn(console_dialogues));

// Editing. What comes before "edit", the lines inside it, and the board that must result.
struct EditCase {
    const char* why;
    const char *before, *lines;
    const char* fen;
};

const EditCase edit_cases[] = {
    {"White to move", "new | force", "# | Pe5 | Ra1 | Ke1 | Rh1 | c | Ra8 | Ke8 | Rh8 | Pd5",
     "r3k2r/8/8/3pP3/8/8/8/R3K2R w KQkq -"},
    {"Black to move after a dummy move of the a-pawn", "new | force | a2a3", "# | Pa2 | Ke1 | c | Ke8",
     "4k3/8/8/8/8/8/P7/4K3 b - -"},
    {"Black to move by the word, before force", "new | black | force", "# | Ke1 | Rh1 | c | Kd8",
     "3k4/8/8/8/8/8/8/4K2R b K -"},
    {"Black to move after a dummy move of the b-pawn", "new | force | b2b3", "# | Kg1 | c | Kg8 | Ra8",
     "r5k1/8/8/8/8/8/8/6K1 b - -"},
    {"the colour word comes twice", "force | a2a3", "# | Kc1 | c | Kc8 | Qd8 | c", "2kq4/8/8/8/8/8/8/2K5 b - -"},
    {"pieces taken away from the standing board", "force", "xa1 | xd8 | c | xh2 | Nd4",
     "rnb1kbnr/pppppppp/8/8/3n4/8/PPPPPPP1/1NBQKBNR w Kkq -"},
    {"one man replaces another", "new", "Qe2 | c | Qa7", "rnbqkbnr/qppppppp/8/8/8/8/PPPPQPPP/RNBQKBNR w KQkq -"},
    {"lower-case and nonsense lines", "new", "# | ke1 | Zz9 | Pa9 | hello | c | ke8", "4k3/8/8/8/8/8/8/4K3 w - -"},
};

TEST(Console, Edit) {
    for (const EditCase& c : edit_cases) {
        SCOPED_TRACE(c.why);
        EngineProcess engine;
        for (const std::string& line : Texts(std::string(c.before) + " | edit | " + c.lines + " | ."))
            engine.Send(line);
        EXPECT_EQ(CurrentFen(engine), c.fen);
        // No history behind the new board.
        engine.Send("undo");
        EXPECT_EQ(CurrentFen(engine), c.fen);
    }
}
