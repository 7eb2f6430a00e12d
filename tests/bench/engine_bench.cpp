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
#include "board/legality.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/perft.h"
#include "board/position.h"
#include "board/settings.h"
#include "eval/evaluate.h"
#include "search/search_state.h"
#include "search/transposition.h"
#include "tests/support/board_helpers.h"
#include "tests/support/engine_environment.h"
#include "tools/common/signature.h"

namespace {

constexpr Bitboard Everywhere = ~Bitboard(0);

// Runs `body` on one position after the other. Setting up is not measured.
template <typename Body> void EachPosition(benchmark::State& state, Body body) {
    int index = 0;
    for (auto _ : state) {
        state.PauseTiming();
        SetFen(signature_fens[index++ % SignaturePositions]);
        state.ResumeTiming();
        body();
    }
}

// A short loop inside the measured part, since pausing the clock costs more than one move does.
constexpr int Repeats = 200;

void BM_MakeUnmake(benchmark::State& state) {
    int64_t moves = 0;
    EachPosition(state, [&] {
        const int count = GenerateLegalMoves(ScratchMoves);
        for (int round = 0; round < Repeats / 10; ++round) {
            for (int i = 0; i < count; ++i) {
                MakeMove(move_stack[ScratchMoves + i].move);
                UnmakeMove();
            }
        }
        moves += int64_t(count) * (Repeats / 10);
    });
    state.SetItemsProcessed(moves);
}
BENCHMARK(BM_MakeUnmake);

template <void (*Generate)()> void BM_Generator(benchmark::State& state) {
    EachPosition(state, [] {
        for (int i = 0; i < Repeats; ++i) {
            move_count = 0;
            Generate();
            benchmark::DoNotOptimize(move_count);
        }
    });
    move_count = 0;
    state.SetItemsProcessed(int64_t(state.iterations()) * Repeats);
}
void Captures() { GenerateCaptures(thread_board.colour[thread_board.SideToMove ^ 1]); }
void QuietChecks() { GenerateQuietChecks(true); }
void LegalMovesFromStart() { GenerateLegalMoves(ScratchMoves); }
BENCHMARK(BM_Generator<Captures>)->Name("BM_GenerateCaptures");
BENCHMARK(BM_Generator<GeneratePromotions>)->Name("BM_GeneratePromotions");
BENCHMARK(BM_Generator<GenerateQuiets>)->Name("BM_GenerateQuiets");
BENCHMARK(BM_Generator<QuietChecks>)->Name("BM_GenerateQuietChecks");
BENCHMARK(BM_Generator<LegalMovesFromStart>)->Name("BM_GenerateLegalMoves");

void BM_GenerateEvasions(benchmark::State& state) {
    const char* const fens[] = {
        "4k3/8/5N2/8/8/8/4R3/4K3 b - - 0 1",
        "rnbqk1nr/pppp1ppp/8/4p3/1b1P4/8/PPP1PPPP/RNBQKBNR w KQkq - 0 1",
        "8/8/8/3k4/2Pp4/8/8/4K3 b - c3 0 1",
    };
    int index = 0;
    for (auto _ : state) {
        state.PauseTiming();
        SetFen(fens[index++ % 3]);
        state.ResumeTiming();
        for (int i = 0; i < Repeats; ++i) {
            move_count = 0;
            GenerateEvasions();
            benchmark::DoNotOptimize(move_count);
        }
    }
    move_count = 0;
    state.SetItemsProcessed(int64_t(state.iterations()) * Repeats);
}
BENCHMARK(BM_GenerateEvasions);

void BM_AttackersTo(benchmark::State& state) {
    EachPosition(state, [] {
        Bitboard all = Everywhere;
        for (Square s = 0; s < 64; ++s) all ^= AttackersTo(s);
        benchmark::DoNotOptimize(all);
    });
    state.SetItemsProcessed(int64_t(state.iterations()) * 64);
}
BENCHMARK(BM_AttackersTo);

// Different middlegame positions (twenty piece units a side or more) out of random games.
const std::vector<Position>& MiddlegamePositions() {
    static std::vector<Position> positions;
    if (!positions.empty()) return positions;
    constexpr int GamesEach = 40, Plies = 12, Units = 20;
    TestRandom random{20261121};
    for (int i = 0; i < SignaturePositions * GamesEach; ++i) {
        SetFen(signature_fens[i % SignaturePositions]);
        RandomGame(random, Plies, [&](const MoveList&) {
            if (std::min(thread_board.NonPawnMaterial[WHITE], thread_board.NonPawnMaterial[BLACK]) >= Units)
                positions.push_back(thread_board);
        });
    }
    for (size_t n = positions.size(); n > 1; --n) std::swap(positions[n - 1], positions[size_t(random.Below(int(n)))]);
    return positions;
}

// Every call another position. Cold: the pawn structure is worked out anew as well. The last one
// shows what the copying of positions, part of all three, costs.
template <typename Body> void MiddlegameBench(benchmark::State& state, Body body) {
    const std::vector<Position>& positions = MiddlegamePositions();
    size_t i = 0;
    for (auto _ : state) {
        thread_board = positions[i];
        if (++i == positions.size()) i = 0;
        body();
    }
}
int FullEvaluation() {
    int result = 0;
    EvaluatePosition(result);
    return result;
}
void BM_EvaluateCold(benchmark::State& state) {
    AllocatePawnHash(0);
    MiddlegameBench(state, [] { benchmark::DoNotOptimize(FullEvaluation()); });
    AllocatePawnHash(PawnHashSize);
}
BENCHMARK(BM_EvaluateCold);
void BM_EvaluatePawnsKnown(benchmark::State& state) {
    MiddlegameBench(state, [] { benchmark::DoNotOptimize(FullEvaluation()); });
}
BENCHMARK(BM_EvaluatePawnsKnown);
void BM_CopyPosition(benchmark::State& state) {
    MiddlegameBench(state, [] { benchmark::DoNotOptimize(thread_board); });
}
BENCHMARK(BM_CopyPosition);

void BM_EvaluateWarm(benchmark::State& state) {
    EachPosition(state, [] {
        for (int i = 0; i < Repeats; ++i) benchmark::DoNotOptimize(Evaluate());
    });
    state.SetItemsProcessed(int64_t(state.iterations()) * Repeats);
}
BENCHMARK(BM_EvaluateWarm);

// Half of the probes hit. The table is far larger than the caches, as in play.
void BM_TableProbe(benchmark::State& state) {
    ClearTable();
    SetInitialPosition();
    const uint64_t key = thread_board.hash_key;
    uint64_t spread = 0;
    for (int i = 0; i < 200000; ++i) {
        spread += 0x9E3779B97F4A7C15ULL;
        thread_board.hash_key = key ^ (spread & ~1ULL);
        StoreTable(8 * ONE_PLY, 0, 17, BoundExact, 0, 0, 4);
    }
    spread = 0;
    int i = 0;
    for (auto _ : state) {
        if (++i == 200000) i = 0, spread = 0;
        spread += 0x9E3779B97F4A7C15ULL;
        thread_board.hash_key = key ^ ((spread & ~1ULL) | (i & 1));
        TableProbe probe;
        ProbeMain(probe, -100, 100, 4 * ONE_PLY, 4, true);
        benchmark::DoNotOptimize(probe);
    }
    thread_board.hash_key = key;
    ClearTable();
    state.SetItemsProcessed(int64_t(state.iterations()));
}
BENCHMARK(BM_TableProbe);

void BM_Perft(benchmark::State& state) {
    uint64_t leaves = 0;
    EachPosition(state, [&] { leaves += Perft(3); });
    state.SetItemsProcessed(int64_t(leaves));
}
BENCHMARK(BM_Perft)->Unit(benchmark::kMillisecond);

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
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
