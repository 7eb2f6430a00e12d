// book_bytes.h - books for tests, written byte by byte from the layout alone.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "board/position.h"
#include "book/book_file.h"
#include "tests/support/board_helpers.h"
#include "tools/common/book_tree.h"

struct Entry {
    const char* move;
    int ours, theirs = 0;  // version 0: weight, nothing
};
struct Node {
    const char* moves;  // that lead to it
    std::vector<Entry> entries;
};

inline std::string Word32(uint32_t v) { return {char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; }

inline int SquareOf(const char* text) { return (text[0] - 'a') + 8 * (text[1] - '1'); }

inline std::string BookBytes(uint32_t version, const std::vector<Node>& nodes, const char* fen = StartFen) {
    std::map<std::pair<int32_t, int32_t>, const Node*> sorted;
    for (const Node& node : nodes) {
        SetFen(fen);
        PlayMoves(node.moves);
        const BookKey key = CurrentBookKey();
        sorted[{int32_t(key.first), int32_t(key.second)}] = &node;
    }
    SetInitialPosition();
    std::string records, lists;
    const size_t lists_at = 36 + 12 * nodes.size();
    for (const auto& [key, node] : sorted) {
        const uint32_t list_at = uint32_t(lists_at + lists.size());
        records += Word32(uint32_t(key.first)) + Word32(uint32_t(key.second)) + Word32(list_at);
        lists += char(node->entries.size());
        for (const Entry& e : node->entries) {
            lists += {char(SquareOf(e.move)), char(SquareOf(e.move + 2)), char(e.ours)};
            if (version != 0) lists += char(e.theirs);
        }
    }
    return "~Corvantis openings book" + Word32(version) + Word32(0xABCDEF01) + Word32(uint32_t(nodes.size())) + records
        + lists;
}

// The nodes of a sound book text.
inline BookNodes NodesOf(const std::string& text) {
    BookNodes nodes;
    ReadBookText(
        text, "text", [](const std::string& fault) { ADD_FAILURE() << fault; }, nodes);
    return nodes;
}

// The moves of the open book that have points: "e2e4 1/1 d1h5 2/0 ". Leaves the start position.
inline std::string MovesWithPoints(const std::vector<Node>& nodes) {
    std::string text;
    for (const Node& node : nodes) {
        SetInitialPosition();
        PlayMoves(node.moves);
        BookNode read;
        if (!ReadBookNode(read)) return "no node";
        for (int i = 0; i < read.count; ++i)
            if (read.entries[i].Games2() != 0)
                text += std::string(node.entries[size_t(i)].move) + ' ' + std::to_string(read.entries[i].ours) + '/'
                    + std::to_string(read.entries[i].theirs) + ' ';
    }
    SetInitialPosition();
    return text;
}
