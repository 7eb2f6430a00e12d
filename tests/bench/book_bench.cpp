// book_bench.cpp - what it costs to ask a book of 50,000 positions that the system has in memory.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "board/file_access.h"
#include "board/position.h"
#include "book/book.h"
#include "book/book_file.h"
#include "tests/support/board_helpers.h"
#include "tools/common/signature.h"

namespace {

constexpr int Nodes = 50000;

void Append(std::string& bytes, uint32_t word) {
    uint8_t stored[4];
    StoreWord(stored, word);
    bytes.append(reinterpret_cast<const char*>(stored), sizeof stored);
}

// The signature positions among random keys; every node has all pawn steps from the second rank.
std::string LargeBook() {
    std::vector<std::pair<int32_t, int32_t>> keys;
    for (const char* fen : signature_fens) {
        SetFen(fen);
        keys.push_back({int32_t(CurrentBookKey().first), int32_t(CurrentBookKey().second)});
    }
    TestRandom random{1};
    while (keys.size() < Nodes) keys.push_back({int32_t(random.Next()), int32_t(random.Next())});
    std::sort(keys.begin(), keys.end());
    std::string list(1, char(8)), bytes = BookMagic;
    for (int file = 0; file < 8; ++file) list += {char(8 + file), char(16 + file), 2, 2};
    for (const uint32_t word : {1, 0, Nodes}) Append(bytes, word);
    for (size_t i = 0; i < keys.size(); ++i) {
        Append(bytes, uint32_t(keys[i].first));
        Append(bytes, uint32_t(keys[i].second));
        Append(bytes, uint32_t(BookSlotBytes * (BookFirstSlot + Nodes) + i * list.size()));
    }
    for (int i = 0; i < Nodes; ++i) bytes += list;
    return bytes;
}

void BM_BookMove(benchmark::State& state) {
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

}  // namespace
