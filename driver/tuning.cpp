// tuning.cpp - see tuning.h.
//
// A score equal to the best counts as an improvement, so that values move across a plateau. A
// parameter that no position of the games depends on so grows with every try; it stops at a bound.
//
// State: none of its own; the parameters are the evaluation's.
#include "driver/tuning.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "board/console.h"
#include "board/random.h"
#include "driver/measure.h"

namespace {

constexpr int Passes = 1000;
// No sane weight is larger, and the evaluation's sums stay within their bounds.
constexpr int ParameterLimit = 2000;

void LogImprovement(const char* name, int value, int score) {
    std::FILE* log = std::fopen(TuningLog, "a");
    if (log == nullptr) {
        Print("Error opening file %s...\n", TuningLog);
        return;
    }
    const bool written = std::fprintf(log, "%s = %d (%d)\n", name, value, score) > 0;
    if (std::fclose(log) != 0 || !written) Print("Error writing file %s...\n", TuningLog);
}

bool ScoreOfGames(int* score) {
    RebuildEvaluation();
    return MeasureGames(false, score);
}

}  // namespace

bool TuneParameter(const NamedParameter& parameter, int* best, ScoreFunction measure) {
    int& value = *parameter.value;
    int step = Random() % (std::abs(value) / 4 + 1) + 1;
    int tries = Random() % 3 + 3;
    int kept = value, previous = *best;
    bool first_failure = true, finished = true;
    Print("Tuning %s [%d], best score = %d\n", parameter.name, value, *best);
    do {
        const int before = value;
        value = std::clamp(value + step, -ParameterLimit, ParameterLimit);
        Print("Trying %s = %d\n", parameter.name, value);
        Flush();
        int score;
        finished = measure(&score);
        if (!finished) break;
        if (score >= *best) {
            LogImprovement(parameter.name, value, score);
            Print("Success, score = %d\n", score);
            *best = score;
            kept = value;
        } else {
            // Better than the last try, though not the best: on in this direction.
            if (score <= previous) {
                value = before;
                if (first_failure) step = -step;
                else step = std::abs(step) < 2 ? 0 : -step / 2;
                first_failure = false;
            }
            Print("Fail, score = %d\n", score);
        }
        previous = score;
        --tries;
    } while (tries >= 1 && step != 0);
    value = kept;
    return finished;
}

void TuneParameters() {
    int best;
    if (!MeasureGames(false, &best)) return;
    const NamedParameter* parameters = NamedParameters();
    bool finished = true;
    for (int pass = 0; pass < Passes && finished; ++pass)
        for (int i = 0; i < NamedParameterCount && finished; ++i)
            finished = TuneParameter(parameters[i], &best, ScoreOfGames);
    RebuildEvaluation();
}
