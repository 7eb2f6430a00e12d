// tuning.h - the command "tunenew": better values for the evaluation's named parameters.
#pragma once

#include "eval/parameters.h"

constexpr const char* TuningLog = "tune.log";

// Measures the parameters as they are: more is better. False when it was given up.
using ScoreFunction = bool (*)(int* score);

// Changes one parameter by hill climbing. Afterwards it has the best value found, and *best is that
// value's score; the tables of the evaluation are not rebuilt for it. Every improvement is appended to
// TuningLog as "name = value (score)". False when a measure was given up.
bool TuneParameter(const NamedParameter& parameter, int* best, ScoreFunction measure);

// The command: tunes all parameters again and again by the measure of games, until input ends it.
void TuneParameters();
