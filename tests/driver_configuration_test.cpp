// driver_configuration_test.cpp - the settings file: keys, separators, ranges, warnings.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "board/console.h"
#include "board/settings.h"
#include "driver/configuration.h"
#include "driver/startup.h"
#include "driver/words.h"
#include "tests/support/engine_environment.h"

namespace {

class Configuration : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(AllocateWords());
        SetDefaults();
        name_ = (std::filesystem::temp_directory_path()
                 / ("corvantis-configuration-"
                    + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name())))
                    .string();
    }
    void TearDown() override {
        std::remove(name_.c_str());
        ResetEngine();
    }
    // Reads a file of this text; returns what was printed.
    std::string Read(const std::string& text) {
        std::ofstream(name_, std::ios::binary) << text;
        Flush();
        ::testing::internal::CaptureStdout();
        ReadConfiguration(name_.c_str());
        Flush();
        return ::testing::internal::GetCapturedStdout();
    }
    static std::string Warning(int line, const std::string& text) {
        return "Corvantis.ini(" + std::to_string(line) + ") WARNING: " + text + "\n";
    }
    std::string name_;
};

const std::string BadHash = "Incorrect hash size setting in Corvantis.ini; set to default";
const std::string BadPawnHash = "Incorrect pawn hash size setting in Corvantis.ini; set to default";
const std::string BadCache = "Incorrect EGTB cache size setting in Corvantis.ini; set to default";

TEST_F(Configuration, Sizes) {
    struct Case {
        const char* line;
        const uint32_t* setting;
        uint32_t value;
        std::string warning;
    };
    const Case cases[] = {
        {"TranspositionSizeMb = 64", &TranspositionSize, 3355443, ""},
        {"TranspositionSizeMb = 0", &TranspositionSize, 0, ""},
        {"TranspositionSizeMb = 1024", &TranspositionSize, 53687091, ""},
        {"TranspositionSizeMb = 1025", &TranspositionSize, 524288, BadHash},
        {"TranspositionSizeMb = 2000", &TranspositionSize, 524288, BadHash},
        {"TranspositionSizeMb = -1", &TranspositionSize, 524288, BadHash},
        {"TranspositionSize = 20", &TranspositionSize, 1048576, ""},
        {"TranspositionSize = 0", &TranspositionSize, 1, ""},
        {"TranspositionSize = 25", &TranspositionSize, 33554432, ""},
        {"TranspositionSize = 26", &TranspositionSize, 524288, BadHash},
        {"PawnHashSizeMb = 7", &PawnHashSize, 305834, ""},
        {"PawnHashSizeMb = 9999999999999", &PawnHashSize, 524288, BadPawnHash},
        {"PawnHashSize = 12", &PawnHashSize, 4096, ""},
        {"PawnHashSize = 11", &PawnHashSize, 524288, BadPawnHash},
        {"PawnHashSize = 24", &PawnHashSize, 524288, BadPawnHash},
        {"EGTBHashSizeMb = 128", &EGTBHashSize, 134217728, ""},
        {"EGTBCacheSizeMb = 0", &EGTBHashSize, 1048576, BadCache},
        {"EGTBCacheSizeMb = 2", &EGTBHashSize, 2097152, ""},
        {"EGTBHashSize = 27", &EGTBHashSize, 134217728, ""},
        {"EGTBCacheSize = 19", &EGTBHashSize, 1048576, BadCache},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        SetDefaults();
        EXPECT_EQ(Read(c.line), c.warning.empty() ? "" : Warning(1, c.warning));
        EXPECT_EQ(*c.setting, c.value);
    }
}

TEST_F(Configuration, StyleAndVariety) {
    EXPECT_EQ(Read("Aggressivity = 151\nCowardice = 0\nVarietyOfPlay = 100\n"), "");
    EXPECT_EQ(Aggressivity, 151);
    EXPECT_EQ(AggressivityHalf, 75);
    EXPECT_EQ(Cowardice, 0);
    EXPECT_EQ(VarietyOfPlay, 100);
    EXPECT_EQ(Read("Aggressivity = 350\nCowardice = 301\nVarietyOfPlay = 101\n"),
              Warning(1, "Incorrect AGGRESSIVITY setting; set to 300")
                  + Warning(2, "Incorrect COWARDICE setting; set to 300")
                  + Warning(3, "Incorrect VarietyOfPlay setting; set to 100"));
    EXPECT_EQ(Aggressivity, 300);
    EXPECT_EQ(AggressivityHalf, 150);
    EXPECT_EQ(Cowardice, 300);
    EXPECT_EQ(Read("Aggressivity = -1\nCowardice = -1\nVarietyOfPlay = -1\n"),
              Warning(1, "Incorrect AGGRESSIVITY setting; set to 0")
                  + Warning(2, "Incorrect COWARDICE setting; set to 0")
                  + Warning(3, "Incorrect VarietyOfPlay setting; set to 0"));
    EXPECT_EQ(AggressivityHalf, 0);
    EXPECT_EQ(CowardiceHalf, 0);
}

