// protocol_startup_test.cpp - what the program says before it is asked anything, and how it ends.
#include <gtest/gtest.h>

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

}  // namespace

TEST(StartUp, TextWithoutAnyFile) {
    EngineProcess engine;
    // The evaluation's weights come with the tables, that is before configuration and book.
    std::vector<std::string> expected = {banner, "Error loading values.txt", "Error opening \"Book.cvt\"!"};
    expected.insert(expected.end(), default_settings.begin(), default_settings.end());
    expected.push_back("EGTB files not found");
    EXPECT_EQ(engine.Start(), expected);
}

// What is wrong is told with the number of its line, which comments and empty lines count for, and
// what the settings have become is shown.
TEST(StartUp, TextWithAConfiguration) {
    const std::vector<EngineProcess::File> files = {{"Corvantis.ini",
                                                     "; settings\n\n"
                                                     "TranspositionSizeMb = 64\n"
                                                     "PawnHashSize = 11\n"
                                                     "EGTBCacheSizeMb = 0\n"
                                                     "Aggressivity = 350\n"
                                                     "Cowardice = -1\n"
                                                     "   resignvalue = 650\n"
                                                     "ResignTimes = 5\r\n"
                                                     "UseEGTB off\n"
                                                     "EGTBPath = \"d:\\my tables\"\n"
                                                     "OpeningsBook = my book.bin\n"
                                                     "UseBookWeights = off\n"
                                                     "UseBookLearning = off\n"
                                                     "BookLearningMode = discover\n"
                                                     "VarietyOfPlay = 101\n"
                                                     "BookLearningBound = 250\n"
                                                     "UseLearningData = on\n"
                                                     "LogLearningIntoFile = on\n"
                                                     ";Pondering = off\n"
                                                     "Colour = green\n"
                                                     "Pondering = maybe\n"}};
    EngineProcess engine(files);
    const std::vector<std::string> expected = {
        banner,
        "Error loading values.txt",
        "Corvantis.ini(4) WARNING: Incorrect pawn hash size setting in Corvantis.ini; set to default",
        "Corvantis.ini(5) WARNING: Incorrect EGTB cache size setting in Corvantis.ini; set to default",
        "Corvantis.ini(6) WARNING: Incorrect AGGRESSIVITY setting; set to 300",
        "Corvantis.ini(7) WARNING: Incorrect COWARDICE setting; set to 0",
        "Error opening \"my book.bin\"!",
        "Corvantis.ini(16) WARNING: Incorrect VarietyOfPlay setting; set to 100",
        "Corvantis.ini(22) WARNING: Token unknown \"maybe\"",
        "Error opening \"Book.cvt\"!",
        "Transposition size is 3355443 entries (67108860 bytes)",
        "Pawn hash size is 524288 entries (12582912 bytes)",
        "EGTBHashSize = 1048576 bytes",
        "Aggressivity = 300 (150)%",
        "Cowardice = 0 (0)%",
        "ResignValue = 650",
        "ResignTimes = 5",
        "UseEGTB = off",
        "EGTB path = \"d:\\my tables\"\"",
        "UseBookWeights = off",
        "UseBookLearning = off",
        "BookLearningMode = DISCOVER",
        "VarietyOfPlay = 100",
        "BookLearningBound = 250",
        "UseLearning = off",
        "UseLearningData = on",
        "LogLearningIntoFile = on",
        "Pondering = on",
        "",
    };
    EXPECT_EQ(engine.Start(), expected);
}

TEST(StartUp, TablebaseThatIsNone) {
    const EngineProcess::File table = {"KQK.nbw.emd", "not a tablebase"};
    EngineProcess engine({{"Corvantis.ini", "EGTBPath = /nowhere; .\\\n"}, table});
    RunSteps(engine, R"(
        < \*\*\* Unable to register \.[/\\]KQK\.nbw\.emd
        < Reason: .*
        = Tried to open 1 files. Opened 0 files.
        = EGTB files not found)");
    EngineProcess without({{"Corvantis.ini", "EGTBPath = .\nUseEGTB = off\n"}, table});
    EXPECT_EQ(without.Start().back(), "");
}

// Each way of asking for the end must give status 0, whatever the program is doing.
TEST(Quit, EndsTheProgram) {
    const char* const cases[][2] = {{"isready", "q"},
                                    {"isready", "Quitx"},
                                    {"isready", "  QUIT"},
                                    {"isready", "quit\r"},
                                    {"go infinite", "quit"},
                                    {"analyze", "quit"},
                                    {"go movetime 60000", "quit"},
                                    {"go ponder wtime 1000 btime 1000", "quit"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c[0]) + ", " + c[1]);
        EngineProcess engine;
        engine.Send(c[0]);
        engine.Sync();
        engine.Send(c[1]);
        EXPECT_EQ(engine.WaitForExit(3000), 0) << engine.Transcript();
    }
}

// A front end that probes the engine writes both commands at once and closes the pipe, and gives it
// some two seconds.
TEST(Quit, AllAnswersComeBeforeTheEndAndSoon) {
    EngineProcess engine;
    engine.SendRaw("uci\nquit\n");
    engine.CloseInput();
    const std::vector<std::string> lines = engine.ReadToEnd(2000);
    EXPECT_EQ(engine.WaitForExit(3000), 0);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "uciok");
}
