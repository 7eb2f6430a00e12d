// book_bench.cpp - what it costs to ask a book of 50,000 positions that the system has in memory.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "board/position.h"
#include "book/book.h"
#include "book/book_writer.h"
#include "tests/support/board_helpers.h"
#include "tools/common/signature.h"

// The signature positions among random keys; every node has all pawn steps from the second rank.
static std::string LargeBook() {
    BookNodes nodes;
    for (const char* fen : signature_fens) {
        SetFen(fen);
        nodes[BookNodeKey()];
    }
    TestRandom random{1};
    while (nodes.size() < 50000) nodes[random.Next()];
    for (auto& node : nodes)
        for (int file = 0; file < 8; ++file) BookMoveOf(node.second, 8 + file, 16 + file);
    return BookFileBytes(nodes);
}

static void BM_BookMove(benchmark::State& state) {
    const std::string name = (std::filesystem::temp_directory_path() / "corvantis-bench.cvt").string();
    std::ofstream(name, std::ios::binary) << LargeBook();
    open_book(name.c_str());
    int index = 0, found = 0;
    for (auto _ : state) {
        SetFen(signature_fens[index++ % SignaturePositions]);
        for (int i = 0; i < 100; ++i) found += book_move() != 0;
    }
    if (found != index * 100) state.SkipWithError("a position is not in the book");
    state.SetItemsProcessed(found);
    close_book();
    std::remove(name.c_str());
}
BENCHMARK(BM_BookMove);
