// driver_commands_test.cpp - which command a line selects, and what "level" makes of its words.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <sstream>
#include <string>

#include "board/settings.h"
#include "driver/commands.h"
#include "driver/input.h"
#include "driver/search_input.h"
#include "driver/words.h"
#include "search/limits.h"
#include "tests/support/engine_environment.h"

namespace {

struct Abbreviations {
    const char* keyword;
    const char* lines;  // every beginning of any keyword that selects this one
};

// What users and front ends have come to type; an added or moved row must not change it.
const Abbreviations command_matrix[] = {
    {"pgneval", "p pg pgn pgne pgnev pgneva pgneval"},
    {"q", "q"},
    {"clean", "c cl cle clea clean"},
    {"reload", "r re rel relo reloa reload"},
    {"help", "h he hel help"},
    {"new", "n ne new"},
    {"post", "po pos post"},
    {"reset", "res rese reset"},
    {"level", "l le lev leve level"},
    {"moves", "m mo mov move moves"},
    {"edit", "e ed edi edit"},
    {"loadfen", "lo loa load loadf loadfe loadfen"},
    {"epdevl", "ep epd epde epdev epdevl"},
    {"selftest", "s se sel self selft selfte selftes selftest"},
    {"tunenew", "t tu tun tune tunen tunene tunenew"},
    {"nopost", "no nop nopo nopos nopost"},
    {"perft", "pe per perf perft"},
    {"sd", "sd"},
    {"st", "st sto"},
    {"go", "g go"},
    {"ponderhit", "pon pond ponde ponder ponderh ponderhi ponderhit"},
    {"white", "w wh whi whit white"},
    {"stop", "stop"},
    {"remove", "rem remo remov remove"},
    {"analyze", "a an ana anal analy analyz analyze"},
    {"black", "b bl bla blac black"},
    {"force", "f fo for forc force"},
    {"brd", "br brd"},
    {"time", "ti tim time"},
    {"otime", "o ot oti otime"},
    {"otim", "otim"},
    {"easy", "ea eas easy"},
    {"hard", "ha har hard"},
    {"evl", "ev evl"},
    {"undo", "u un und undo"},
    {"fritz", "fr fri frit fritz"},
    {"xboard", "x xb xbo xboa xboar xboard"},
    {"mvd", "mv mvd"},
    {"demo", "d de dem demo"},
    {"bkm", "bk bkm"},
    {"uci", "uc uci ucin ucine ucinew ucinewg ucinewga ucinewgam"},
    {"ucinewgame", "ucinewgame"},
    {"setoption", "set seto setop setopt setopti setoptio setoption"},
    {"isready", "i is isr isre isrea isread isready"},
    {"egtbstat", "eg egt egtb egtbs egtbst egtbsta egtbstat"},
    {"position", "posi posit positi positio position"},
    {"debug", "deb debu debug"},
};

std::string Selected(const std::string& line) {
    const Command* const command = FindCommand(line.c_str());
    if (command == nullptr) return "nothing";
    return command->keyword != nullptr ? command->keyword : "move";
}

TEST(Commands, EveryBeginningOfEveryKeyword) {
    std::set<std::string> listed;
    for (const Abbreviations& row : command_matrix) {
        std::istringstream lines(row.lines);
        for (std::string line; lines >> line;) {
            EXPECT_EQ(Selected(line), row.keyword) << line;
            EXPECT_EQ(Selected("  " + line + " "), row.keyword) << line << " between blanks";
            listed.insert(line);
        }
    }
    for (const Abbreviations& row : command_matrix)
        for (size_t length = 1; length <= std::strlen(row.keyword); ++length)
            EXPECT_TRUE(listed.count(std::string(row.keyword, length))) << row.keyword << ' ' << length;
}

struct LineCase {
    const char* why;
    const char* line;
    const char* selected;
};

TEST(Commands, WholeLines) {
    const LineCase cases[] = {
        {"capitals do not matter", "QUIT", "q"},
        {"anything that begins with q ends the program", "quitx", "q"},
        {"an argument follows", "st 10", "st"},
        {"the keyword ends where the line goes on", "stopwatch", "st"},
        {"written out with an argument", "stop now", "stop"},
        {"written out with an argument", "ucinewgame 1", "ucinewgame"},
        {"front ends spell it short", "otim 1000", "otim"},
        {"long form", "otime 1000", "otime"},
        {"a move", "e2e4", "move"},
        {"a move with a promotion", "A7A8q", "move"},
        {"a move behind blanks", "  g1f3", "move"},
        {"begins like no keyword, though \"b\" is one", "b1c3", "move"},
        {"an empty line", "", "nothing"},
        {"only blanks", "    ", "nothing"},
        {"XBoard's greeting", "protover 2", "nothing"},
        {"XBoard asks for randomness", "random", "nothing"},
        {"the opponent is a program", "computer", "nothing"},
        {"the opponent's name", "name Somebody", "nothing"},
        {"a result", "result 1-0 {White mates}", "nothing"},
        {"a draw offer", "draw", "nothing"},
        {"a hint wanted", "hint", "nothing"},
        {"version 2 only", "setboard 8/8/8/8/8/8/8/8 w - -", "nothing"},
        {"version 2 only", "usermove e2e4", "nothing"},
        {"version 2 only", "ping 3", "nothing"},
        {"features", "accepted usermove", "nothing"},
        {"a variant", "variant crazyhouse", "nothing"},
        {"UCI registration", "register later", "nothing"},
        {"analysis mode only", "exit", "nothing"},
        {"during a search only", "?", "nothing"},
        {"during a search only", ".", "nothing"},
    };
    for (const LineCase& c : cases) EXPECT_EQ(Selected(c.line), c.selected) << c.why << ": " << c.line;
}

TEST(SearchInput, WhatALineMeansDuringASearch) {
    struct Case {
        SearchInput meaning;
        const char* lines;  // separated by '|'
    };
    const Case cases[] = {
        {SearchInput::Stop, "?|?x|stop|s|st|sto|STOP|stop now"},
        {SearchInput::Status, ".|. "},
        {SearchInput::Undo, "undo|u"},
        {SearchInput::Exit, "exit|e|ex"},
        {SearchInput::New, "new|n|ne"},
        {SearchInput::Post, "post|p|po|pos"},
        {SearchInput::NoPost, "nopost|no|nop"},
        {SearchInput::Quit, "q|quit|quitx|QUIT"},
        {SearchInput::Force, "force|f|fo"},
        {SearchInput::Hard, "hard|h|ha"},
        {SearchInput::Easy, "easy|ea|eas"},
        {SearchInput::Time, "time 100|time|t"},
        {SearchInput::OppTime, "otim 100|otime 100|o"},
        {SearchInput::PonderHit, "ponderhit|ponder|pon"},
        {SearchInput::IsReady, "isready|i|isready "},
        {SearchInput::Move, "e2e4|  e7e8q|E2E4"},
        // A position, an option, other commands, nothing: decided by the kind of search.
        {SearchInput::Other,
         "position startpos|setoption name Hash value 1|st 10|go|result *|remove|draw|#||   |e2|ping 1"},
    };
    for (const Case& c : cases) {
        std::string lines = c.lines;
        for (size_t at = 0; at <= lines.size();) {
            const size_t end = std::min(lines.find('|', at), lines.size());
            const std::string line = lines.substr(at, end - at);
            EXPECT_EQ(int(ClassifySearchInput(line.c_str())), int(c.meaning)) << '"' << line << '"';
            at = end + 1;
        }
    }
}

class CommandEffects : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(AllocateWords());
        ResetEngine();
    }
    void TearDown() override { ResetEngine(); }
    static void Execute(const char* line) {
        std::strcpy(command_line, line);
        command_line_returns = 0;
        execute_line();
    }
};

