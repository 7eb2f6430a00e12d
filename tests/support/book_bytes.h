// book_bytes.h - books for tests, written byte by byte from the layout alone.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "board/position.h"
#include "book/book_file.h"
#include "tests/support/board_helpers.h"

struct Entry {
    const char* move;
    int ours, theirs;  // version 0: weight, nothing
};
struct Node {
    const char* moves;  // that lead to it
    std::vector<Entry> entries;
};

inline std::string Word32(uint32_t v) { return {char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; }

inline int SquareOf(const char* text) { return (text[0] - 'a') + 8 * (text[1] - '1'); }

inline std::string BookBytes(uint32_t version, const std::vector<Node>& nodes, const char* fen = StartFen) {
    std::vector<std::pair<std::pair<int32_t, int32_t>, const Node*>> sorted;
    for (const Node& node : nodes) {
        SetFen(fen);
        PlayMoves(node.moves);
        const BookKey key = CurrentBookKey();
        sorted.push_back({{int32_t(key.first), int32_t(key.second)}, &node});
    }
    SetInitialPosition();
    std::sort(sorted.begin(), sorted.end());
    std::string records, lists;
    const size_t lists_at = 36 + 12 * nodes.size();
    for (const auto& [key, node] : sorted) {
        records +=
            Word32(uint32_t(key.first)) + Word32(uint32_t(key.second)) + Word32(uint32_t(lists_at + lists.size()));
        lists += char(node->entries.size());
        for (const Entry& e : node->entries) {
            lists += char(SquareOf(e.move));
            lists += char(SquareOf(e.move + 2));
            lists += char(e.ours);
            if (version != 0) lists += char(e.theirs);
        }
    }
    return "~Corvantis openings book" + Word32(version) + Word32(0xABCDEF01) + Word32(uint32_t(nodes.size())) + records
        + lists;
}
