// time_control.cpp - the time budget and the periodic check.
//
// State: time_budget, root_in_trouble, expected_best_move.
#include "search/time_control.h"

#include <algorithm>
#include <chrono>

#include "board/position.h"
#include "board/settings.h"
#include "eval/material.h"
#include "search/host.h"
#include "search/report.h"
#include "search/search_state.h"

TimeBudget time_budget;
bool root_in_trouble;
Move expected_best_move;

namespace {

constexpr int Unlimited = 9999999;
constexpr int MaxMovesAhead = 30;
constexpr int UselessPonderTime = 100;  // a ponder search without purpose ends after this
// Changes of the root score, centipawns, that ask for more time; a rise does so only from a
// level position.
constexpr int NotableRise = 25, NotableFall = 20, SevereFall = 60;
constexpr int LevelScoreLow = -9, LevelScoreHigh = 119;
constexpr int64_t ReportInterval = 100000;  // nodes between two periodic lines

int64_t checks_until_report;
int root_time_factor;  // of the root's material: the board may be deep in the tree later

int PollInterval(int64_t target) { return target < 101 ? 5000 : target < 301 ? 20000 : 50000; }

// Reloads the countdown, so that a node limit is met at the first main node beyond it.
void ReloadCountdown() {
    int64_t interval = poll_interval;
    if (search_limits.MaxNodes > 0) interval = std::min(interval, search_limits.MaxNodes - nodes_searched - 1);
    poll_countdown = int(std::max<int64_t>(interval, 0));
}

void ReportPeriodically() {
    if (!UciMode || --checks_until_report > 0) return;
    checks_until_report = std::max<int64_t>(ReportInterval / poll_interval, 1);
    ReportNodesPerSecond();
}

void CheckClock() {
    const int64_t elapsed = NowCentiseconds() - search_start;
    if (search_limits.MoveTime > 0) {
        if (elapsed >= time_budget.hard) stop_flag = true;
        return;
    }
    const bool expected = expected_best_move != 0 && root_moves[0].move == expected_best_move;
    if (!expected) expected_best_move = 0;
    const int reference = reference_side == root_side ? reference_score : -reference_score;
    const ClockSituation now = {elapsed,   expected,        root_in_trouble, root_moves[0].score,
                                reference, reference_valid, move_phase};
    if (IsTimeUp(time_budget, now)) stop_flag = true;
}

}  // namespace

int64_t NowCentiseconds() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count() / 10;
}

TimeBudget Allocate(const SearchLimits& limits, const TimeSituation& situation) {
    if (limits.MoveTime > 0) return {true, limits.MoveTime, limits.MoveTime, PollInterval(limits.MoveTime)};
    if (limits.OwnTime == NoClock || limits.OwnTime >= InfiniteTime)
        return {false, Unlimited, Unlimited, PollInterval(Unlimited)};

    const int64_t usable = int64_t(limits.OwnTime) * 95 / 100;
    const int64_t increment = limits.OwnIncrement;
    const int64_t half = (usable - 1) / 2;
    const int move_number = situation.history_length / 2 + 1;

    int64_t base;
    int moves_ahead = 0;  // to the end of the period, 0 without one
    if (situation.uci) {
        moves_ahead = std::min(limits.MovesToGo, MaxMovesAhead);
    } else if (limits.MovesPerPeriod > 0) {
        const int period = limits.MovesPerPeriod;
        const int last = (move_number + period - 1) / period * period;
        moves_ahead = std::min(last - move_number + 1, MaxMovesAhead);
    }
    if (moves_ahead <= 0) {
        base = (increment * 29 - 1 + usable) / 30;
        if (situation.time_factor >= 0) base = base / 2 + ((situation.time_factor * (base / 2)) >> 8);
    } else {
        base = (usable - 1 - increment + increment * moves_ahead) / moves_ahead;
    }
    int64_t hard = 7 * base;
    if (moves_ahead <= 0) hard = std::min(hard, half);
    if (situation.move_phase < 2) base += base / 5;
    if (base < 6) base = 5;
    hard = std::min({hard, 7 * base, half});
    const int64_t target = std::max<int64_t>(3 * base / 4, 1);
    return {true, int(std::min<int64_t>(target, Unlimited)), int(std::clamp<int64_t>(hard, 0, Unlimited)),
            PollInterval(target)};
}

int64_t AdjustTarget(int64_t target, int score, int reference, int phase) {
    const int change = score - reference;
    if (change > NotableRise && reference >= LevelScoreLow && reference <= LevelScoreHigh) return 2 * target;
    if (change >= -NotableFall) return target;
    if (change >= -SevereFall) return target / 2 + 2 * target;
    return target * (phase != 0 ? 7 : 4);
}

bool IsTimeUp(const TimeBudget& budget, const ClockSituation& now) {
    const int64_t patience = std::min<int64_t>(5 * int64_t(budget.target) / 3, budget.hard);
    if (now.trouble && !now.expected && now.elapsed <= patience) return false;
    int64_t wanted = now.expected ? budget.target / 3 : budget.target;
    if (now.has_reference) wanted = AdjustTarget(wanted, now.score, now.reference, now.phase);
    return now.elapsed >= std::min<int64_t>(wanted, budget.hard);
}

void RestartBudget() {
    SearchLimits limits = search_limits;
    if (PonderingNow || AnalysisMode) {
        limits.OwnTime = NoClock;
        limits.MoveTime = 0;
    } else if (limits.OwnTime == NoClock && !UciMode && limits.MaxDepth >= NoDepthLimit && limits.MaxNodes == 0) {
        // A person who set no clock at all does not want to wait for ever.
        limits.OwnTime = limits.BaseTime;
    }
    const TimeSituation situation = {UciMode != 0, root_history_count, root_time_factor, move_phase};
    time_budget = Allocate(limits, situation);
    poll_interval = time_budget.poll_interval;
    checks_until_report = std::max<int64_t>(ReportInterval / poll_interval, 1);
    poll_countdown = std::min(poll_countdown, poll_interval);
}

void StartClock() {
    search_start = NowCentiseconds();
    const MaterialRecord* const material = MaterialRecordOrNull();
    root_time_factor = material != nullptr ? material->time_factor : -1;
    RestartBudget();
    ReloadCountdown();
}

void PeriodicCheck() {
    ReloadCountdown();
    if (search_host.input_available()) {
        search_host.handle_input();
        if (stop_flag) return;
    }
    if (search_limits.MaxNodes > 0 && nodes_searched >= search_limits.MaxNodes) stop_flag = true;
    if (AnalysisMode && (take_back_request || leave_analysis_request)) stop_flag = true;
    if (PonderingNow && one_shot_stop && NowCentiseconds() - search_start >= UselessPonderTime) stop_flag = true;
    ReportPeriodically();
    if (time_budget.timed && !PonderingNow && !AnalysisMode && search_limits.MaxDepth >= NoDepthLimit) CheckClock();
}
