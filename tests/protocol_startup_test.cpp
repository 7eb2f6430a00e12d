// protocol_startup_test.cpp - what the program says before it is asked anything, and how it ends.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/dialogue.h"

namespace {

// The settings block with every default; the blank line at its end is meant.
const std::vector<std::string> default_settings = {
    "Transposition size is 524288 entries (10485760 bytes)",
    "Pawn hash size is 262144 entries (6291456 bytes)",
    "EGTBHashSize = 1048576 bytes",
    "Aggressivity = 100 (50)%",
    "Cowardice = 100 (50)%",
    "ResignValue = 800",
    "ResignTimes = 3",
    "UseEGTB = on",
    "EGTB path = \"c:\\tablebases\\\"",
    "UseBookWeights = on",
    "UseBookLearning = on",
    "BookLearningMode = KILL",
    "VarietyOfPlay = 10",
    "BookLearningBound = 400",
    "UseLearning = off",
    "UseLearningData = off",
    "LogLearningIntoFile = off",
    "Pondering = on",
    "",
};

const char* const banner = "Corvantis v1.70 [r2089/21.07.2014]";

// Lines of the settings block that a configuration changes, by their text up to "=" or "is".
std::string SettingLine(const std::vector<std::string>& lines, const std::string& start) {
    for (const std::string& line : lines)
        if (line.rfind(start, 0) == 0) return line;
    return "(no line begins with " + start + ")";
}

}  // namespace

TEST(StartUp, TextWithoutAnyFile) {
    EngineProcess engine;
    std::vector<std::string> lines = engine.Start();
    std::vector<std::string> expected = {banner};
    // The evaluation's weights come with the tables, that is before configuration and book.
    expected.push_back("Error loading values.txt");
    expected.push_back("Error opening \"Book.cvt\"!");
    expected.insert(expected.end(), default_settings.begin(), default_settings.end());
    expected.push_back("EGTB files not found");
    EXPECT_EQ(lines, expected);
}

TEST(StartUp, IsQuick) {
    // Front ends probe engines with deadlines of about two seconds, a few at a time.
    EngineProcess engine;
    engine.Send("uci");
    EXPECT_EQ(engine.WaitForMatch("uciok", 2000), "uciok");
}

// Each configuration line against the warning it must print and the line of the settings block
// it must change. The file starts with two lines that do not count as settings but are numbered.
struct ConfigurationCase {
    const char* why;
    const char* line;
    const char* warning;  // "" = none
    const char* setting;  // the whole line of the settings block
};

const ConfigurationCase configuration_cases[] = {
    {"size in megabytes", "TranspositionSizeMb = 64", "", "Transposition size is 3355443 entries (67108860 bytes)"},
    {"size as a power of two", "TranspositionSize = 20", "", "Transposition size is 1048576 entries (20971520 bytes)"},
    {"too many megabytes", "TranspositionSizeMb = 2000",
     "Corvantis.ini(3) WARNING: Incorrect hash size setting in Corvantis.ini; set to default",
     "Transposition size is 524288 entries (10485760 bytes)"},
    {"power too large", "TranspositionSize = 26",
     "Corvantis.ini(3) WARNING: Incorrect hash size setting in Corvantis.ini; set to default",
     "Transposition size is 524288 entries (10485760 bytes)"},
    {"pawn hash falls back to twice its default", "PawnHashSize = 11",
     "Corvantis.ini(3) WARNING: Incorrect pawn hash size setting in Corvantis.ini; set to default",
     "Pawn hash size is 524288 entries (12582912 bytes)"},
    {"cache of nothing", "EGTBCacheSizeMb = 0",
     "Corvantis.ini(3) WARNING: Incorrect EGTB cache size setting in Corvantis.ini; set to default",
     "EGTBHashSize = 1048576 bytes"},
    {"clamped above", "Aggressivity = 350", "Corvantis.ini(3) WARNING: Incorrect AGGRESSIVITY setting; set to 300",
     "Aggressivity = 300 (150)%"},
    {"clamped below", "Cowardice = -1", "Corvantis.ini(3) WARNING: Incorrect COWARDICE setting; set to 0",
     "Cowardice = 0 (0)%"},
    {"variety clamped", "VarietyOfPlay = 101", "Corvantis.ini(3) WARNING: Incorrect VarietyOfPlay setting; set to 100",
     "VarietyOfPlay = 100"},
    {"a flag that is neither", "Pondering = maybe", "Corvantis.ini(3) WARNING: Token unknown \"maybe\"",
     "Pondering = on"},
    {"blanks separate as well as '='", "UseEGTB off", "", "UseEGTB = off"},
    {"leading blanks, other case", "   resignvalue = 650", "", "ResignValue = 650"},
    {"carriage return at the end", "ResignTimes = 5\r", "", "ResignTimes = 5"},
    {"a comment", ";Pondering = off", "", "Pondering = on"},
    {"an unknown key", "Colour = green", "", "Pondering = on"},
    {"the path keeps blanks and the closing quote", "EGTBPath = \"d:\\my tables\"", "",
     "EGTB path = \"d:\\my tables\"\""},
    {"learning mode by name", "BookLearningMode = discover", "", "BookLearningMode = DISCOVER"},
};

