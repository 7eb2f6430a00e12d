// driver_tuning_test.cpp - hill climbing on one parameter, and the log of improvements.
//
// The measure is a list of scores, so that what must be tried next can be worked out by hand.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "board/console.h"
#include "board/random.h"
#include "driver/tuning.h"
#include "tests/support/temporary_path.h"
#include "tools/common/text.h"

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
        std::filesystem::create_directories(folder_);
        std::filesystem::current_path(folder_);
    }
    void TearDown() override {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(folder_);
    }
    // Starts at `value` with the best score 10; what was printed goes to `printed_`.
    bool Tune(int value, int step, int tries, const std::vector<int>& given) {
        value_ = value;
        best_ = 10;
        scores = given;
        tried.clear();
        watched = &value_;
        SeedRandom(SeedFor(value, step, tries));
        Flush();
        ::testing::internal::CaptureStdout();
        const bool finished = TuneParameter({"p", &value_}, &best_, NextScore);
        Flush();
        printed_ = ::testing::internal::GetCapturedStdout();
        return finished;
    }
    const std::string folder_ = TemporaryPath("");
    const std::filesystem::path before_ = std::filesystem::current_path();
    int value_ = 0, best_ = 0;
    std::string printed_;
};

TEST_F(HillClimbing, OneParameter) {
    using List = std::vector<int>;
    const struct {
        const char* why;
        int value, step, tries;
        List scores, tried;
        int kept, best;
        const char* successes;  // in the log, the parameter's name before each
    } cases[] = {
        {"better to the last try", 0, 1, 3, {11, 12, 13}, {1, 2, 3}, 3, 13, "= 1 (11)|= 2 (12)|= 3 (13)|"},
        {"as good is good enough", 0, 1, 3, {10, 10, 10}, {1, 2, 3}, 3, 10, "= 1 (10)|= 2 (10)|= 3 (10)|"},
        {"a second failure with step 1 ends it", 0, 1, 5, {5, 12, 9}, {1, -1, -2}, -1, 12, "= -1 (12)|"},
        {"later failures turn and halve", 40, 8, 5, {1, 1, 1, 1, 1}, {48, 32, 44, 38, 41}, 40, 10, ""},
        {"half of three is one", 12, 3, 5, {1, 1, 1, 1}, {15, 9, 13}, 12, 10, ""},
        {"better than the last one: on", 0, 1, 5, {5, 7, 10, 3}, {1, -1, -2, -3}, -2, 10, "= -2 (10)|"},
        {"on to the last try: the old value", 0, 1, 3, {5, 6, 7}, {1, -1, -2}, 0, 10, ""},
        {"below zero up as well", -8, 2, 3, {11, 12, 13}, {-6, -4, -2}, -2, 13, "= -6 (11)|= -4 (12)|= -2 (13)|"},
        {"given up: the best so far", 0, 1, 5, {11, GivenUp}, {1, 2}, 1, 11, "= 1 (11)|"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        std::remove(TuningLog);
        EXPECT_EQ(Tune(c.value, c.step, c.tries, c.scores), c.scores.back() != GivenUp);
        EXPECT_EQ(tried, c.tried);
        EXPECT_EQ(value_, c.kept);
        EXPECT_EQ(best_, c.best);
        std::string log, expected;
        ReadWholeFile(TuningLog, log);
        for (const std::string& line : Split(c.successes, '|')) expected += line.empty() ? "" : "p " + line + "\n";
        EXPECT_EQ(log, expected);
    }
}

// Every kind of outcome once: a failure that turns round, one that goes on, a success, the end. The
// log is a full disk, which costs a line each and nothing else.
TEST_F(HillClimbing, WhatIsPrinted) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no full disk to be had";
    std::filesystem::create_symlink("/dev/full", TuningLog);
    EXPECT_TRUE(Tune(0, 1, 5, {5, 7, 10, 3}));
    EXPECT_EQ(printed_,
              "Tuning p [0], best score = 10\n"
              "Trying p = 1\nFail, score = 5\n"
              "Trying p = -1\nFail, score = 7\n"
              "Trying p = -2\nError writing file tune.log...\nSuccess, score = 10\n"
              "Trying p = -3\nFail, score = 3\n");
    EXPECT_EQ(value_, -2);
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
