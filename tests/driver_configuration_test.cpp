// driver_configuration_test.cpp - the settings file: keys, separators, ranges, warnings.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "board/console.h"
#include "board/settings.h"
#include "driver/configuration.h"
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

}  // namespace
