// table_file.cpp - see table_file.h.
#include "tablebases/table_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "board/file_access.h"

constexpr int64_t MaxHead = 1 << 16;

static uint64_t LoadLong(const uint8_t* bytes) { return LoadWord(bytes) | uint64_t(LoadWord(bytes + 4)) << 32; }
static uint32_t LoadShort(const uint8_t* bytes) { return uint32_t(bytes[0] | bytes[1] << 8); }

uint64_t TableChecksum(uint64_t start, const uint8_t* bytes, size_t count) {
    // Each step can be undone, so two sums differ whenever a single word does.
    constexpr uint64_t Odd = 0x9E3779B97F4A7C15;
    uint64_t sum = start ^ (count * Odd);
    const auto add = [&sum](uint64_t word) {
        sum = (sum ^ word) * Odd;
        sum ^= sum >> 32;
    };
    for (; count >= 8; bytes += 8, count -= 8) add(LoadLong(bytes));
    uint8_t rest[8] = {};
    std::copy(bytes, bytes + count, rest);
    add(LoadLong(rest));
    return (sum ^ sum >> 29) * Odd;
}

uint32_t TableBlockChecksum(uint64_t mark, uint64_t block, const uint8_t* entry, const uint8_t* bytes, size_t count) {
    const uint64_t start = TableChecksum(mark ^ block, entry, BlockEntryChecksum);
    return uint32_t(TableChecksum(start, bytes, count) >> 32);
}

static const char* SideName(int side) { return side == WHITE ? "White" : "Black"; }

// What is wrong with the head of the opened file, "" when nothing is.
static std::string ReadHead(const std::string& material, Colour side_to_move, uint64_t slots, TableFile* table) {
    std::FILE* const file = table->file;
    table->length = FileLength(file);
    uint8_t start[HeadValues];
    const size_t begun = ReadSome(file, 0, start, sizeof start);
    if (begun < HeadVersion || std::memcmp(start, TableMagic, HeadVersion) != 0) return "not a tablebase of ours";
    if (begun < sizeof start) return "cut short";
    if (const uint32_t version = LoadWord(start + HeadVersion); version != TableVersion)
        return "version " + std::to_string(version) + " of the format, not " + std::to_string(TableVersion);

    const int64_t size = LoadWord(start + HeadSize);
    const int values = int(LoadShort(start + HeadValueCount));
    if (size > MaxHead || size < HeadValues + 2 * values + HeadChecksumBytes) return "the head is damaged";
    if (size > table->length) return "cut short";
    std::vector<uint8_t> head(static_cast<size_t>(size));
    if (!ReadAll(file, 0, head.data(), head.size())) return "cannot be read";
    const size_t covered = head.size() - HeadChecksumBytes;
    table->mark = TableChecksum(0, head.data() + HeadSlots, covered - HeadSlots);
    if (TableChecksum(table->mark, head.data(), HeadSlots) != LoadLong(head.data() + covered))
        return "the head is damaged";

    // From here on the head is as somebody wrote it.
    const char* const letters = reinterpret_cast<const char*>(head.data() + HeadMaterial);
    const std::string name(letters, size_t(std::find(letters, letters + HeadMaterialBytes, '\0') - letters));
    if (name.find_first_not_of("kqrbnp") != std::string::npos) return "the head makes no sense";
    if (name != material) return "made for " + name + ", not " + material;
    const int side = head[HeadSide], packed = head[HeadPacked];
    if (side > BLACK || packed > 1 || LoadShort(head.data() + HeadZero) != 0) return "the head makes no sense";
    if (side != side_to_move)
        return std::string("made for ") + SideName(side) + " to move, not " + SideName(side_to_move);
    table->slots = LoadLong(head.data() + HeadSlots);
    if (table->slots != slots)
        return "made for " + std::to_string(table->slots) + " slots, not " + std::to_string(slots);
    const int64_t length = int64_t(LoadLong(head.data() + HeadLength));
    if (table->length < length) return "cut short";
    if (table->length > length) return "longer than it was made";

    if (values < 1 || values > MaxTableValues) return "the head makes no sense";
    for (int i = 0; i < values; ++i)
        table->values.push_back(TableValue(uint16_t(LoadShort(head.data() + HeadValues + 2 * i))));
    table->packed = packed != 0;
    const size_t dictionary = size_t(HeadValues + 2 * values);
    if (!ReadDictionary(head.data() + dictionary, covered - dictionary, values,
                        int(LoadShort(head.data() + HeadSymbols)), &table->dictionary))
        return "the dictionary makes no sense";
    table->block_list = size;
    if ((table->length - size) / BlockEntryBytes < int64_t(TableBlocks(slots))) return "the head makes no sense";
    return "";
}

bool OpenTableFile(const std::string& path, const std::string& material, Colour side_to_move, uint64_t slots,
                   TableFile* table, std::string* reason) {
    *table = TableFile();
    errno = 0;
    table->file = OpenForReading(path.c_str());
    if (table->file == nullptr) {
        *reason = errno != 0 ? std::strerror(errno) : "no plain file";
        return false;
    }
    *reason = ReadHead(material, side_to_move, slots, table);
    if (reason->empty()) return true;
    CloseTableFile(table);
    return false;
}

bool IsTableFile(const std::string& path) {
    std::FILE* const file = OpenForReading(path.c_str());
    if (file == nullptr) return false;
    uint8_t start[HeadVersion];
    const bool ours = ReadAll(file, 0, start, sizeof start) && std::memcmp(start, TableMagic, HeadVersion) == 0;
    std::fclose(file);
    return ours;
}

void CloseTableFile(TableFile* table) {
    if (table->file != nullptr) std::fclose(table->file);
    *table = TableFile();
}

size_t TableFileMemory(const TableFile& table) {
    return table.values.capacity() * sizeof(TableValue) + DictionaryMemory(table.dictionary);
}

bool ReadTableBlock(const TableFile& table, uint64_t block, uint8_t bytes[TableBlock]) {
    if (block >= TableBlocks(table.slots)) return false;
    const int count = int(std::min(uint64_t(TableBlock), table.slots - block * TableBlock));
    uint8_t entry[BlockEntryBytes];
    if (!ReadAll(table.file, table.block_list + int64_t(block * BlockEntryBytes), entry, sizeof entry)) return false;
    const uint64_t at = LoadLong(entry) & 0xFFFFFFFFFFFF;
    const int size = int(LoadShort(entry + BlockEntryLength));
    const uint32_t checksum = LoadWord(entry + BlockEntryChecksum);
    const size_t values = table.values.size();
    if (size > count) return false;
    if (size == 0) {
        if (checksum != TableBlockChecksum(table.mark, block, entry, nullptr, 0) || at >= values) return false;
        std::memset(bytes, int(at), size_t(count));
        return true;
    }

    uint8_t packed[TableBlock + PackedSlack];
    uint8_t* const to = size == count ? bytes : packed;
    if (!ReadAll(table.file, int64_t(at), to, size_t(size))) return false;
    if (checksum != TableBlockChecksum(table.mark, block, entry, to, size_t(size))) return false;
    if (size == count) return *std::max_element(bytes, bytes + count) < values;
    std::memset(packed + size, 0, PackedSlack);
    return DecodeBlock(table.dictionary, packed, size, bytes, count);
}
