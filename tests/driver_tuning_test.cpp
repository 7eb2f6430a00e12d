// driver_tuning_test.cpp - hill climbing on one parameter, and the log of improvements.
//
// The measure is a list of scores, so that what must be tried next can be worked out by hand.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <vector>

#include "board/console.h"
#include "board/random.h"
#include "driver/tuning.h"
#include "tests/support/temporary_path.h"

namespace {

constexpr int GivenUp = -1;
std::vector<int> scores;  // still to be given
std::vector<int> tried;   // values of the parameter when it was measured
const int* watched;

bool NextScore(int* score) {
    tried.push_back(*watched);
    if (scores.empty() || scores.front() == GivenUp) return false;
    *score = scores.front();
    scores.erase(scores.begin());
    return true;
}

// A seed with which a parameter of this value begins with this step and number of tries.
uint32_t SeedFor(int value, int step, int tries) {
    for (uint32_t seed = 1;; ++seed) {
        SeedRandom(seed);
        if (Random() % (std::abs(value) / 4 + 1) + 1 == step && Random() % 3 + 3 == tries) return seed;
    }
}

class HillClimbing : public ::testing::Test {
protected:
    void SetUp() override {
        before_ = std::filesystem::current_path();
        std::filesystem::create_directories(folder_);
        std::filesystem::current_path(folder_);
    }
    void TearDown() override {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(folder_);
    }
    static std::string Log() {
        std::ifstream file(TuningLog);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    const std::string folder_ = TemporaryPath("");
    std::filesystem::path before_;
};

TEST_F(HillClimbing, OneParameter) {
    struct Case {
        const char* why;
        int value, step, tries;
        std::vector<int> scores;  // the best before is 10
        std::vector<int> tried;
        int kept, best;
        const char* log;
    };
    const Case cases[] = {
        {"better and better, to the last try",
         0,
         1,
         3,
         {11, 12, 13},
         {1, 2, 3},
         3,
         13,
         "p = 1 (11)\np = 2 (12)\np = 3 (13)\n"},
        {"as good is good enough", 0, 1, 3, {10, 10, 10}, {1, 2, 3}, 3, 10, "p = 1 (10)\np = 2 (10)\np = 3 (10)\n"},
        {"the first failure turns round, a second with the smallest step ends it",
         0,
         1,
         5,
         {5, 12, 9},
         {1, -1, -2},
         -1,
         12,
         "p = -1 (12)\n"},
        {"later failures turn round and halve", 40, 8, 5, {1, 1, 1, 1, 1}, {48, 32, 44, 38, 41}, 40, 10, ""},
        {"half of three is one", 12, 3, 5, {1, 1, 1, 1}, {15, 9, 13}, 12, 10, ""},
        {"worse than the best, better than the last: on without a success",
         0,
         1,
         5,
         {5, 7, 10, 3},
         {1, -1, -2, -3},
         -2,
         10,
         "p = -2 (10)\n"},
        {"on without a success to the last try: the old value comes back", 0, 1, 3, {5, 6, 7}, {1, -1, -2}, 0, 10, ""},
        {"below zero the step still goes up",
         -8,
         2,
         3,
         {11, 12, 13},
         {-6, -4, -2},
         -2,
         13,
         "p = -6 (11)\np = -4 (12)\np = -2 (13)\n"},
        {"given up: the best so far stays", 0, 1, 5, {11, GivenUp}, {1, 2}, 1, 11, "p = 1 (11)\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        std::remove(TuningLog);
        int value = c.value, best = 10;
        scores = c.scores;
        tried.clear();
        watched = &value;
        SeedRandom(SeedFor(c.value, c.step, c.tries));
        Flush();
        ::testing::internal::CaptureStdout();
        const bool finished = TuneParameter({"p", &value}, &best, NextScore);
        Flush();
        const std::string printed = ::testing::internal::GetCapturedStdout();
        EXPECT_EQ(finished, c.scores.back() != GivenUp);
        EXPECT_EQ(tried, c.tried);
        EXPECT_EQ(value, c.kept);
        EXPECT_EQ(best, c.best);
        EXPECT_EQ(Log(), c.log);
        EXPECT_EQ(printed.find("Tuning p [" + std::to_string(c.value)
                               + "], best score = 10\nTrying p = " + std::to_string(c.tried[0]) + "\n"),
                  0u)
            << printed;
    }
}

// Every kind of outcome once: a failure that turns round, one that goes on, a success, the end. The
// log is a full disk, which costs a line each and nothing else.
TEST_F(HillClimbing, WhatIsPrinted) {
    std::error_code error;
    std::filesystem::create_symlink("/dev/full", TuningLog, error);
    if (error || !std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no full disk to be had";
    int value = 0, best = 10;
    scores = {5, 7, 10, 3};
    watched = &value;
    SeedRandom(SeedFor(0, 1, 5));
    Flush();
    ::testing::internal::CaptureStdout();
    EXPECT_TRUE(TuneParameter({"p", &value}, &best, NextScore));
    Flush();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Tuning p [0], best score = 10\n"
              "Trying p = 1\nFail, score = 5\n"
              "Trying p = -1\nFail, score = 7\n"
              "Trying p = -2\nError writing file tune.log...\nSuccess, score = 10\n"
              "Trying p = -3\nFail, score = 3\n");
    EXPECT_EQ(value, -2);
}

bool RandomScore(int* score) {
    *score = Random() % 100;
    return true;
}

// Three rounds over all parameters; the values that the log tells must be those in memory.
TEST_F(HillClimbing, TheLogReplaysToTheSameValues) {
    const NamedParameter* parameters = NamedParameters();
    std::map<std::string, int> before, replayed;
    for (int i = 0; i < NamedParameterCount; ++i) before[parameters[i].name] = *parameters[i].value;
    replayed = before;
    SeedRandom(5);
    ::testing::internal::CaptureStdout();
    for (int pass = 0; pass < 3; ++pass)
        for (int i = 0, best = 50; i < NamedParameterCount; ++i, best = 50)
            EXPECT_TRUE(TuneParameter(parameters[i], &best, RandomScore));
    Flush();
    ::testing::internal::GetCapturedStdout();
    std::ifstream log(TuningLog);
    char name[100];
    int value, score, lines = 0;
    for (std::string line; std::getline(log, line); ++lines) {
        ASSERT_EQ(std::sscanf(line.c_str(), "%99s = %d (%d)", name, &value, &score), 3) << line;
        ASSERT_TRUE(replayed.count(name)) << line;
        replayed[name] = value;
    }
    EXPECT_GT(lines, NamedParameterCount);
    for (int i = 0; i < NamedParameterCount; ++i) {
        EXPECT_EQ(*parameters[i].value, replayed[parameters[i].name]) << parameters[i].name;
        *parameters[i].value = before[parameters[i].name];
    }
}

// Nothing depends on such a parameter: every value is as good, for a thousand rounds.
TEST_F(HillClimbing, NoParameterGrowsForEver) {
    int value = 3, best = 10;
    ::testing::internal::CaptureStdout();
    for (int i = 0; i < 300; ++i) TuneParameter({"p", &value}, &best, [](int* score) { return (*score = 10) == 10; });
    Flush();
    ::testing::internal::GetCapturedStdout();
    EXPECT_GT(value, 100);
    EXPECT_LT(value, 100000);
}

}  // namespace