TEST(StartUp, ConfigurationFile) {
    for (const ConfigurationCase& c : configuration_cases) {
        SCOPED_TRACE(c.why);
        const std::vector<EngineProcess::File> files = {
            {"Corvantis.ini", "; settings\n\n" + std::string(c.line) + "\n"}};
        EngineProcess engine(files);
        const std::vector<std::string> lines = engine.Start();
        std::string warnings;
        for (const std::string& line : lines)
            if (line.find("WARNING") != std::string::npos) warnings += line;
        EXPECT_EQ(warnings, c.warning);
        const std::string setting = c.setting;
        const size_t name_end = setting.find(setting.find(" = ") != std::string::npos ? " = " : " is ");
        EXPECT_EQ(SettingLine(lines, setting.substr(0, name_end + 3)), setting);
    }
}

TEST(StartUp, BookNamedByTheConfiguration) {
    // It is tried at once, that is before the default one.
    const std::vector<EngineProcess::File> files = {{"Corvantis.ini", "OpeningsBook = my book.bin\n"}};
    EngineProcess engine(files);
    std::vector<std::string> messages;
    for (const std::string& line : engine.Start())
        if (line.rfind("Error opening", 0) == 0) messages.push_back(line);
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages[0], "Error opening \"my book.bin\"!");
}

TEST(StartUp, TablebaseThatIsNone) {
    const EngineProcess::File table = {"KQK.nbw.emd", "not a tablebase"};
    EngineProcess engine({{"Corvantis.ini", "EGTBPath = /nowhere; .\\\n"}, table});
    std::vector<std::string> lines = engine.Start();
    const auto begin = std::find(lines.begin(), lines.end(), "*** Unable to register ./KQK.nbw.emd");
    ASSERT_GE(lines.end() - begin, 2) << engine.Transcript();
    EXPECT_EQ(begin[1].rfind("Reason: ", 0), 0u) << begin[1];
    lines.erase(lines.begin(), begin + 2);
    const std::vector<std::string> expected = {"Tried to open 1 files. Opened 0 files.", "EGTB files not found"};
    EXPECT_EQ(lines, expected);

    EngineProcess without({{"Corvantis.ini", "EGTBPath = .\nUseEGTB = off\n"}, table});
    EXPECT_EQ(without.Start().back(), "");
}

// Each way of asking for the end must give status 0.
TEST(Quit, EveryLineThatBeginsWithQ) {
    for (const char* line : {"quit", "q", "QUIT", "Quit", "quitx", "  quit", "quit\r"}) {
        SCOPED_TRACE(line);
        EngineProcess engine;
        engine.Start();
        engine.Send(line);
        EXPECT_EQ(engine.WaitForExit(3000), 0);
    }
}

TEST(Quit, WhileSearching) {
    for (const char* search : {"go infinite", "analyze", "go movetime 60000", "go ponder wtime 1000 btime 1000"}) {
        SCOPED_TRACE(search);
        EngineProcess engine;
        engine.Start();
        engine.Send(search);
        engine.Sync();
        engine.Send("quit");
        EXPECT_EQ(engine.WaitForExit(3000), 0) << engine.Transcript();
    }
}

TEST(Quit, AllAnswersComeBeforeTheEnd) {
    // A front end that probes the engine writes both commands at once and closes the pipe.
    EngineProcess engine;
    engine.SendRaw("uci\nquit\n");
    engine.CloseInput();
    const std::vector<std::string> lines = engine.ReadToEnd();
    EXPECT_EQ(engine.WaitForExit(3000), 0);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "uciok");
}
