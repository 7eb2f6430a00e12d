// bench_signature.cpp - searches the fixed positions to a fixed depth and prints the node
// total, the signature of the engine's play.
//
//   corvantis_bench_signature [DEPTH]
//
// One line a position, then "N nodes M nps" as the last line.
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include "tools/common/signature.h"

int main(int argc, char** argv) {
    const int depth = argc > 1 ? std::atoi(argv[1]) : SignatureDepth;
    if (argc > 2 || depth < 2 || depth > 90) {
        std::fprintf(stderr, "usage: corvantis_bench_signature [DEPTH]   (2..90, default %d)\n", SignatureDepth);
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
    std::printf("%" PRId64 " nodes %" PRId64 " nps\n", total, int64_t(double(total) / (seconds > 0 ? seconds : 1)));
    return 0;
}
