// bench_signature.cpp - prints the signature of the engine's play, see common/bench.h.
//
//   corvantis_bench_signature [DEPTH]
#include <cstdio>

#include "tools/common/bench.h"

int main(int argc, char** argv) {
    if (argc <= 2) return RunBench(argc == 2 ? argv[1] : nullptr);
    std::fprintf(stderr, "usage: corvantis_bench_signature [DEPTH]\n");
    return 2;
}
