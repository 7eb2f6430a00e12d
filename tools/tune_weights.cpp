// tune_weights.cpp - fits the weights of eval/weights.def to the results of games.
//
//   tune_weights [OPTION]... DATA.epd[.gz]...
//
//   --source FILE     rewrite the numbers of this weights.def, those that were fitted
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
// running round early; what is best by then is written. Fitting starts from the built-in weights, so
// the file of --source must be the one that this program was built from; build again after it.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "eval/evaluate.h"
#include "eval/parameters.h"
#include "tools/common/signature.h"
#include "tools/common/text.h"
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

int Usage(std::FILE* stream = stderr) {
    const Options standard{};
    std::fprintf(stream,
                 "usage: tune_weights [OPTION]... DATA.epd[.gz]...\n"
                 "  --source FILE     weights.def to rewrite (default none)\n"
                 "  --values FILE     parameter file to write (default none)\n"
                 "  --lambda X        share of the result in the target, 0..1 (default %g)\n"
                 "  --rounds N        0..1000 (default %d)\n"
                 "  --epochs N        a round, 0..1000000 (default %d)\n"
                 "  --prior CP        0.001..10000 (default %g)\n"
                 "  --smooth CP       0..10000, 0: none (default %g)\n"
                 "  --number-prior X  0.0001..100 (default %g)\n"
                 "  --scale CP        1..10000 (default: fitted anew each round)\n"
                 "  --freeze NAMES    separated by commas (default none)\n"
                 "  --only NAMES      separated by commas (default all)\n"
                 "  --report          what every term is worth (default off)\n",
                 standard.lambda, standard.fit.rounds, standard.fit.epochs, standard.fit.term_spread,
                 standard.fit.smoothness, standard.fit.number_spread);
    return 2;
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
        const std::string value = argv[i];
        FitSettings& fit = options.fit;
        bool good = true;
        if (word == "--source") options.source = value;
        else if (word == "--values") options.values = value;
        else if (word == "--lambda") good = ParseNumber(value, 0, 1, options.lambda);
        else if (word == "--rounds") good = ParseNumber(value, 0, 1000, fit.rounds);
        else if (word == "--epochs") good = ParseNumber(value, 0, 1000000, fit.epochs);
        else if (word == "--prior") good = ParseNumber(value, 0.001, 10000, fit.term_spread);
        else if (word == "--smooth") good = ParseNumber(value, 0, 10000, fit.smoothness);
        else if (word == "--number-prior") good = ParseNumber(value, 0.0001, 100, fit.number_spread);
        else if (word == "--scale") good = ParseNumber(value, 1, 10000, fit.scale);
        else if (word == "--freeze") fit.freeze = Split(value, ',');
        else if (word == "--only") fit.only = Split(value, ',');
        else good = false;
        if (!good) return false;
    }
    return !options.data.empty();
}

// Before hours of fitting. False, after a message, when what comes out could not be written.
bool OutputsAreFit(const Options& options) {
    std::string error;
    if (!options.source.empty() && !CheckWeightFile(options.source, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return false;
    }
    if (!options.values.empty() && !CanReplaceFile(options.values)) {
        std::fprintf(stderr, "%s: cannot be written\n", options.values.c_str());
        return false;
    }
    return true;
}

// False, after a message, when a file cannot be read or too little is in them.
bool ReadData(const Options& options, TrainingSet& set) {
    for (const std::string& path : options.data) {
        TrainingFileReport file;
        if (!ReadTrainingFile(path, options.lambda, set, file)) {
            std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
            return false;
        }
        std::printf("%s: %d lines, %d used, %d repeated, %d dropped, %d unreadable, score scale %.1f\n", path.c_str(),
                    file.lines, file.used, file.repeated, file.dropped, file.unreadable, file.score_scale);
        std::fflush(stdout);
    }
    const auto held_out = std::count(set.held_out.begin(), set.held_out.end(), 1);
    std::printf("%zu positions, %td of them held out\n", set.Size(), held_out);
    if (held_out > 0 && size_t(held_out) < set.Size()) return true;
    std::fprintf(stderr, "too few positions: one part is empty\n");
    return false;
}

// Tries both outputs even when the first fails.
bool WriteOutputs(const Options& options, const FitReport& report) {
    bool written = true;
    std::vector<const int*> fitted;
    for (const FreeWeight& w : report.weights) fitted.push_back(w.value);
    std::string error;
    if (!options.source.empty() && !WriteWeightFile(options.source, fitted, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        written = false;
    }
    if (!options.values.empty() && !SaveValues(options.values.c_str())) {
        std::fprintf(stderr, "%s: cannot be written\n", options.values.c_str());
        written = false;
    }
    return written;
}

void PrintChanges(const FitReport& report) {
    int untouched = 0;
    for (size_t i = 0; i < report.weights.size(); ++i) {
        const FreeWeight& w = report.weights[i];
        if (!report.touched.empty()) untouched += report.touched[i] == 0;
        if (*w.value == w.start) continue;
        const char* bound = *w.value == w.low || *w.value == w.high ? "  AT BOUND" : "";
        std::printf("%-40s %5d -> %5d  in %d positions%s\n", w.name.c_str(), w.start, *w.value, report.touched[i],
                    bound);
    }
    std::printf("%zu weights", report.weights.size());
    if (!report.touched.empty()) std::printf(", %d of them in no position", untouched);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return Usage(stdout), 0;
    Options options;
    if (!ParseOptions(argc, argv, options)) return Usage();
    std::string unknown;
    if (ListFreeWeights(options.fit, &unknown).empty()) {
        if (!unknown.empty()) std::fprintf(stderr, "%s is no term or number\n", unknown.c_str());
        else std::fprintf(stderr, "nothing is left to fit\n");
        return 2;
    }
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    AllocatePawnHash(0);  // or changed weights of pawns would not show

    TrainingSet set;
    if (!OutputsAreFit(options) || !ReadData(options, set)) return 1;
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

    const bool written = WriteOutputs(options, report);
    if (options.report) {
        std::printf("%-28s %5s %22s\n", "term", "slots", "error increase x 1e6");
        for (const TermWorth& worth : TermWorths(set, report.scale))
            std::printf("%-28s %5d %22.2f\n", worth.name.c_str(), worth.slots, worth.increase * 1e6);
    }
    return written ? 0 : 1;
}
