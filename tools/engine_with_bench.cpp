// engine_with_bench.cpp - the engine as frameworks for distributed testing want it: one program that
// plays, or measures itself.
//
//   engine_with_bench               the engine
//   engine_with_bench bench [DEPTH] the signature, see common/bench.h
#include <cstdio>
#include <cstring>

#include "driver/startup.h"
#include "tools/common/bench.h"

int main(int argc, char** argv) {
    if (argc == 1) RunProgram();
    if (argc <= 3 && std::strcmp(argv[1], "bench") == 0) return RunBench(argc == 3 ? argv[2] : nullptr);
    std::fprintf(stderr, "usage: %s [bench [DEPTH]]\n", argv[0]);
    return 2;
}
