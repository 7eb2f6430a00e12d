// table_writer.cpp - see table_writer.h.
#include "tablebases/table_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "board/file_access.h"
#include "board/file_names.h"
#include "tablebases/encoder.h"

static_assert(UnusedSlot == AnyByte);
constexpr uint64_t BlocksAtOnce = 512;  // what is packed in memory before it is written

static void StoreLong(uint8_t* bytes, uint64_t value) {
    StoreWord(bytes, uint32_t(value));
    StoreWord(bytes + 4, uint32_t(value >> 32));
}
static void StoreShort(uint8_t* bytes, size_t value) {
    bytes[0] = uint8_t(value);
    bytes[1] = uint8_t(value >> 8);
}

// The head but for the file's length and the checksum.
static std::vector<uint8_t> MakeHead(const TableContents& contents, bool packed, const Encoder& encoder) {
    const std::vector<uint8_t> dictionary = DictionaryBytes(encoder);
    const size_t values = contents.values.size();
    std::vector<uint8_t> head(HeadValues + 2 * values);
    std::memcpy(head.data(), TableMagic, HeadVersion);
    StoreWord(&head[HeadVersion], TableVersion);
    StoreWord(&head[HeadSize], uint32_t(head.size() + dictionary.size() + HeadChecksumBytes));
    StoreLong(&head[HeadSlots], contents.slots);
    std::copy(contents.material.begin(), contents.material.end(), head.begin() + HeadMaterial);
    head[HeadSide] = uint8_t(contents.side_to_move);
    head[HeadPacked] = packed;
    StoreShort(&head[HeadValueCount], values);
    StoreShort(&head[HeadSymbols], encoder.lengths.size());
    for (size_t i = 0; i < values; ++i) StoreShort(&head[HeadValues + 2 * i], uint16_t(contents.values[i]));
    head.insert(head.end(), dictionary.begin(), dictionary.end());
    head.resize(head.size() + HeadChecksumBytes);
    return head;
}

// Writes everything, closes the file; false when the disk did not take it.
static bool WriteAndClose(std::FILE* file, const TableContents& contents, bool packed, int threads,
                          const Encoder& encoder) {
    std::vector<uint8_t> head = MakeHead(contents, packed, encoder);
    const size_t covered = head.size() - HeadChecksumBytes;
    const uint64_t mark = TableChecksum(0, head.data() + HeadSlots, covered - HeadSlots);
    const uint64_t blocks = TableBlocks(contents.slots);
    std::vector<uint8_t> list(blocks * BlockEntryBytes);
    int64_t at = int64_t(head.size() + list.size());
    bool good = true;
    std::vector<uint8_t> bytes;
    for (uint64_t first = 0; good && first < blocks; first += BlocksAtOnce) {
        const uint64_t begin = first * TableBlock;
        const uint64_t end = std::min(begin + BlocksAtOnce * TableBlock, contents.slots);
        bytes.assign(contents.bytes + begin, contents.bytes + end);
        std::vector<std::vector<uint8_t>> coded;
        if (packed) coded = PackBlocks(encoder, bytes.data(), bytes.size(), TableBlock, threads);
        for (uint64_t block = first; good && block * TableBlock < end; ++block) {
            uint8_t* stored = bytes.data() + (block - first) * TableBlock;
            size_t size = size_t(std::min(uint64_t(TableBlock), end - block * TableBlock));
            uint8_t* const entry = &list[block * BlockEntryBytes];
            StoreLong(entry, uint64_t(at));
            if (!packed) {
                FillAnyBytes(stored, int(size));
            } else if (coded[block - first].empty()) {
                StoreLong(entry, *stored);
                size = 0;
            } else if (coded[block - first].size() < size) {
                stored = coded[block - first].data();
                size = coded[block - first].size();
            }
            StoreShort(entry + BlockEntryLength, size);
            StoreWord(entry + BlockEntryChecksum, TableBlockChecksum(mark, block, entry, stored, size));
            good = WriteAll(file, at, stored, size);
            at += int64_t(size);
        }
    }
    StoreLong(&head[HeadLength], uint64_t(at));
    StoreLong(&head[covered], TableChecksum(mark, head.data(), HeadSlots));
    good = good && WriteAll(file, int64_t(head.size()), list.data(), list.size());
    good = good && WriteAll(file, 0, head.data(), head.size());
    const int why = errno;
    if (std::fclose(file) != 0) return false;
    errno = why;
    return good;
}

bool WriteTableFile(const std::string& path, const TableContents& contents, bool packed, int threads,
                    std::string* reason) {
    const size_t values = contents.values.size();
    if (values < 1 || values > size_t(MaxTableValues) || contents.material.size() > size_t(HeadMaterialBytes)) {
        *reason = std::to_string(values) + " values in " + contents.material + " are no table";
        return false;
    }
    for (uint64_t i = 0; i < contents.slots; ++i) {
        if (contents.bytes[i] < values || contents.bytes[i] == UnusedSlot) continue;
        *reason = "slot " + std::to_string(i) + " of " + contents.material + " has no value of the list";
        return false;
    }
    Encoder encoder;
    if (packed) encoder = TrainEncoder(contents.bytes, contents.slots, TableBlock, int(values), threads);

    const std::string unfinished = path + ".tmp";
    std::error_code error;
    errno = 0;
    std::FILE* const file = OpenFile(PathOf(unfinished), "wb");
    bool good = file != nullptr;
    if (good) good = WriteAndClose(file, contents, packed, threads, encoder);
    if (!good) {
        *reason = "cannot write " + unfinished + ": " + (errno != 0 ? std::strerror(errno) : "failed");
    } else {
        std::filesystem::rename(PathOf(unfinished), PathOf(path), error);
        if (!error) return true;
        *reason = "cannot rename " + unfinished + ": " + error.message();
    }
    if (file != nullptr) std::filesystem::remove(PathOf(unfinished), error);
    return false;
}

uint64_t TableWriterMemory(uint64_t slots) {
    // A batch of blocks with its packed bytes, and the list of all blocks.
    const uint64_t batch = 4 * std::min(slots, BlocksAtOnce * TableBlock);
    return EncoderMemory(slots) + batch + TableBlocks(slots) * BlockEntryBytes;
}
