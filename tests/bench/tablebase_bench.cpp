// tablebase_bench.cpp - what a probe costs, warm (its block is in the cache) and cold (the block is
// read from the system's own cache and unpacked).
//
//   CORVANTIS_TABLES=FOLDER corvantis_bench --benchmark_filter=Tablebase
//
// The positions are random ones of all tables of three (four) men in the folder, a different one
// every time. Copying them to the board is part of the time; the last benchmark shows how much.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "board/position.h"
#include "tablebases/block_cache.h"
#include "tablebases/generate.h"
#include "tablebases/probe.h"
#include "tablebases/registry.h"
#include "tools/common/random.h"

namespace {

constexpr int Positions = 40000;

// Positions of the registered tables, each of its own and all tables mixed. There must be one.
std::vector<Position> RandomPositions(int men) {
    std::vector<TableIndex> indices;
    for (const std::string& name : AllMaterials(men)) {
        for (const Colour side : {WHITE, BLACK}) {
            TableMaterial material;
            ParseTableMaterial(name, &material);
            BuildTableIndex(material, side, &indices.emplace_back());
        }
    }
    std::vector<Position> positions;
    SplitMix random{1};
    while (positions.size() < Positions) {
        const TableIndex& index = indices[size_t(random.Below(int(indices.size())))];
        TablePosition position;
        if (!PositionOfSlot(index, random.Next() % index.plain_slots, &position)) continue;
        SetFen(TableFen(position).c_str());
        int score;
        if (IsPlayable() && ProbeTablebase(&score)) positions.push_back(thread_board);
    }
    return positions;
}

// Registered once; its messages come before the figures.
int MenInFolder() {
    const char* const folder = std::getenv("CORVANTIS_TABLES");
    static const int men = folder != nullptr ? RegisterTablebases(folder) : 0;
    return men;
}

// Calls `body` on one position after the other, with room for all blocks or for one.
template <typename Body> void EachTablePosition(benchmark::State& state, bool warm, Body body) {
    const int men = int(state.range(0));
    if (men > MenInFolder() || !AllocateTablebaseCache(~uint32_t(0)))
        return state.SkipWithError("CORVANTIS_TABLES names no folder with such tables");
    const std::vector<Position> positions = RandomPositions(men);
    if (!warm) FreeTablebaseCache();
    const uint64_t reads_before = blocks_read;
    size_t i = 0;
    for (auto _ : state) {
        thread_board = positions[i];
        if (++i == positions.size()) i = 0;
        body();
    }
    state.counters["reads"] =
        benchmark::Counter(double(blocks_read - reads_before), benchmark::Counter::kAvgIterations);
    FreeTablebaseCache();
    SetInitialPosition();
}

int Probe() {
    int score = 0;
    ProbeTablebase(&score);
    return score;
}
void BM_TablebaseProbeWarm(benchmark::State& state) {
    EachTablePosition(state, true, [] { benchmark::DoNotOptimize(Probe()); });
}
void BM_TablebaseProbeCold(benchmark::State& state) {
    EachTablePosition(state, false, [] { benchmark::DoNotOptimize(Probe()); });
}
void BM_TablebaseCopyPosition(benchmark::State& state) {
    EachTablePosition(state, false, [] { benchmark::DoNotOptimize(thread_board); });
}
BENCHMARK(BM_TablebaseProbeWarm)->Arg(3)->Arg(4);
BENCHMARK(BM_TablebaseProbeCold)->Arg(3)->Arg(4);
BENCHMARK(BM_TablebaseCopyPosition)->Arg(3)->Arg(4);

}  // namespace
