// driver_commands_test.cpp - which command a line selects, and what the short commands set.
#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <sstream>
#include <string>

#include "board/settings.h"
#include "driver/commands.h"
#include "driver/input.h"
#include "driver/search_input.h"
#include "driver/words.h"
#include "search/limits.h"
#include "tests/support/engine_environment.h"
#include "tools/common/text.h"

namespace {

std::string Selected(const std::string& line) {
    const Command* const command = FindCommand(line.c_str());
    if (command == nullptr) return "nothing";
    return command->keyword != nullptr ? command->keyword : "move";
}

// What users and front ends have come to type; an added or moved row must not change it. The letters
// up to the point, and all longer beginnings, select the keyword.
constexpr const char* Keywords =
    "p.gneval q. c.lean r.eload h.elp n.ew po.st res.et l.evel m.oves e.dit lo.adfen ep.devl s.elftest t.unenew "
    "no.post pe.rft sd. st. g.o pon.derhit w.hite stop. rem.ove a.nalyze b.lack f.orce br.d ti.me otim. ea.sy "
    "ha.rd ev.l u.ndo fr.itz x.board mv.d d.emo bk.m uc.i ucinewgame. set.option i.sready eg.tbstat posi.tion "
    "deb.ug";

TEST(Commands, EveryBeginningOfEveryKeyword) {
    std::istringstream rows(Keywords);
    for (std::string row; rows >> row;) {
        const size_t shortest = row.find('.');
        const std::string keyword = row.substr(0, shortest) + row.substr(shortest + 1);
        for (size_t length = 1; length <= keyword.size(); ++length) {
            const std::string line = keyword.substr(0, length);
            EXPECT_EQ(Selected(line) == keyword, length >= shortest) << line << " selects " << Selected(line);
            EXPECT_EQ(Selected("  " + line + " "), Selected(line)) << line << " between blanks";
        }
    }
}

TEST(Commands, AllAreInTheManualPage) {
    std::string page;
    ASSERT_TRUE(ReadWholeFile(CORVANTIS_SOURCE_DIR "/doc/man/corvantis.6", page));
    std::istringstream rows(Keywords);
    for (std::string keyword; rows >> keyword;) {
        std::erase(keyword, '.');
        EXPECT_TRUE(std::regex_search(page, std::regex("\n\\.BR?I? [^\n]*\\b" + keyword + "\\b"))) << keyword;
    }
}

TEST(Commands, WholeLines) {
    const struct {
        const char *selected, *lines;
    } cases[] = {
        {"q", "QUIT|quitx"},
        {"st", "st 10|sto|stopwatch"},
        {"stop", "stop now"},
        {"uci", "ucin|ucinewgam"},
        {"ucinewgame", "ucinewgame 1"},
        {"otime", "o|ot|oti|otime|otime 1000"},
        {"otim", "otim 1000"},
        {"move", "e2e4|A7A8q|  g1f3|b1c3"},
        {"nothing", "|    |protover 2|random|computer|name Somebody|result 1-0 {White mates}|draw|hint|variant x"},
        {"nothing", "setboard 8/8/8/8/8/8/8/8 w - -|usermove e2e4|ping 3|accepted usermove|register later|exit|?|."},
    };
    for (const auto& c : cases)
        for (const std::string& line : Split(c.lines, '|')) EXPECT_EQ(Selected(line), c.selected) << line;
}

TEST(SearchInput, WhatALineMeansDuringASearch) {
    const struct {
        SearchInput meaning;
        const char* lines;
    } cases[] = {
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
    for (const auto& c : cases)
        for (const std::string& line : Split(c.lines, '|'))
            EXPECT_EQ(int(ClassifySearchInput(line.c_str())), int(c.meaning)) << '"' << line << '"';
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
    const struct {
        const char *why, *line;
        int moves, base, increment;  // centiseconds
    } cases[] = {
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
    for (const auto& c : cases) {
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

TEST_F(CommandEffects, NumbersAreSetAndLimited) {
    const struct {
        const char *lines, *why;
        const int* setting;
        int value;
    } cases[] = {
        {"st 7", "hundredths", &search_limits.MoveTime, 700},
        {"st 7|level 40 5 0", "the end of a fixed time per move", &search_limits.MoveTime, 0},
        {"sd 7|sd", "no argument", &search_limits.MaxDepth, 7},
        {"sd 4|new", "a limit of the last game", &search_limits.MaxDepth, NoDepthLimit},
        {"st 3|st", "no argument", &search_limits.MoveTime, 300},
        {"time 500|time", "no argument", &search_limits.OwnTime, 500},
        {"otim 500|otim", "no argument", &search_limits.OppTime, 500},
        // A clock below zero must not read as "no clock", which would search for ever.
        {"time 77|time -1", "no clock below zero", &search_limits.OwnTime, 0},
        {"time 77|time x", "no number", &search_limits.OwnTime, 0},
        {"hard|easy", "", &PonderSwitch, 0},
        {"easy|hard", "", &PonderSwitch, 1},
        {"setoption name MultiPV value 0", "too low", &MultiPV, 1},
        {"setoption name multipv value 99999", "too high", &MultiPV, 1024},
        {"setoption name Aggressivity value 151", "", &Aggressivity, 151},
        {"setoption name Aggressivity value 151", "follows from it", &AggressivityHalf, 75},
        {"setoption name OwnBook value false", "", &OwnBook, 0},
        {"setoption name OwnBook value false|setoption name OwnBook value perhaps", "no flag", &OwnBook, 0},
        {"setoption name OwnBook value false|setoption name OwnBook value true", "", &OwnBook, 1},
    };
    for (const auto& c : cases) {
        ResetEngine();
        for (const std::string& line : Split(c.lines, '|')) Execute(line.c_str());
        EXPECT_EQ(*c.setting, c.value) << c.lines << ": " << c.why;
    }
    Pondering = 0;  // forbidden by the configuration file
    Execute("easy");
    Execute("hard");
    EXPECT_EQ(PonderSwitch, 0);
}

TEST_F(CommandEffects, TableSizes) {
    Execute("setoption name Hash value -1");
    EXPECT_EQ(TranspositionSize, 0u);
    Execute("setoption name Hash value 64");
    EXPECT_EQ(TranspositionSize, 3355443u);
    Execute("setoption name Hash");
    EXPECT_EQ(TranspositionSize, 3355443u);
    Execute("setoption name Hash value 10");
    Execute("setoption name PawnHash value 6");
    EXPECT_EQ(PawnHashSize, 262144u);
}

}  // namespace
