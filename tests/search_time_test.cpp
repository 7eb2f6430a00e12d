// search_time_test.cpp - the time budget as a pure function.
//
// The expected numbers were worked out by hand from the rule: usable = 95 % of the clock;
// base = its share for this move; target three quarters of base; hard at most seven bases
// and half of what is usable.
#include <gtest/gtest.h>

#include "search/time_control.h"

namespace {

struct BudgetCase {
    const char* why;
    bool uci;
    int own_time, increment, per_period, to_go, move_time, history, factor, phase;
    bool timed;
    int target, hard, poll;
};

const BudgetCase budget_cases[] = {
    {"no clock", true, -1, 0, 0, 0, 0, 0, 256, 5, false, 9999999, 9999999, 50000},
    {"infinite", true, InfiniteTime, 0, 0, 0, 0, 0, 256, 5, false, 9999999, 9999999, 50000},
    {"fixed time comes before a clock", true, 6000, 0, 0, 0, 40, 0, 256, 5, true, 40, 40, 5000},
    // usable 5700, base (5700 - 1) / 30 = 189, no factor: target 141, hard 1323.
    {"one minute, material without signature", true, 6000, 0, 0, 0, 0, 0, -1, 5, true, 141, 1323, 20000},
    // base 189 -> 94 + 94 * 256 / 256 = 188: target 141, hard 1316.
    {"one minute, neutral factor", true, 6000, 0, 0, 0, 0, 0, 256, 5, true, 141, 1316, 20000},
    // base 94 + 94 * 1072 / 256 = 487: target 365; hard min(3409, 2849).
    {"one minute, all men on the board", true, 6000, 0, 0, 0, 0, 0, 1072, 5, true, 365, 2849, 50000},
    // base 188 + 37 = 225: target 168; hard was set from 188.
    {"first moves think longer", true, 6000, 0, 0, 0, 0, 0, 256, 1, true, 168, 1316, 20000},
    // usable 950, base (29 * 100 - 1 + 950) / 30 = 128 (neutral 128): target 96, hard min(896, 474).
    {"increment, hard cut at half", true, 1000, 100, 0, 0, 0, 0, 256, 5, true, 96, 474, 5000},
    {"one centisecond", true, 1, 0, 0, 0, 0, 0, 256, 5, true, 3, 0, 5000},
    // 10 moves to go: base (5700 - 1) / 10 = 569: target 426, hard min(3983, 2849).
    {"moves to go", true, 6000, 0, 0, 10, 0, 0, 256, 5, true, 426, 2849, 50000},
    // 30 at most: base 5699 / 30 = 189.
    {"more than thirty to go", true, 6000, 0, 0, 60, 0, 0, 256, 5, true, 141, 1323, 20000},
    {"moves to go counts in UCI only", false, 6000, 0, 0, 10, 0, 0, 256, 5, true, 141, 1316, 20000},
    // Move 36 of 40: 5 left: base 5699 / 5 = 1139: target 854, hard 2849 (half).
    {"period, five moves left", false, 6000, 0, 40, 0, 0, 70, 256, 5, true, 854, 2849, 50000},
    // Move 40: 1 left: base 5699: target 4274; hard half.
    {"period, last move", false, 6000, 0, 40, 0, 0, 78, 256, 5, true, 4274, 2849, 50000},
    // Move 41: a new period of 40.
    {"period, after the control", false, 6000, 0, 40, 0, 0, 80, 256, 5, true, 141, 1323, 20000},
    // increment 20: base (5700 - 1 - 20 + 20 * 5) / 5 = 1155: target 866.
    {"moves to go with increment", true, 6000, 20, 0, 5, 0, 0, 256, 5, true, 866, 2849, 50000},
    // A day on the clock must not overflow: usable 8208000, base 273599 -> 273598.
    {"a whole day", true, 8640000, 0, 0, 0, 0, 0, 256, 5, true, 205198, 1915186, 50000},
};

TEST(TimeBudgetTest, HandWorkedCases) {
    for (const BudgetCase& c : budget_cases) {
        SCOPED_TRACE(c.why);
        SearchLimits limits = SearchLimits{};
        limits.OwnTime = c.own_time;
        limits.OwnIncrement = c.increment;
        limits.MovesPerPeriod = c.per_period;
        limits.MovesToGo = c.to_go;
        limits.MoveTime = c.move_time;
        const TimeBudget budget = Allocate(limits, {c.uci, c.history, c.factor, c.phase});
        EXPECT_EQ(budget.timed, c.timed);
        EXPECT_EQ(budget.target, c.target);
        EXPECT_EQ(budget.hard, c.hard);
        EXPECT_EQ(budget.poll_interval, c.poll);
    }
}

struct StretchCase {
    const char* why;
    int score, reference, phase, target;  // target out of 100
};

const StretchCase stretch_cases[] = {
    {"a rise of 25 is not yet notable", 55, 30, 5, 100},
    {"a rise of 26 is", 56, 30, 5, 200},
    {"a rise from a won position is welcome but no reason to think", 146, 120, 5, 100},
    {"a rise from the upper end of level", 145, 119, 5, 200},
    {"a rise from the lower end of level", 17, -9, 5, 200},
    {"a rise from below it", 16, -10, 5, 100},
    {"a fall of exactly 20", 10, 30, 5, 100},
    {"a fall of 21", 9, 30, 5, 250},
    {"a fall of 60", -30, 30, 5, 250},
    {"a fall of 61", -31, 30, 5, 700},
    {"a fall of 61 at the first own move", -31, 30, 0, 400},
};

TEST(TimeBudgetTest, ScoreChangesStretchTheTarget) {
    for (const StretchCase& c : stretch_cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(AdjustTarget(100, c.score, c.reference, c.phase), c.target);
    }
}

struct TimeUpCase {
    const char* why;
    ClockSituation now;  // elapsed, expected, trouble, score, reference, has_reference, phase
    bool up;
};

// The target is 90, the end 400; patience with a root move in trouble ends at 5 / 3 of the target, 150.
const TimeUpCase time_up_cases[] = {
    {"before the target", {89, false, false, 0, 0, true, 5}, false},
    {"at the target", {90, false, false, 0, 0, true, 5}, true},
    {"no search before to compare with", {90, false, false, -500, 0, false, 5}, true},
    {"the move foreseen needs a third", {30, true, false, 0, 0, true, 5}, true},
    {"but not less", {29, true, false, 0, 0, true, 5}, false},
    {"the best move is in trouble", {150, false, true, 0, 0, true, 5}, false},
    {"and has been so for long", {151, false, true, 0, 0, true, 5}, true},
    {"trouble of the move foreseen", {30, true, true, 0, 0, true, 5}, true},
    {"a small fall takes two and a half targets", {224, false, false, -30, 0, true, 5}, false},
    {"and no more", {225, false, false, -30, 0, true, 5}, true},
    {"a small fall of the move foreseen", {75, true, false, -30, 0, true, 5}, true},
    {"a severe fall takes all there is", {399, false, false, -100, 0, true, 5}, false},
    {"but not more", {400, false, false, -100, 0, true, 5}, true},
};

TEST(TimeBudgetTest, TimeIsUp) {
    for (const TimeUpCase& c : time_up_cases) EXPECT_EQ(IsTimeUp({true, 90, 400, 5000}, c.now), c.up) << c.why;
    EXPECT_TRUE(IsTimeUp({true, 90, 100, 5000}, {101, false, true, 0, 0, true, 5}))
        << "patience ends at the hard limit";
}

// Whatever a front end sends, the budget never exceeds half of the clock.
TEST(TimeBudgetTest, NeverMoreThanHalfTheClock) {
    for (const bool uci : {false, true})
        for (int clock = 0; clock < 3000; clock += 7)
            for (const int increment : {0, 1, 100, 6000})
                for (const int moves : {0, 1, 2, 40}) {
                    SearchLimits limits = SearchLimits{};
                    limits.OwnTime = clock;
                    limits.OwnIncrement = increment;
                    limits.MovesPerPeriod = limits.MovesToGo = moves;
                    const TimeBudget budget = Allocate(limits, {uci, 30, 1072, 0});
                    EXPECT_LE(2 * budget.hard, clock);
                    EXPECT_GE(budget.hard, 0);
                    EXPECT_GE(budget.target, 1);
                }
}

}  // namespace