TEST_F(Configuration, Flags) {
    struct Case {
        const char* key;
        const int* setting;
    };
    const Case cases[] = {
        {"Learning", &UseLearning},
        {"UseBookLearning", &UseBookLearning},
        {"Pondering", &Pondering},
        {"UseEGTB", &UseEGTB},
        {"UseLearningData", &UseLearningData},
        {"UseBookWeights", &UseBookWeights},
        {"LogLearningIntoFile", &LogLearningIntoFile},
    };
    for (const Case& c : cases) {
        for (const char* on : {"on", "true", "ON", "o", "True"}) {
            EXPECT_EQ(Read(std::string(c.key) + " = off\n" + c.key + " = " + on), "");
            EXPECT_EQ(*c.setting, 1) << c.key << ' ' << on;
        }
        for (const char* off : {"off", "false", "OFF", "f"}) {
            EXPECT_EQ(Read(std::string(c.key) + " = on\n" + c.key + " = " + off), "");
            EXPECT_EQ(*c.setting, 0) << c.key << ' ' << off;
        }
        EXPECT_EQ(Read(std::string(c.key) + " = on\n" + c.key + " = maybe\n"), Warning(2, "Token unknown \"maybe\""));
        EXPECT_EQ(*c.setting, 1) << c.key;
    }
}

TEST_F(Configuration, PonderingOffSwitchesItOffNow) {
    Read("Pondering = off");
    EXPECT_EQ(PonderSwitch, 0);
}

TEST_F(Configuration, OtherValues) {
    EXPECT_EQ(Read("ResignValue = 700x\nResignTimes=-2\nBookLearningBound,250\nBookLearningMode = Discover\n"), "");
    EXPECT_EQ(ResignValue, 700);
    EXPECT_EQ(ResignTimes, -2);
    EXPECT_EQ(BookLearningBound, 250);
    EXPECT_EQ(BookLearningMode, DISCOVER);
    EXPECT_EQ(Read("BookLearningMode kill\nBookLearningMode = none"), Warning(2, "Token unknown \"none\""));
    EXPECT_EQ(BookLearningMode, KILL);
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
}

TEST_F(Configuration, BookIsOpenedAtOnce) {
    EXPECT_EQ(Read("OpeningsBook = no such book.cvt\nVarietyOfPlay = 101"),
              "Error opening \"no such book.cvt\"!\n" + Warning(2, "Incorrect VarietyOfPlay setting; set to 100"));
}

