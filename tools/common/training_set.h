// training_set.h - positions with the results of their games, for tuning the evaluation.
//
// A line of a file is "FEN of four fields ce SCORE; c0 "RESULT";", the operations in any order:
// SCORE is what a search gave, centipawns of the side to move, and may be missing; RESULT is 1-0,
// 0-1 or 1/2-1/2. A file that ends in .gz is read through gzip.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "board/position.h"

struct TrainingSet {
    std::vector<Position> positions;
    std::vector<float> targets;  // expected score of the side to move, 0..1
    std::vector<uint8_t> held_out;
    std::unordered_set<uint64_t> keys;  // of every position read, used or not

    size_t Size() const { return positions.size(); }
};

struct TrainingFileReport {
    int lines = 0, unreadable = 0, repeated = 0, dropped = 0, used = 0;
    double score_scale = 0;  // K_score, centipawns; 0 without scores
};

// Expected score of one side for an evaluation in centipawns, on a scale fitted to data.
inline double ExpectedScore(double centipawns, double scale) { return 1.0 / (1.0 + std::exp(-centipawns / scale)); }

// The scale for which ExpectedScore() of `scores` comes nearest to `results` in the mean square.
double FitScale(const std::vector<float>& scores, const std::vector<float>& results);

// The static evaluation of the position, side to move's view, from nothing but the weights; with
// `traced` it also fills evaluation_trace.
int StaticScore(const Position& position, bool traced = false);

// Adds the positions of a file. Targets are result_share of the result and the rest of the score's
// expectation, on the file's own scale. Left out are positions that came before, in this file or
// one read earlier (`repeated`), and as `dropped` those in check, those that the evaluation settles
// by a rule, and those that are decided (beyond 15 pawns). Every tenth is held out, chosen by its
// key, so the choice depends neither on the files nor on their order. False, with the set as it
// was, when the file cannot be read.
bool ReadTrainingFile(const std::string& path, double result_share, TrainingSet& set, TrainingFileReport& report);

// Puts the positions into an order of chance, the same in every run.
void ShuffleTrainingSet(TrainingSet& set);

// Brings the running sums of all positions up to date after square weights have changed.
void RefreshSums(TrainingSet& set);
