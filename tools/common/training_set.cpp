// training_set.cpp - see training_set.h.
#include "tools/common/training_set.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "board/legality.h"
#include "board/piece_square.h"
#include "board/random.h"
#include "eval/eval_info.h"
#include "eval/evaluate.h"
#include "eval/trace.h"
#include "tools/common/epd.h"
#include "tools/common/quiet_positions.h"
#include "tools/common/text.h"

namespace {

constexpr int DecidedScore = 1500;      // centipawns: nothing to learn beyond
constexpr int SearchScoreLimit = 2000;  // mates and the like
constexpr uint64_t HeldOutEvery = 10;

struct Line {
    std::string fen;
    float score = 0, result = 0;  // result from White's view
    bool has_score = false;
};

bool ParseLine(const std::string& text, Line& line) {
    EpdRecord record;
    if (!ParseEpd(text, record)) return false;
    const auto* result = record.Find("c0");
    if (!result) return false;
    if ((*result)[1] == "1-0") line.result = 1.0F;
    else if ((*result)[1] == "0-1") line.result = 0.0F;
    else if ((*result)[1] == "1/2-1/2") line.result = 0.5F;
    else return false;
    line.fen = record.fen + " 0 1";
    const auto* score = record.Find("ce");
    line.has_score = score != nullptr;
    int centipawns = 0;
    if (score && !ParseNumber((*score)[1], -1000000, 1000000, centipawns)) return false;
    line.score = float(centipawns);
    return true;
}

// For the shell: in single quotes, a quote within as '\''.
std::string Quoted(const std::string& path) {
    std::string quoted = "'";
    for (const char c : path) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

bool ReadText(const std::string& path, std::string& text) {
    if (!EndsWith(path, ".gz")) return ReadWholeFile(path, text);
    std::FILE* file = popen(("gzip -dc -- " + Quoted(path)).c_str(), "r");
    if (!file) return false;
    const bool read = ReadStream(file, text);
    return pclose(file) == 0 && read;
}

double MeanSquare(const std::vector<float>& scores, const std::vector<float>& results, double scale) {
    double sum = 0;
    for (size_t i = 0; i < scores.size(); ++i) {
        const double miss = ExpectedScore(scores[i], scale) - results[i];
        sum += miss * miss;
    }
    return sum / double(scores.size());
}

}  // namespace

double FitScale(const std::vector<float>& scores, const std::vector<float>& results) {
    // The error has one minimum: halve the bracket towards it.
    double low = 20, high = 2000;
    if (scores.empty()) return 200;
    for (int i = 0; i < 40 && high - low > 0.1; ++i) {
        const double a = low + (high - low) * 0.382, b = low + (high - low) * 0.618;
        if (MeanSquare(scores, results, a) < MeanSquare(scores, results, b)) high = b;
        else low = a;
    }
    return (low + high) / 2;
}

int StaticScore(const Position& position, bool traced) {
    thread_board = position;
    ForgetPawns();  // the record may be of other weights
    int score = 0;
    if (traced) TracePosition(score);
    else EvaluatePosition(score);
    return score;
}

bool ReadTrainingFile(const std::string& path, double result_share, TrainingSet& set, TrainingFileReport& report) {
    std::string file_text, text;
    if (!ReadText(path, file_text)) return false;

    std::vector<float> scores, scored_results;
    std::vector<float> score_of, result_of;  // of the positions added; NAN without a score
    for (size_t at = 0; NextLine(file_text, at, text);) {
        ++report.lines;
        Line line;
        const bool parsed = ParseLine(text, line);
        if (parsed) SetFen(line.fen.c_str());
        if (!parsed || !IsPlayable()) {
            ++report.unreadable;
            continue;
        }
        const uint64_t key = DuplicateKey();
        if (!set.keys.insert(key).second) {
            ++report.repeated;
            continue;
        }
        const bool white = thread_board.SideToMove == WHITE;
        const float result = white ? line.result : 1.0F - line.result;
        if (line.has_score) {
            line.score = std::clamp(line.score, float(-SearchScoreLimit), float(SearchScoreLimit));
            scores.push_back(line.score);
            scored_results.push_back(result);
        }
        const Position position = thread_board;
        if (Checkers(Colour(position.SideToMove)) || std::abs(StaticScore(position, true)) > DecidedScore
            || evaluation_trace.exact) {
            ++report.dropped;
            continue;
        }
        set.positions.push_back(position);
        set.held_out.push_back(key % HeldOutEvery == 0);
        score_of.push_back(line.has_score ? line.score : NAN);
        result_of.push_back(result);
        ++report.used;
    }

    if (!scores.empty()) report.score_scale = FitScale(scores, scored_results);
    for (size_t i = 0; i < score_of.size(); ++i) {
        const float result = result_of[i];
        const double expected = std::isnan(score_of[i]) ? result : ExpectedScore(score_of[i], report.score_scale);
        set.targets.push_back(float(result_share * result + (1 - result_share) * expected));
    }
    return true;
}

void ShuffleTrainingSet(TrainingSet& set) {
    MersenneTwister random;
    const uint64_t seed[] = {1};
    random.SeedByArray(seed, 1);
    for (size_t i = set.Size(); i > 1; --i) {
        const size_t j = size_t(random.Next() % i);
        std::swap(set.positions[i - 1], set.positions[j]);
        std::swap(set.targets[i - 1], set.targets[j]);
        std::swap(set.held_out[i - 1], set.held_out[j]);
    }
}

void RefreshSums(TrainingSet& set) {
    for (Position& p : set.positions) {
        int total[2] = {0, 0};
        for (Bitboard rest = p.occupied; rest;) {
            const Square s = PopLowest(rest);
            const int colour = (p.colour[BLACK] & Bit(s)) ? BLACK : WHITE;
            for (int phase = 0; phase < 2; ++phase) total[phase] += PieceSquare[colour][p.board[s]][s][phase];
        }
        for (int phase = 0; phase < 2; ++phase) p.piece_square[phase] = int16_t(total[phase]);
    }
}
