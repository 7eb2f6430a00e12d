// weight_fit.cpp - see weight_fit.h.
//
// Slopes come from finite differences, taken where the trace says that a weight takes part:
//
//   squares, common terms   enter two plain sums with known counts, so one difference of each sum
//                           serves them all
//   passed, own terms       one weight at a time, in the positions that count it
//   numbers                 one at a time over all positions
//
// The evaluation gives whole centipawns; steps are wide enough to keep that rounding small.
#include "tools/common/weight_fit.h"

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string_view>

#include "board/piece_square.h"
#include "eval/packed_score.h"
#include "eval/tally.h"

namespace {

constexpr int SumStep = 64;        // centipawns, of the common sums
constexpr int SlotStep = 8;        // centipawns of one weight; small, as some choose by a minimum
constexpr int TermLimit = 400;     // a weight beyond is a fault of the data
constexpr double SlopeLimit = 60;  // centipawns a unit: a jump, not a slope
constexpr int WideRange = 60;      // numbers with more are no small table indices
constexpr int BatchPositions = 4096;
constexpr int BlockEpochs = 5;                      // between two looks at the held-out error
constexpr double FirstRate = 0.5, LastRate = 0.02;  // centipawns or units a step
constexpr double AdamMean = 0.9, AdamSquare = 0.999;

using Clock = std::chrono::steady_clock;
double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

[[gnu::format(printf, 1, 2)]] std::string Formatted(const char* format, ...) {
    char text[256];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

const TermInfo& TermOfSlot(int slot) {
    int i = 0;
    while (slot >= term_list[i].first + term_list[i].count) ++i;
    return term_list[i];
}

// Half the difference of two scores of a position, a unit of `step`.
template <typename Change> float Slope(const Position& position, int step, Change change) {
    change(step);
    const int above = StaticScore(position);
    change(-2 * step);
    const int below = StaticScore(position);
    change(step);
    return float(above - below) / float(2 * step);
}

// Collects the rows by position and weight, numbers coming last.
struct RowEntry {
    uint16_t weight;
    float slope;
};
using Rows = std::vector<std::vector<RowEntry>>;

struct TermRows {
    const std::vector<FreeWeight>& weights;
    int index[2][TermSlots];  // of the free weights, -1: none
    TermKind kind[TermSlots];

    explicit TermRows(const std::vector<FreeWeight>& list) : weights(list) {
        std::fill_n(&index[0][0], 2 * TermSlots, -1);
        for (size_t i = 0; i < list.size(); ++i)
            if (list[i].slot >= 0) index[list[i].phase][list[i].slot] = int(i);
        for (int i = 0; i < TermSlots; ++i) kind[i] = TermOfSlot(i).kind;
    }

    // Returns the static score.
    int Add(const Position& position, std::vector<RowEntry>& row) const {
        const int score = StaticScore(position, true);
        const EvaluationTrace trace = evaluation_trace;
        for (int phase = 0; phase < 2; ++phase) {
            Position moved = position;
            const float of_sum = [&] {
                int16_t& sum = moved.piece_square[phase];
                sum = int16_t(position.piece_square[phase] + SumStep);
                const int above = StaticScore(moved);
                sum = int16_t(position.piece_square[phase] - SumStep);
                return float(above - StaticScore(moved)) / (2 * SumStep);
            }();
            for (int slot = 0; slot < TermSlots; ++slot) {
                const int weight = index[phase][slot];
                if (weight < 0) continue;
                float slope = of_sum * float(trace.count[BLACK][slot] - trace.count[WHITE][slot]);
                if (kind[slot] == TermKind::Passed || kind[slot] == TermKind::Own) {
                    if (!trace.count[WHITE][slot] && !trace.count[BLACK][slot]) continue;
                    slope = Slope(position, SlotStep, [&](int step) {
                        packed_terms[slot] += phase == OpeningPhase ? Pack(step, 0) : Pack(0, step);
                    });
                }
                if (slope != 0) row.push_back({uint16_t(weight), slope});
            }
        }
        return score;
    }
};

void AddNumberRows(const TrainingSet& set, const FreeWeight& weight, int index, Rows& rows) {
    const int value = *weight.value;
    const int above = std::min(value + weight.step, weight.high), below = std::max(value - weight.step, weight.low);
    if (above == below) return;
    for (size_t p = 0; p < set.Size(); ++p) {
        *weight.value = above;
        const int high = StaticScore(set.positions[p]);
        *weight.value = below;
        const int change = high - StaticScore(set.positions[p]);
        const float slope = float(change) / float(above - below);
        if (change && std::abs(slope) <= SlopeLimit) rows[p].push_back({uint16_t(index), slope});
    }
    *weight.value = value;
}

void Apply(const std::vector<int>& values, std::vector<FreeWeight>& weights, TrainingSet& set) {
    for (size_t i = 0; i < weights.size(); ++i) *weights[i].value = values[i];
    BuildPieceSquareTable();
    RefreshSums(set);
}

// The weights as real numbers, and the gradient steps on the linear model.
class Descent {
public:
    // `noise` is the variance of a target around the evaluation. Numbers move only with `numbers`.
    Descent(const LinearModel& model, const TrainingSet& set, const std::vector<FreeWeight>& weights, double scale,
            double noise, double smoothness, bool numbers)
        : model_(model), set_(set), weights_(weights), scale_(scale), mean_(weights.size()), square_(weights.size()) {
        for (size_t p = 0; p < set.Size(); ++p) (set.held_out[p] ? held_out_ : train_).push_back(uint32_t(p));
        for (const FreeWeight& w : weights) {
            origin_.push_back(*w.value);
            values_.push_back(*w.value);
            pull_.push_back(noise / (Positions() * w.spread * w.spread));
        }
        // A weight in no position stays where it is: it may be one that cannot occur.
        moves_.assign(weights.size(), 0);
        for (const uint16_t w : model.weight) moves_[w] = 1;
        for (size_t i = 0; i < weights.size(); ++i)
            if (weights[i].slot < 0 && !numbers) moves_[i] = 0;
        neighbour_pull_ = smoothness > 0 ? noise / (Positions() * smoothness * smoothness) : 0;
    }

    const std::vector<double>& Values() const { return values_; }

    void Epoch(double rate) {
        std::vector<double> gradient(values_.size());
        for (size_t start = 0; start < train_.size(); start += BatchPositions) {
            const size_t end = std::min(start + BatchPositions, train_.size());
            std::fill(gradient.begin(), gradient.end(), 0.0);
            for (size_t i = start; i < end; ++i) {
                const size_t p = train_[i];
                const double expected = ExpectedScore(Score(p), scale_);
                const double factor = 2 * (expected - set_.targets[p]) * expected * (1 - expected) / scale_;
                for (size_t k = model_.begin[p]; k < model_.begin[p + 1]; ++k)
                    gradient[model_.weight[k]] += factor * model_.slope[k];
            }
            Step(gradient, double(end - start), rate);
        }
    }

    double Error(bool held_out) const {
        const std::vector<uint32_t>& members = held_out ? held_out_ : train_;
        double sum = 0;
        for (const uint32_t p : members) {
            const double miss = ExpectedScore(Score(p), scale_) - set_.targets[p];
            sum += miss * miss;
        }
        return members.empty() ? 0 : sum / double(members.size());
    }

private:
    double Positions() const { return double(std::max<size_t>(train_.size(), 1)); }
    double Change(size_t i) const { return values_[i] - weights_[i].start; }

    double Score(size_t p) const {
        double score = model_.base[p];
        for (size_t k = model_.begin[p]; k < model_.begin[p + 1]; ++k) {
            const size_t w = model_.weight[k];
            score += model_.slope[k] * (values_[w] - origin_[w]);
        }
        return score;
    }

    void Step(std::vector<double>& gradient, double positions, double rate) {
        ++steps_;
        for (size_t i = 0; i < values_.size(); ++i) {
            gradient[i] = gradient[i] / positions + 2 * pull_[i] * Change(i);
            for (const int back : {weights_[i].beside, weights_[i].above}) {
                const size_t neighbour = i - size_t(back);
                if (back == 0 || !moves_[i] || !moves_[neighbour]) continue;
                const double bend = 2 * neighbour_pull_ * (Change(i) - Change(neighbour));
                gradient[i] += bend;
                gradient[neighbour] -= bend;
            }
        }
        const double mean_share = 1 - std::pow(AdamMean, steps_), square_share = 1 - std::pow(AdamSquare, steps_);
        for (size_t i = 0; i < values_.size(); ++i) {
            const FreeWeight& w = weights_[i];
            if (!moves_[i]) continue;
            const double g = gradient[i];
            mean_[i] = AdamMean * mean_[i] + (1 - AdamMean) * g;
            square_[i] = AdamSquare * square_[i] + (1 - AdamSquare) * g * g;
            const double size = w.spread / 20;  // a number's unit is not a centipawn
            const double change =
                rate * size * (mean_[i] / mean_share) / (std::sqrt(square_[i] / square_share) + 1e-12);
            values_[i] = std::clamp(values_[i] - change, double(w.low), double(w.high));
        }
    }

    const LinearModel& model_;
    const TrainingSet& set_;
    const std::vector<FreeWeight>& weights_;
    double scale_, neighbour_pull_ = 0;
    std::vector<uint8_t> moves_;  // [weight]
    std::vector<uint32_t> train_, held_out_;
    std::vector<double> origin_, values_, pull_, mean_, square_;
    int steps_ = 0;
};

// Runs epochs until the held-out error stays; returns the weights of the best look at it.
std::vector<double> Descend(Descent& descent, const FitSettings& settings, const char* round) {
    const auto start = Clock::now();
    const auto stopped = [&] { return settings.stop && *settings.stop; };
    std::vector<double> best = descent.Values();
    double best_error = descent.Error(true), rate = FirstRate;
    for (int epoch = 0; epoch < settings.epochs && rate >= LastRate && !stopped();) {
        for (int i = 0; i < BlockEpochs && epoch < settings.epochs; ++i, ++epoch) descent.Epoch(rate);
        const double error = descent.Error(true);
        const bool better = error < best_error - 1e-8;
        if (error < best_error) {
            best_error = error;
            best = descent.Values();
        }
        if (!better) rate /= 2;
        else rate *= 0.93;
        if (settings.log)
            settings.log(Formatted("%s epoch %3d  train %.7f  held out %.7f  best %.7f  rate %.3f  %6.1f s", round,
                                   epoch, descent.Error(false), error, best_error, rate, SecondsSince(start)));
    }
    return best;
}

// Tables with two dimensions: a row has so many slots. All others are one row.
struct TableRows {
    const char* name_begins;
    int row;
};
constexpr TableRows table_rows[] = {
    {"PawnSquares", 8}, {"BishopSquares", 8}, {"ShelterPawn", 7}, {"OwnKing", 8}, {"EnemyKing", 8}};
constexpr int BoardSlots = 64;  // a longer table is several boards

int RowOf(const TermInfo& term) {
    for (const TableRows& rows : table_rows)
        if (std::string_view(term.name).starts_with(rows.name_begins)) return rows.row;
    return term.count;
}

bool Listed(const std::vector<std::string>& names, const char* name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::vector<FreeWeight> ListFreeWeights(const FitSettings& settings, std::string* unknown) {
    const auto is_free = [&](const char* name) {
        return (settings.only.empty() || Listed(settings.only, name)) && !Listed(settings.freeze, name);
    };
    std::vector<std::string> names;
    std::vector<FreeWeight> weights;
    for (int i = 0; i < TermListLength; ++i) {
        const TermInfo& term = term_list[i];
        names.push_back(term.name);
        if (!is_free(term.name)) continue;
        const int row = RowOf(term);
        for (int phase = 0; phase < 2; ++phase)
            for (int k = 0; k < term.count; ++k) {
                int* value = &term_weights[phase][term.first + k];
                const std::string index = term.count > 1 ? "[" + std::to_string(k) + "]" : "";
                weights.push_back({term.name + index + (phase == OpeningPhase ? " opening" : " endgame"), value, *value,
                                   -TermLimit, TermLimit, settings.term_spread, term.first + k, phase, SlotStep,
                                   k % row > 0 ? 1 : 0, k % BoardSlots >= row ? row : 0});
            }
    }
    for (int i = 0; i < NumberListLength; ++i) {
        const NumberInfo& number = number_list[i];
        names.push_back(number.name);
        if (!is_free(number.name)) continue;
        const int range = number.high - number.low;
        for (int k = 0; k < number.count; ++k) {
            int* value = &number.value[k];
            const std::string index = number.count > 1 ? "[" + std::to_string(k) + "]" : "";
            weights.push_back({number.name + index, value, *value, number.low, number.high,
                               std::max(settings.number_spread * range, 0.5), -1, 0, range > WideRange ? range / 16 : 1,
                               0, 0});
        }
    }
    for (const auto* list : {&settings.only, &settings.freeze})
        for (const std::string& name : *list)
            if (std::find(names.begin(), names.end(), name) == names.end()) {
                if (unknown) *unknown = name;
                return {};
            }
    return weights;
}

LinearModel Linearise(TrainingSet& set, const std::vector<FreeWeight>& weights) {
    LinearModel model;
    Rows rows(set.Size());
    const TermRows terms(weights);
    model.base.resize(set.Size());
    for (size_t p = 0; p < set.Size(); ++p) model.base[p] = float(terms.Add(set.positions[p], rows[p]));
    for (size_t i = 0; i < weights.size(); ++i)
        if (weights[i].slot < 0) AddNumberRows(set, weights[i], int(i), rows);

    const size_t total = std::accumulate(rows.begin(), rows.end(), size_t(0),
                                         [](size_t sum, const auto& row) { return sum + row.size(); });
    model.begin.reserve(set.Size() + 1);
    model.weight.reserve(total);
    model.slope.reserve(total);
    for (auto& row : rows) {
        model.begin.push_back(model.weight.size());
        for (const RowEntry& entry : row) {
            model.weight.push_back(entry.weight);
            model.slope.push_back(entry.slope);
        }
        std::vector<RowEntry>().swap(row);  // two copies of it all would be many
    }
    model.begin.push_back(model.weight.size());
    return model;
}

FitErrors EvaluationErrors(const TrainingSet& set, double scale) {
    double sum[2] = {0, 0};
    size_t count[2] = {0, 0};
    for (size_t p = 0; p < set.Size(); ++p) {
        const double miss = ExpectedScore(StaticScore(set.positions[p]), scale) - set.targets[p];
        sum[set.held_out[p]] += miss * miss;
        ++count[set.held_out[p]];
    }
    return {count[0] ? sum[0] / double(count[0]) : 0, count[1] ? sum[1] / double(count[1]) : 0};
}

namespace {

double PresentScale(const TrainingSet& set, const FitSettings& settings) {
    if (settings.scale > 0) return settings.scale;
    std::vector<float> scores;
    for (const Position& p : set.positions) scores.push_back(float(StaticScore(p)));
    return FitScale(scores, set.targets);
}

}  // namespace

FitReport FitWeights(TrainingSet& set, const FitSettings& settings) {
    FitReport report;
    const auto log = [&](const std::string& text) {
        if (settings.log) settings.log(text);
    };
    report.weights = ListFreeWeights(settings, nullptr);
    BuildPieceSquareTable();
    RefreshSums(set);

    report.scale = PresentScale(set, settings);
    report.before = report.after = EvaluationErrors(set, report.scale);
    log(Formatted("scale %.1f centipawns; before: train %.7f  held out %.7f", report.scale, report.before.train,
                  report.before.held_out));

    std::vector<int> best;
    for (const FreeWeight& w : report.weights) best.push_back(*w.value);
    for (int round = 1; round <= settings.rounds && !(settings.stop && *settings.stop); ++round) {
        const auto start = Clock::now();
        const LinearModel model = Linearise(set, report.weights);
        const double seconds = SecondsSince(start);
        report.linearise_seconds = std::max(report.linearise_seconds, seconds);
        report.touched.assign(report.weights.size(), 0);
        for (const uint16_t w : model.weight) ++report.touched[w];
        // A better evaluation deserves a steeper curve; with the old one all weights would grow.
        const double scale = report.scale = PresentScale(set, settings);
        report.after = EvaluationErrors(set, scale);

        log(Formatted("round %d: linearised, %d slopes, %.1f s, scale %.1f", round, int(model.slope.size()), seconds,
                      scale));
        const std::string label = "round " + std::to_string(round);
        const bool numbers = settings.rounds == 1 || round < settings.rounds;
        Descent descent(model, set, report.weights, scale, report.before.train, settings.smoothness, numbers);
        const std::vector<double> wished = Descend(descent, settings, label.c_str());
        // The model may promise too much: try the whole way, then shorter ones.
        bool better = false;
        for (double share = 1; share > 0.2 && !better; share /= 2) {
            std::vector<int> values;
            for (size_t i = 0; i < wished.size(); ++i)
                values.push_back(int(std::lround(best[i] + share * (wished[i] - best[i]))));
            Apply(values, report.weights, set);
            const FitErrors errors = EvaluationErrors(set, scale);
            log(Formatted("round %d: rounded, %.2f of the way: train %.7f  held out %.7f", round, share, errors.train,
                          errors.held_out));
            if (errors.held_out < report.after.held_out) {
                better = true;
                best = values;
                report.after = errors;
            }
        }
        if (!better) break;
    }
    Apply(best, report.weights, set);
    report.scale = PresentScale(set, settings);
    report.after = EvaluationErrors(set, report.scale);
    log(Formatted("scale %.1f centipawns; after: train %.7f  held out %.7f", report.scale, report.after.train,
                  report.after.held_out));
    return report;
}

std::vector<TermWorth> TermWorths(TrainingSet& set, double scale) {
    TrainingSet held_out;
    for (size_t p = 0; p < set.Size(); ++p)
        if (set.held_out[p]) {
            held_out.positions.push_back(set.positions[p]);
            held_out.targets.push_back(set.targets[p]);
            held_out.held_out.push_back(1);
        }
    BuildPieceSquareTable();
    RefreshSums(held_out);
    std::vector<double> uses(TermSlots);
    for (const Position& p : held_out.positions) {
        StaticScore(p, true);
        for (int slot = 0; slot < TermSlots; ++slot)
            uses[size_t(slot)] += evaluation_trace.count[WHITE][slot] + evaluation_trace.count[BLACK][slot];
    }

    const double whole = EvaluationErrors(held_out, scale).held_out;
    std::vector<TermWorth> worths;
    for (int i = 0; i < TermListLength; ++i) {
        const TermInfo& term = term_list[i];
        std::vector<int> saved[2];
        for (int phase = 0; phase < 2; ++phase) {
            int* row = &term_weights[phase][term.first];
            saved[phase].assign(row, row + term.count);
            double sum = 0, count = 0;
            for (int k = 0; k < term.count; ++k) {
                sum += uses[size_t(term.first + k)] * row[k];
                count += uses[size_t(term.first + k)];
            }
            std::fill_n(row, term.count, term.count > 1 && count > 0 ? int(std::lround(sum / count)) : 0);
        }
        BuildPieceSquareTable();
        RefreshSums(held_out);
        worths.push_back({term.name, term.count, EvaluationErrors(held_out, scale).held_out - whole});
        for (int phase = 0; phase < 2; ++phase)
            std::copy(saved[phase].begin(), saved[phase].end(), &term_weights[phase][term.first]);
    }
    BuildPieceSquareTable();
    std::stable_sort(worths.begin(), worths.end(),
                     [](const TermWorth& a, const TermWorth& b) { return a.increase > b.increase; });
    return worths;
}