TEST_F(CommandEffects, Level) {
    struct Case {
        const char* why;
        const char* line;
        int moves, base, increment;  // centiseconds
    };
    const Case cases[] = {
        {"minutes and seconds", "level 40 5:30 0", 40, 33000, 0},
        {"whole minutes, increment", "level 0 2 12", 0, 12000, 1200},
        {"XBoard's fast games", "level 0 0:02 0.1", 0, 200, 10},
        {"less than a tenth of a second", "level 0 1 0.05", 0, 6000, 5},
        {"half a minute", "level 0 0.5 0", 0, 3000, 0},
        {"moves only", "level 30", 30, 1000, 0},
        {"no increment given", "level 30 10", 30, 60000, 0},
        {"words that are no numbers", "level x y z", 0, 0, 0},
        {"negative", "level -3 -5 -1", 0, 0, 0},
        {"nothing", "level", 0, 1000, 0},
        {"no library reader's extras", "level 0 1e3 0x10", 0, 6000, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        ResetLimits();
        Execute(c.line);
        EXPECT_EQ(search_limits.MovesPerPeriod, c.moves);
        EXPECT_EQ(search_limits.BaseTime, c.base);
        EXPECT_EQ(search_limits.OwnIncrement, c.increment);
        EXPECT_EQ(search_limits.OppIncrement, c.increment);
    }
    // Values beyond any clock are cut, not wrapped.
    Execute("level 99999999999 99999999999:99999999999 99999999999");
    EXPECT_GT(search_limits.BaseTime, 0);
    EXPECT_LT(search_limits.BaseTime, InfiniteTime);
    EXPECT_GT(search_limits.OwnIncrement, 0);
}

TEST_F(CommandEffects, LevelEndsAFixedTimePerMove) {
    Execute("st 7");
    EXPECT_EQ(search_limits.MoveTime, 700);
    Execute("level 40 5 0");
    EXPECT_EQ(search_limits.MoveTime, 0);
}

TEST_F(CommandEffects, MissingArgumentsChangeNothing) {
    Execute("sd 7");
    Execute("st 3");
    Execute("time 500");
    for (const char* line :
         {"sd", "st", "time", "otim", "perft", "setoption", "setoption name Hash", "position", "debug"})
        Execute(line);
    EXPECT_EQ(search_limits.MaxDepth, 7);
    EXPECT_EQ(search_limits.MoveTime, 300);
    EXPECT_EQ(search_limits.OwnTime, 500);
}

// A clock below zero must not read as "no clock", which would search for ever.
TEST_F(CommandEffects, ClocksAreNeverBelowZero) {
    for (const char* line : {"time -1", "time -100", "time x"}) {
        Execute("time 77");
        Execute(line);
        EXPECT_EQ(search_limits.OwnTime, 0) << line;
    }
}

TEST_F(CommandEffects, NewEndsTheDepthLimit) {
    Execute("sd 4");
    Execute("new");
    EXPECT_EQ(search_limits.MaxDepth, NoDepthLimit);
}

TEST_F(CommandEffects, EasyAndHard) {
    Execute("easy");
    EXPECT_EQ(PonderSwitch, 0);
    Execute("hard");
    EXPECT_EQ(PonderSwitch, 1);
    Pondering = 0;  // forbidden by the configuration file
    Execute("easy");
    Execute("hard");
    EXPECT_EQ(PonderSwitch, 0);
}

TEST_F(CommandEffects, OptionsAreClampedToWhatIsAdvertised) {
    Execute("setoption name MultiPV value 0");
    EXPECT_EQ(MultiPV, 1);
    Execute("setoption name multipv value 99999");
    EXPECT_EQ(MultiPV, 1024);
    Execute("setoption name Aggressivity value 150");
    EXPECT_EQ(Aggressivity, 150);
    EXPECT_EQ(AggressivityHalf, 75);
    Execute("setoption name OwnBook value false");
    EXPECT_EQ(OwnBook, 0);
    Execute("setoption name OwnBook value perhaps");
    EXPECT_EQ(OwnBook, 0);
    Execute("setoption name OwnBook value true");
    EXPECT_EQ(OwnBook, 1);
    Execute("setoption name Hash value -1");
    EXPECT_EQ(TranspositionSize, 0u);
    Execute("setoption name Hash value 64");
    EXPECT_EQ(TranspositionSize, 3355443u);
    Execute("setoption name Hash value 10");
    Execute("setoption name PawnHash value 6");
    EXPECT_EQ(PawnHashSize, 262144u);
}

}  // namespace
