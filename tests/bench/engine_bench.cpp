// engine_bench.cpp - micro-benchmarks of what the engine spends its time on.
//
//   corvantis_bench [--benchmark_filter=REGEX]
//
// Not a gate: for comparing two builds on the same idle machine. Every benchmark goes round the
// same list of positions, so one odd position does not decide.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "board/attacks.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/settings.h"
#include "eval/evaluate.h"
#include "search/transposition.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"
#include "tools/common/signature.h"

namespace {

// Setting up is not measured, but pausing the clock costs more than one short call does.
constexpr int Repeats = 200;

// Positions in check, in turn with two checkers, one, and a pawn that en passant may take.
const char* const check_fens[] = {
    "4k3/8/5N2/8/8/8/4R3/4K3 b - - 0 1",
    "rnbqk1nr/pppp1ppp/8/4p3/1b1P4/8/PPP1PPPP/RNBQKBNR w KQkq - 0 1",
    "8/8/8/3k4/2Pp4/8/8/4K3 b - c3 0 1",
};

const struct {
    const char* name;
    void (*body)();
    bool in_check;
} short_bodies[] = {
    {"BM_MakeUnmake",
     [] {
         const int count = GenerateUnscoredLegalMoves(ScratchMoves);
         for (int i = 0; i < count; ++i) {
             MakeMove(move_stack[ScratchMoves + i].move);
             UnmakeMove();
         }
     },
     false},
    {"BM_GenerateCaptures", [] { GenerateCaptures(thread_board.colour[thread_board.SideToMove ^ 1]); }, false},
    {"BM_GeneratePromotions", GeneratePromotions, false},
    {"BM_GenerateQuiets", GenerateQuiets, false},
    {"BM_GenerateQuietChecks", [] { GenerateQuietChecks(true); }, false},
    {"BM_GenerateLegalMoves", [] { GenerateLegalMoves(ScratchMoves); }, false},
    {"BM_GenerateEvasions", GenerateEvasions, true},
    {"BM_AttackersTo",
     [] {
         for (Square s = 0; s < 64; ++s) benchmark::DoNotOptimize(AttackersTo(s));
     },
     false},
    {"BM_EvaluateWarm", [] { benchmark::DoNotOptimize(Evaluate()); }, false},
};

// Runs the body on one position after the other.
void OnPositions(benchmark::State& state, void (*body)(), bool in_check) {
    int index = 0;
    for (auto _ : state) {
        state.PauseTiming();
        SetFen(in_check ? check_fens[index % 3] : signature_fens[index % SignaturePositions]);
        ++index;
        state.ResumeTiming();
        for (int i = 0; i < Repeats; ++i) {
            move_count = 0;
            body();
            benchmark::DoNotOptimize(move_count);
        }
    }
    move_count = 0;
    state.SetItemsProcessed(int64_t(state.iterations()) * Repeats);
}

// Different middlegame positions (twenty piece units a side or more) out of random games.
const std::vector<Position>& MiddlegamePositions() {
    static std::vector<Position> positions;
    if (!positions.empty()) return positions;
    TestRandom random{20261121};
    for (int i = 0; i < 40 * SignaturePositions; ++i) {
        SetFen(signature_fens[i % SignaturePositions]);
        RandomGame(random, 12, [&](const MoveList&) {
            if (std::min(thread_board.NonPawnMaterial[WHITE], thread_board.NonPawnMaterial[BLACK]) >= 20)
                positions.push_back(thread_board);
        });
    }
    for (size_t n = positions.size(); n > 1; --n) std::swap(positions[n - 1], positions[size_t(random.Below(int(n)))]);
    return positions;
}

// Every call another position. Without a pawn hash the pawn structure is worked out anew as well.
void BM_Evaluate(benchmark::State& state, uint32_t pawn_hash) {
    AllocatePawnHash(pawn_hash);
    const std::vector<Position>& positions = MiddlegamePositions();
    size_t i = 0;
    for (auto _ : state) {
        thread_board = positions[i++ % positions.size()];
        int result = 0;
        EvaluatePosition(result);
        benchmark::DoNotOptimize(result);
    }
    AllocatePawnHash(PawnHashSize);
}
BENCHMARK_CAPTURE(BM_Evaluate, Cold, 0);
BENCHMARK_CAPTURE(BM_Evaluate, PawnsKnown, PawnHashSize);

// Half of the probes hit. The table is far larger than the caches, as in play.
void BM_TableProbe(benchmark::State& state) {
    constexpr int Entries = 200000;
    ClearTable();
    SetInitialPosition();
    const uint64_t key = thread_board.hash_key;
    const auto spread = [](int i) { return uint64_t(i) * 0x9E3779B97F4A7C15ULL & ~1ULL; };
    for (int i = 0; i < Entries; ++i) {
        thread_board.hash_key = key ^ spread(i);
        StoreTable(8 * ONE_PLY, 0, 17, BoundExact, 0, 0, 4);
    }
    int i = 0;
    for (auto _ : state) {
        i = (i + 1) % Entries;
        thread_board.hash_key = key ^ (spread(i) | (i & 1));
        TableProbe probe;
        ProbeMain(probe, -100, 100, 4 * ONE_PLY, 4, true);
        benchmark::DoNotOptimize(probe);
    }
    ClearTable();
    SetInitialPosition();
}
BENCHMARK(BM_TableProbe);

void BM_Search(benchmark::State& state) {
    int64_t nodes = 0;
    int index = 0;
    for (auto _ : state) nodes += SignatureNodes(signature_fens[index++ % SignaturePositions], 7);
    state.SetItemsProcessed(nodes);
}
BENCHMARK(BM_Search)->Unit(benchmark::kMillisecond)->Iterations(SignaturePositions);

}  // namespace

int main(int argc, char** argv) {
    PrepareEngine();
    benchmark::Initialize(&argc, argv);
    for (const auto& b : short_bodies) benchmark::RegisterBenchmark(b.name, OnPositions, b.body, b.in_check);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
