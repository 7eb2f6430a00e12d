// parallel.h - the same work on many items, by several threads.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

// Calls work(first, last) for pieces of the items 0 .. count - 1, by at most `threads` threads at
// once, this one among them. What the work does must not depend on the order of the pieces.
template <typename Work> void InPieces(int threads, uint64_t count, uint64_t piece, const Work& work) {
    std::atomic<uint64_t> next = 0;
    const auto run = [&] {
        for (uint64_t first; (first = next.fetch_add(piece)) < count;) work(first, std::min(first + piece, count));
    };
    const uint64_t pieces = (count + piece - 1) / piece;
    std::vector<std::thread> others;
    for (uint64_t i = 1; i < std::min(uint64_t(std::max(threads, 1)), pieces); ++i) others.emplace_back(run);
    run();
    for (std::thread& thread : others) thread.join();
}

// Calls work(item) for each item.
template <typename Work> void ForEachItem(int threads, uint64_t count, const Work& work) {
    InPieces(threads, count, 1, [&](uint64_t first, uint64_t) { work(first); });
}