TEST_F(Configuration, NoFileIsNoError) {
    ::testing::internal::CaptureStdout();
    ReadConfiguration("/no/such/folder/Corvantis.ini");
    Flush();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

// ---- What users read about the keys ----

std::vector<std::string> LinesOf(const char* name) {
    std::ifstream file(std::string(CORVANTIS_SOURCE_DIR) + "/" + name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

struct Explained {
    std::string key, range, value;
};

// The sample's keys: a line "; Range: ..." and the key as a remark.
std::vector<Explained> SampleKeys() {
    std::vector<Explained> keys;
    std::string range;
    for (const std::string& line : LinesOf("driver/data/Corvantis.ini.sample")) {
        const size_t equals = line.find(" = ");
        if (line.rfind("; Range: ", 0) == 0) range = line.substr(9);
        else if (line.size() > 1 && line[0] == ';' && line[1] != ' ' && equals != std::string::npos)
            keys.push_back({line.substr(1, equals - 1), range, line.substr(equals + 3)});
    }
    return keys;
}

std::string Settings() {
    ::testing::internal::CaptureStdout();
    PrintSettings();
    Flush();
    return ::testing::internal::GetCapturedStdout();
}

TEST_F(Configuration, SampleFileTellsKeysRangesAndDefaults) {
    const auto keys = SampleKeys();
    ASSERT_EQ(keys.size(), size_t(ConfigurationKeyCount));
    const std::string defaults = Settings();
    const auto accepted = [this](const std::string& line) { return Read(line).find("WARNING") == std::string::npos; };
    for (int i = 0; i < ConfigurationKeyCount; ++i) {
        const Explained& k = keys[size_t(i)];
        SCOPED_TRACE(k.key);
        EXPECT_EQ(k.key, configuration_keys[i].name);
        EXPECT_TRUE(accepted(k.key + " = " + k.value));
        EXPECT_EQ(Settings(), defaults) << "the line in the sample is the default";
        const size_t dots = k.range.find("..");
        if (dots != std::string::npos) {
            const int low = std::stoi(k.range), high = std::stoi(k.range.substr(dots + 2));
            EXPECT_TRUE(accepted(k.key + " = " + std::to_string(low)));
            EXPECT_TRUE(accepted(k.key + " = " + std::to_string(high)));
            EXPECT_FALSE(accepted(k.key + " = " + std::to_string(low - 1)));
            EXPECT_FALSE(accepted(k.key + " = " + std::to_string(high + 1)));
        } else if (const size_t comma = k.range.find(", "); comma != std::string::npos) {
            EXPECT_TRUE(accepted(k.key + " = " + k.range.substr(0, comma)));
            EXPECT_TRUE(accepted(k.key + " = " + k.range.substr(comma + 2)));
            EXPECT_FALSE(accepted(k.key + " = maybe"));
        } else {
            EXPECT_TRUE(k.range == "any" || k.range == "path") << k.range;
        }
        SetDefaults();
    }
    // As it is, the file changes nothing.
    std::string sample;
    for (const std::string& line : LinesOf("driver/data/Corvantis.ini.sample")) {
        EXPECT_LT(line.size(), 250u) << line;
        sample += line + "\n";
    }
    EXPECT_EQ(Read(sample), "");
    EXPECT_EQ(Settings(), defaults);
}

TEST_F(Configuration, ReadmeNamesEveryKey) {
    const std::vector<std::string> readme = LinesOf("README.md");
    for (const Explained& k : SampleKeys()) {
        const std::string cells = " | " + k.range + " | " + k.value + " | `" + k.key + "` | ";
        EXPECT_TRUE(std::any_of(readme.begin(), readme.end(),
                                [&](const std::string& line) { return line.find(cells) != std::string::npos; }))
            << "no row of the table of settings has" << cells;
    }
}

// A million lines of keys, numbers and junk, a thousand a file.
TEST_F(Configuration, RandomFilesLeaveSettingsInRange) {
    const char* const separators[] = {" = ", "=", " ", ",", "\t", "\"", " =\"", "", "  ,= "};
    const char* const values[] = {"on",   "off", "true", "fal", "o",   "discover",
                                  "kill", "x",   "-",    "+7",  "1e9", "\xff\xfe"};
    std::mt19937 random(1);
    const auto pick = [&random](int count) { return int(random() % unsigned(count)); };
    for (int round = 0; round < 1000; ++round) {
        std::string text;
        for (int i = 0; i < 1000; ++i) {
            const std::string key = configuration_keys[pick(ConfigurationKeyCount)].name;
            // Opening thousands of books is another test's business, and slow.
            if (key != "OpeningsBook") text += pick(20) ? key : key.substr(size_t(pick(4)));
            text += separators[pick(pick(4) ? 2 : int(std::size(separators)))];
            if (pick(3) == 0) text += values[pick(int(std::size(values)))];
            else if (pick(3)) text += std::to_string(pick(600) - 150);
            else text += std::to_string(int64_t(random() >> 1) * int64_t(random() >> 1)).insert(0, pick(2) ? "-" : "");
            for (int junk = pick(10) ? 0 : pick(300); junk > 0; --junk) text += char(random());
            text += pick(10) ? "\n" : "\r\n";
        }
        Read(text);
        ASSERT_LE(TranspositionSize, 1073741824u / TranspositionEntryBytes) << "round " << round;
        ASSERT_LE(PawnHashSize, 1073741824u / PawnHashEntryBytes);
        ASSERT_TRUE(EGTBHashSize >= 1048576 && EGTBHashSize <= 134217728) << EGTBHashSize;
        for (const int percent : {Aggressivity, Cowardice}) ASSERT_TRUE(percent >= 0 && percent <= 300) << percent;
        ASSERT_EQ(AggressivityHalf, Aggressivity / 2);
        ASSERT_EQ(CowardiceHalf, Cowardice / 2);
        ASSERT_TRUE(VarietyOfPlay >= 0 && VarietyOfPlay <= 100) << VarietyOfPlay;
        for (const int flag : {UseLearning, UseBookLearning, Pondering, PonderSwitch, UseEGTB, UseLearningData,
                               UseBookWeights, LogLearningIntoFile, BookLearningMode})
            ASSERT_TRUE(flag == 0 || flag == 1) << flag;
        ASSERT_LT(std::strlen(EGTBPath), 250u);
        ASSERT_FALSE(Pondering == 0 && PonderSwitch == 1);
    }
}

}  // namespace
