// weight_fit.h - fitting the free weights of the evaluation to a training set.
//
// The error is the mean square of ExpectedScore(static evaluation) less the target. It is made
// small by gradient on a linear model of the evaluation: base score and slope for every weight
// that a position touches. Most weights enter linearly, but special endings and tables indexed by
// sums do not, so the model is made anew in each round, around the rounded weights of the last.
//
// Every weight is drawn to where it started, as strongly as an opinion that it is right within
// `spread`: a weight that few positions touch stays, one that many touch goes where they say. In the
// same way the changes of neighbours in a table are drawn together, so that a rare index follows
// the frequent ones beside it. Numbers are settled before the last round: rounded, they no longer
// are what the terms were fitted for.
#pragma once

#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include "tools/common/training_set.h"

struct FreeWeight {
    std::string name;  // such as "RookOpen opening", "KnightMobility[3] endgame"
    int* value;
    int start, low, high;
    double spread;  // standard deviation of the opinion that `start` is right
    int slot;       // in term_weights; -1 for numbers
    int phase;
    int step;  // of a finite difference
    // How many places before it in the list its neighbours in a table are, 0: it has no such neighbour.
    int beside, above;
};

struct FitSettings {
    int rounds = 3;
    int epochs = 200;                       // at most, a round
    double term_spread = 20;                // centipawns
    double smoothness = 10;                 // centipawns by which changes of neighbours in a table should differ
    double number_spread = 1.0 / 16;        // of the number's range
    double scale = 0;                       // centipawns of ExpectedScore(); 0: fitted anew before each round
    std::vector<std::string> only, freeze;  // names of terms and numbers; `only` empty: all
    const volatile std::sig_atomic_t* stop = nullptr;  // set to end after the running block
    std::function<void(const std::string&)> log;       // may be empty
};

struct FitErrors {
    double train = 0, held_out = 0;
};

struct FitReport {
    double scale = 0;
    FitErrors before, after;       // by the evaluation itself with rounded weights
    double linearise_seconds = 0;  // of the longest
    std::vector<FreeWeight> weights;
    std::vector<int> touched;  // [weight] positions with a slope; empty before the first round
};

// The weights that settings select, with their present values as start. An unknown name in `only`
// or `freeze` goes to *unknown and leaves the list empty.
std::vector<FreeWeight> ListFreeWeights(const FitSettings& settings, std::string* unknown);

// What one round works on. Row p has slopes begin[p] .. begin[p + 1].
struct LinearModel {
    std::vector<float> base;  // static scores
    std::vector<size_t> begin;
    std::vector<uint16_t> weight;
    std::vector<float> slope;  // centipawns of the side to move a unit of the weight
};
LinearModel Linearise(TrainingSet& set, const std::vector<FreeWeight>& weights);

// By real evaluations with the present weights.
FitErrors EvaluationErrors(const TrainingSet& set, double scale);

// Changes the program's weights. They end at the rounded weights with the lowest held-out error
// seen, which may be the start. The pawn hash must be switched off.
FitReport FitWeights(TrainingSet& set, const FitSettings& settings);

// What each term is worth: the held-out error with it switched off (weights 0, a table at its mean
// over the data) less the whole, largest first.
struct TermWorth {
    std::string name;
    int slots;
    double increase;
};
std::vector<TermWorth> TermWorths(TrainingSet& set, double scale);
