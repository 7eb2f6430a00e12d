// bench.cpp - see bench.h.
#include "tools/common/bench.h"

#include <chrono>
#include <cinttypes>
#include <cstdio>

#include "eval/evaluate.h"
#include "search/statistics.h"
#include "tools/common/signature.h"
#include "tools/common/text.h"

int RunBench(const char* depth_text) {
    int depth = SignatureDepth;
    if (depth_text != nullptr && !ParseNumber(depth_text, 2, 90, depth)) {
        std::fprintf(stderr, "the depth is a number of 2 to 90, by default %d\n", SignatureDepth);
        return 2;
    }
    if (!InitialiseEngine()) {
        std::fprintf(stderr, "out of memory\n");
        return 1;
    }
    int64_t total = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < SignaturePositions; ++i) {
        const int64_t nodes = SignatureNodes(signature_fens[i], depth);
        total += nodes;
        std::printf("%2d %10" PRId64 "  %s\n", i + 1, nodes, signature_fens[i]);
        std::fflush(stdout);
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const EvaluationCounters& e = evaluation_counters;
    const auto percent = [](uint64_t part, uint64_t whole) { return whole ? 100.0 * double(part) / double(whole) : 0; };
    std::printf("%" PRIu64 " evaluations: %.1f %% by material alone, %.1f %% from the cache, %.1f %% in full\n",
                e.calls, percent(e.lazy, e.calls), percent(e.cache_hits, e.calls),
                percent(e.calls - e.lazy - e.cache_hits, e.calls));
    std::printf("%" PRIu64 " pawn structures: %.1f %% from the pawn hash\n", e.pawn_calls,
                percent(e.pawn_hits, e.pawn_calls));
    std::printf("%" PRId64 " safe captures in answer to captures: %.1f %% raise alpha\n", safe_captures.tries,
                percent(uint64_t(safe_captures.successes), uint64_t(safe_captures.tries)));
    std::printf("%" PRId64 " nodes %" PRId64 " nps\n", total, int64_t(double(total) / (seconds > 0 ? seconds : 1)));
    return 0;
}
