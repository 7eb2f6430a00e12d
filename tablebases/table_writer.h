// table_writer.h - writes table files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/types.h"
#include "tablebases/table_file.h"

// What a table file is made of.
struct TableContents {
    std::string material;  // "kbnk"
    Colour side_to_move;
    std::vector<TableValue> values;  // at most 255, as byte 255 is UnusedSlot; the file's list
    const uint8_t* bytes;            // [slot]: numbers into values, or UnusedSlot
    uint64_t slots;
};
constexpr uint8_t UnusedSlot = 255;  // no legal position: any value may be stored there

// Writes the file under a name of its own and renames it at the end, so that `path` is the
// whole table or what it was before. `packed` compresses, with up to `threads` threads. False,
// with one line in *reason, when that was not possible.
bool WriteTableFile(const std::string& path, const TableContents& contents, bool packed, int threads,
                    std::string* reason);
// Bytes that packing takes at most besides the contents.
uint64_t TableWriterMemory(uint64_t slots);
