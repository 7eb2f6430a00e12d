// fuzz_tablebase.cpp - any bytes as a tablebase file. Its checksums refuse nearly all of them, so the
// last byte of an input says whether they are set right first.
#include <cstring>

#include "board/file_access.h"
#include "board/position.h"
#include "tablebases/table_file.h"
#include "tablebases/table_index.h"
#include "tests/fuzz/fuzz.h"

static void StoreLong(uint8_t* bytes, uint64_t number) {
    StoreWord(bytes, uint32_t(number));
    StoreWord(bytes + 4, uint32_t(number >> 32));
}

// The length, the mark and all checksums as the rest of the file would have them.
static void SetChecksums(std::string& file, uint64_t slots) {
    if (file.size() < HeadValues + HeadChecksumBytes) return;
    uint8_t* const bytes = reinterpret_cast<uint8_t*>(file.data());
    StoreLong(bytes + HeadLength, file.size());
    const uint64_t head = LoadWord(bytes + HeadSize);
    if (head < HeadValues + HeadChecksumBytes || head > file.size()) return;
    const size_t covered = head - HeadChecksumBytes;
    const uint64_t mark = TableChecksum(0, bytes + HeadSlots, covered - HeadSlots);
    StoreLong(bytes + covered, TableChecksum(mark, bytes, HeadSlots));
    for (uint64_t block = 0; block < TableBlocks(slots); ++block) {
        const uint64_t entry_at = head + block * BlockEntryBytes;
        if (entry_at + BlockEntryBytes > file.size()) return;
        uint8_t* const entry = bytes + entry_at;
        const uint64_t place = LoadWord(entry) | uint64_t(entry[4]) << 32 | uint64_t(entry[5]) << 40;
        const size_t length = size_t(entry[BlockEntryLength] | entry[BlockEntryLength + 1] << 8);
        if (place > file.size() || length > file.size() - place) continue;
        StoreWord(entry + BlockEntryChecksum, TableBlockChecksum(mark, block, entry, bytes + place, length));
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static TableIndex index;
    static const bool ready = [] {
        TableMaterial material;
        return ParseTableMaterial("krk", &material) && BuildTableIndex(material, WHITE, &index);
    }();
    Require(ready, "no index");
    std::string file(reinterpret_cast<const char*>(data), size);
    if (!file.empty()) {
        const bool set_right = file.back() & 1;
        file.pop_back();
        if (set_right) SetChecksums(file, index.slots);
    }
    constexpr const char* Name = "krk.nbw.emd";
    WriteInputFile(Name, file);

    TableFile table;
    std::string reason;
    if (!OpenTableFile(Name, "krk", WHITE, index.slots, &table, &reason)) {
        Require(!reason.empty(), "a table is refused without a reason");
        return 0;
    }
    for (uint64_t block = 0; block <= TableBlocks(index.slots); ++block) {
        uint8_t bytes[TableBlock];
        if (!ReadTableBlock(table, block, bytes)) continue;
        const size_t count = std::min<uint64_t>(TableBlock, index.slots - block * TableBlock);
        for (size_t i = 0; i < count; ++i) Require(bytes[i] < table.values.size(), "a value that the table has not");
    }
    CloseTableFile(&table);
    return 0;
}
