// driver_configuration_test.cpp - the settings file: keys, separators, ranges, warnings.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <regex>
#include <string>

#include "board/console.h"
#include "board/settings.h"
#include "driver/configuration.h"
#include "driver/startup.h"
#include "driver/words.h"
#include "tests/support/engine_environment.h"
#include "tests/support/temporary_path.h"
#include "tools/common/text.h"

namespace {

// What `print` prints.
template <typename Print> std::string Printed(Print print) {
    Flush();
    ::testing::internal::CaptureStdout();
    print();
    Flush();
    return ::testing::internal::GetCapturedStdout();
}

class Configuration : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(AllocateWords());
        SetDefaults();
    }
    void TearDown() override {
        std::remove(name_.c_str());
        ResetEngine();
    }
    // Reads a file of this text; returns what was printed.
    std::string Read(const std::string& text) {
        std::ofstream(name_, std::ios::binary) << text;
        return Printed([this] { ReadConfiguration(name_.c_str()); });
    }
    static std::string Warning(int line, const std::string& text) {
        return "Corvantis.ini(" + std::to_string(line) + ") WARNING: " + text + "\n";
    }
    const std::string name_ = TemporaryPath(".ini");
};

TEST_F(Configuration, Sizes) {
    const struct {
        const char* line;
        const uint32_t* setting;
        uint32_t value;
        const char* refused;  // the table's name in the warning, "" when the value is good
    } cases[] = {
        {"TranspositionSizeMb = 64", &TranspositionSize, 3355443, ""},
        {"TranspositionSizeMb = 0", &TranspositionSize, 0, ""},
        {"TranspositionSizeMb = 1024", &TranspositionSize, 53687091, ""},
        {"TranspositionSizeMb = 2000", &TranspositionSize, 524288, "hash"},
        {"TranspositionSizeMb = -1", &TranspositionSize, 524288, "hash"},
        {"TranspositionSize = 0", &TranspositionSize, 1, ""},
        {"TranspositionSize = 25", &TranspositionSize, 33554432, ""},
        {"TranspositionSize = 26", &TranspositionSize, 524288, "hash"},
        {"PawnHashSizeMb = 7", &PawnHashSize, 305834, ""},
        {"PawnHashSizeMb = 9999999999999", &PawnHashSize, 524288, "pawn hash"},
        {"PawnHashSize = 12", &PawnHashSize, 4096, ""},
        {"PawnHashSize = 11", &PawnHashSize, 524288, "pawn hash"},
        {"EGTBHashSizeMb = 128", &EGTBHashSize, 134217728, ""},
        {"EGTBCacheSizeMb = 0", &EGTBHashSize, 1048576, "EGTB cache"},
        {"EGTBHashSize = 27", &EGTBHashSize, 134217728, ""},
        {"EGTBCacheSize = 19", &EGTBHashSize, 1048576, "EGTB cache"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        SetDefaults();
        const std::string warning =
            std::string("Incorrect ") + c.refused + " size setting in Corvantis.ini; set to default";
        EXPECT_EQ(Read(c.line), c.refused[0] == '\0' ? "" : Warning(1, warning));
        EXPECT_EQ(*c.setting, c.value);
    }
}

TEST_F(Configuration, StyleAndVariety) {
    const struct {
        int value, high;
        std::string warning;
    } cases[] = {{151, 151, ""}, {100, 100, ""}, {-1, 0, " setting; set to 0"}, {350, 300, " setting; set to 300"}};
    for (const auto& c : cases) {
        const auto warning = [&](const char* key) {
            return c.warning.empty() ? "" : Warning(1, std::string("Incorrect ") + key + c.warning);
        };
        const std::string value = " = " + std::to_string(c.value);
        EXPECT_EQ(Read("Aggressivity" + value), warning("AGGRESSIVITY"));
        EXPECT_EQ(Aggressivity, c.high);
        EXPECT_EQ(AggressivityHalf, c.high / 2);
        EXPECT_EQ(Read("Cowardice" + value), warning("COWARDICE"));
        EXPECT_EQ(Cowardice, c.high);
        EXPECT_EQ(CowardiceHalf, c.high / 2);
    }
    EXPECT_EQ(Read("VarietyOfPlay = -1"), Warning(1, "Incorrect VarietyOfPlay setting; set to 0"));
    EXPECT_EQ(VarietyOfPlay, 0);
    EXPECT_EQ(Read("VarietyOfPlay = 101"), Warning(1, "Incorrect VarietyOfPlay setting; set to 100"));
    EXPECT_EQ(VarietyOfPlay, 100);
}

TEST_F(Configuration, Flags) {
    const struct {
        std::string key;
        const int* setting;
    } cases[] = {
        {"Learning", &UseLearning},
        {"UseBookLearning", &UseBookLearning},
        {"Pondering", &Pondering},
        {"UseEGTB", &UseEGTB},
        {"UseLearningData", &UseLearningData},
        {"UseBookWeights", &UseBookWeights},
        {"LogLearningIntoFile", &LogLearningIntoFile},
    };
    for (const auto& c : cases) {
        for (const char* word : {"on", "off", "true", "false", "ON", "OFF", "o", "f", "True"}) {
            EXPECT_EQ(Read(c.key + " = " + word), "");
            EXPECT_EQ(*c.setting, word[1] != 'f' && word[1] != 'F' && word[0] != 'f') << c.key << ' ' << word;
        }
        EXPECT_EQ(Read(c.key + " = maybe\n"), Warning(1, "Token unknown \"maybe\""));
        EXPECT_EQ(*c.setting, 1) << c.key;
    }
    EXPECT_EQ(PonderSwitch, 0) << "\"Pondering = off\" switches it off at once";
}

TEST_F(Configuration, OtherValues) {
    EXPECT_EQ(Read("ResignValue = 700x\nResignTimes=-2\nBookLearningBound,250\nBookLearningMode = Discover\n"), "");
    EXPECT_EQ(ResignValue, 700);
    EXPECT_EQ(ResignTimes, -2);
    EXPECT_EQ(BookLearningBound, 250);
    EXPECT_EQ(BookLearningMode, DISCOVER);
    EXPECT_EQ(Read("BookLearningMode kill\nBookLearningMode = none"), Warning(2, "Token unknown \"none\""));
    EXPECT_EQ(BookLearningMode, KILL);
    EXPECT_EQ(Read("OpeningsBook = no such book.cvt\nVarietyOfPlay = 101"),
              "Error opening \"no such book.cvt\"!\n" + Warning(2, "Incorrect VarietyOfPlay setting; set to 100"))
        << "the book is opened at once";
    EXPECT_EQ(Printed([] { ReadConfiguration("/no/such/folder/Corvantis.ini"); }), "") << "no file is no error";
}

TEST_F(Configuration, Lines) {
    // Comments and empty lines count for the numbers in warnings.
    EXPECT_EQ(Read("; Pondering = off\n\n   \nPondering = maybe\n"), Warning(4, "Token unknown \"maybe\""));
    EXPECT_EQ(Pondering, 1);
    EXPECT_EQ(Read("   UseEGTB off\r\nusebookweights=OFF\r\n"), "") << "blanks before, any case, CR LF";
    EXPECT_EQ(UseEGTB, 0);
    EXPECT_EQ(UseBookWeights, 0);
    EXPECT_EQ(Read("UseLearning = on\nNoSuchKey = 3\nResignValue\n= 5\n"), "") << "unknown keys and missing values";
    EXPECT_EQ(UseLearning, 0);
    EXPECT_EQ(ResignValue, 800);
    EXPECT_EQ(Read("ResignTimes = 5"), "") << "no line end at the end of the file";
    EXPECT_EQ(ResignTimes, 5);
    EXPECT_EQ(Read("; " + std::string(246, 'x') + " ResignTimes = 9\n\x01Cowardice = 5\nPondering = no\n"),
              Warning(3, "Token unknown \"no\""))
        << "the tail of a long comment is no setting, and no line";
    EXPECT_EQ(ResignTimes, 5);
    EXPECT_EQ(Read(std::string("Pondering\0= off\nPondering = no\n", 31) + std::string(70000, 'x') + "\nUseEGTB no"),
              Warning(2, "Token unknown \"no\"") + Warning(4, "Token unknown \"no\""))
        << "a zero byte ends a line, but not the next one's; neither does a very long line";
}

TEST_F(Configuration, AByteOrderMarkIsNoPartOfTheFirstKey) {
    EXPECT_EQ(Read("\xEF\xBB\xBFResignTimes = 7\nResignValue = 70\n"), "");
    EXPECT_EQ(ResignTimes, 7);
    EXPECT_EQ(ResignValue, 70);
    EXPECT_EQ(Read("\xEF\xBB\xBF"), "");
}

TEST_F(Configuration, PathsAreTakenAsTheyStand) {
    Read("EGTBPath = d:\\end games\\, e:\\more \n");
    EXPECT_STREQ(EGTBPath, "d:\\end games\\, e:\\more ");
    Read("EGTBPath = \"d:\\end games\"\n");
    EXPECT_STREQ(EGTBPath, "d:\\end games\"");  // only the start of the value is found
    Read("EGTBPath = d:\\one\ttwo\n");
    EXPECT_STREQ(EGTBPath, "d:\\one");  // a control character ends the line
    Read("EGTBPath = " + std::string(300, 'x'));
    EXPECT_STREQ(EGTBPath, std::string(249 - 11, 'x').c_str()) << "what is too long is cut";
}

std::string Shipped(const char* name) {
    std::string text;
    EXPECT_TRUE(ReadWholeFile(std::string(CORVANTIS_SOURCE_DIR) + "/" + name, text));
    return text;
}

// The parenthesis behind a key in the manual page's list of settings.
std::string InManual(const std::string& key) {
    // There "\\e" stands for a backslash.
    static const std::string page = std::regex_replace(Shipped("doc/man/corvantis.6"), std::regex(R"(\\e)"), "\\");
    const size_t place = page.find(" " + key + " ", page.find(".SH SETTINGS"));
    const size_t open = page.find('(', place), close = page.find(')', open);
    return close == std::string::npos ? "" : page.substr(open, close + 1 - open);
}

// What users read about a key is true. The sample has a line "; Range: ..." before every key, which
// stands there as a remark; the table in README.md and the manual page have the same.
TEST_F(Configuration, DocumentationTellsKeysRangesAndDefaults) {
    const std::string sample = Shipped("driver/data/Corvantis.ini.sample"), readme = Shipped("README.md");
    const std::string defaults = Printed(PrintSettings);
    EXPECT_EQ(Read(sample), "");
    EXPECT_EQ(Printed(PrintSettings), defaults) << "as it is, the file changes nothing";
    std::string range;
    int keys = 0;
    for (const std::string& line : Split(sample, '\n')) {
        SCOPED_TRACE(line);
        EXPECT_LT(line.size(), 250u);
        if (line.rfind("; Range: ", 0) == 0) range = line.substr(9);
        const size_t equals = line.find(" = ");
        if (line.size() < 2 || line[0] != ';' || line[1] == ' ' || equals == std::string::npos) continue;
        const std::string key = line.substr(1, equals - 1), value = line.substr(equals + 3);
        ASSERT_LT(keys, ConfigurationKeyCount);
        EXPECT_EQ(key, configuration_keys[keys++].name);
        const std::string cells = " | " + range + " | " + value + " | `" + key + "` | ";
        EXPECT_NE(readme.find(cells), std::string::npos) << "no row of the table of settings has" << cells;
        EXPECT_EQ(InManual(key),
                  "(" + range + (range.find(", ") == range.npos ? ", " : "; ") + "default " + value + ")");

        const auto accepted = [&](const std::string& v) {
            return Read(key + " = " + v).find("WARNING") == std::string::npos;
        };
        EXPECT_TRUE(accepted(value));
        EXPECT_EQ(Printed(PrintSettings), defaults) << "the line in the sample is the default";
        if (const size_t dots = range.find(".."); dots != std::string::npos) {
            const int low = std::stoi(range), high = std::stoi(range.substr(dots + 2));
            EXPECT_TRUE(accepted(std::to_string(low)) && accepted(std::to_string(high)));
            EXPECT_FALSE(accepted(std::to_string(low - 1)) || accepted(std::to_string(high + 1)));
        } else if (const size_t comma = range.find(", "); comma != std::string::npos) {
            EXPECT_TRUE(accepted(range.substr(0, comma)) && accepted(range.substr(comma + 2)));
            EXPECT_FALSE(accepted("maybe"));
        } else {
            EXPECT_TRUE(range == "any" || range == "path") << range;
        }
        SetDefaults();
    }
    EXPECT_EQ(keys, ConfigurationKeyCount);
}

}  // namespace
