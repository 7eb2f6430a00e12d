// tune_weights.cpp - fits the weights of eval/weights.def to the results of games.
//
//   tune_weights [OPTION]... DATA.epd[.gz]...
//
//   --source FILE     rewrite the numbers of this weights.def
//   --values FILE     write the weights as a parameter file
//   --lambda X        share of the game's result in the target, the rest is the score (0.4)
//   --rounds N        linear models, each around the weights of the last (3)
//   --epochs N        most passes over the data a round (200)
//   --prior CP        how far off a weight is expected to be where it starts (20)
//   --smooth CP       how far the changes of neighbours in a table should differ (10); 0: freely
//   --number-prior X  the same for numbers, a share of their range (0.0625)
//   --scale CP        centipawns of the expected-score curve (fitted anew each round)
//   --freeze NAMES    terms or numbers to leave alone, separated by commas
//   --only NAMES      fit these alone
//   --report          what every term is worth in held-out error, after the fit
//
// Without --source and --values the changed weights are only printed. An interrupt ends the
// running round early; what is best by then is written. Fitting starts from the built-in weights, or
// from "values.txt" when the current directory has one; after --source build again.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "eval/evaluate.h"
#include "eval/parameters.h"
#include "tools/common/signature.h"
#include "tools/common/weight_file.h"
#include "tools/common/weight_fit.h"

namespace {

volatile std::sig_atomic_t interrupted = 0;
void OnInterrupt(int) { interrupted = 1; }

struct Options {
    FitSettings fit;
    double lambda = 0.4;
    bool report = false;
    std::string source, values;
    std::vector<std::string> data;
};

int Usage() {
    std::fprintf(stderr,
                 "usage: tune_weights [--source weights.def] [--values FILE] [--lambda X] [--rounds N] [--epochs N]\n"
                 "                    [--prior CP] [--smooth CP] [--number-prior X] [--scale CP]\n"
                 "                    [--freeze NAME,...] [--only NAME,...] [--report] DATA.epd[.gz]...\n");
    return 2;
}

std::vector<std::string> Names(const std::string& text) {
    std::vector<std::string> names;
    for (size_t at = 0; at <= text.size();) {
        const size_t end = std::min(text.find(',', at), text.size());
        if (end > at) names.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return names;
}

bool ParseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word.rfind("--", 0) != 0) {
            options.data.push_back(word);
            continue;
        }
        if (word == "--report") {
            options.report = true;
            continue;
        }
        if (++i == argc) return false;
        const char* value = argv[i];
        if (word == "--source") options.source = value;
        else if (word == "--values") options.values = value;
        else if (word == "--lambda") options.lambda = std::atof(value);
        else if (word == "--rounds") options.fit.rounds = std::atoi(value);
        else if (word == "--epochs") options.fit.epochs = std::atoi(value);
        else if (word == "--prior") options.fit.term_spread = std::atof(value);
        else if (word == "--smooth") options.fit.smoothness = std::atof(value);
        else if (word == "--number-prior") options.fit.number_spread = std::atof(value);
        else if (word == "--scale") options.fit.scale = std::atof(value);
        else if (word == "--freeze") options.fit.freeze = Names(value);
        else if (word == "--only") options.fit.only = Names(value);
        else return false;
    }
    return !options.data.empty() && options.lambda >= 0 && options.lambda <= 1 && options.fit.rounds >= 0
        && options.fit.term_spread > 0 && options.fit.number_spread > 0;
}

void PrintChanges(const FitReport& report) {
    int untouched = 0;
    for (size_t i = 0; i < report.weights.size(); ++i) {
        const FreeWeight& w = report.weights[i];
        untouched += report.touched[i] == 0;
        if (*w.value == w.start) continue;
        const char* bound = *w.value == w.low || *w.value == w.high ? "  AT BOUND" : "";
        std::printf("%-40s %5d -> %5d  in %d positions%s\n", w.name.c_str(), w.start, *w.value, report.touched[i],
                    bound);
    }
    std::printf("%zu weights, %d of them in no position\n", report.weights.size(), untouched);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ParseOptions(argc, argv, options)) return Usage();
    std::string unknown;
    if (ListFreeWeights(options.fit, &unknown).empty()) {
        std::fprintf(stderr, "%s: no such term or number, or nothing left to fit\n", unknown.c_str());
        return 2;
    }
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    AllocatePawnHash(0);  // or changed weights of pawns would not show

    TrainingSet set;
    for (const std::string& path : options.data) {
        TrainingFileReport file;
        if (!ReadTrainingFile(path, options.lambda, set, file)) {
            std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
            return 1;
        }
        std::printf("%s: %d lines, %d used, %d dropped, %d unreadable, score scale %.1f\n", path.c_str(), file.lines,
                    file.used, file.dropped, file.unreadable, file.score_scale);
        std::fflush(stdout);
    }
    ShuffleTrainingSet(set);

    std::signal(SIGINT, OnInterrupt);
    options.fit.stop = &interrupted;
    options.fit.log = [](const std::string& text) {
        std::printf("%s\n", text.c_str());
        std::fflush(stdout);
    };
    const FitReport report = FitWeights(set, options.fit);
    PrintChanges(report);
    std::printf("before: train %.7f  held out %.7f\nafter:  train %.7f  held out %.7f\n", report.before.train,
                report.before.held_out, report.after.train, report.after.held_out);

    std::string error;
    if (!options.source.empty() && !WriteWeightFile(options.source, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    if (!options.values.empty() && !SaveValues(options.values.c_str())) {
        std::fprintf(stderr, "%s: cannot be written\n", options.values.c_str());
        return 1;
    }
    if (options.report) {
        std::printf("%-28s %5s %22s\n", "term", "slots", "error increase x 1e6");
        for (const TermWorth& worth : TermWorths(set, report.scale))
            std::printf("%-28s %5d %22.2f\n", worth.name.c_str(), worth.slots, worth.increase * 1e6);
    }
    return 0;
}
