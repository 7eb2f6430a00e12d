// tablebase_file_test.cpp - table files: what is written comes back, what is damaged is refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "board/file_access.h"
#include "tablebases/codec.h"
#include "tablebases/encoder.h"
#include "tablebases/table_file.h"
#include "tablebases/table_writer.h"
#include "tests/support/temporary_path.h"
#include "tools/common/random.h"

namespace {

using Bytes = std::vector<uint8_t>;

// Slots like those of a table: values that change little from slot to slot, and unused ones.
Bytes Smooth(uint64_t slots, int values, int noise) {
    SplitMix random{7};
    Bytes bytes;
    for (uint64_t i = 0; i < slots; ++i) {
        const int value = int((1 + std::sin(double(i) / 37)) / 2 * values) + random.Below(noise + 1);
        bytes.push_back(random.Below(9) == 0 ? UnusedSlot : uint8_t(std::min(value, values - 1)));
    }
    return bytes;
}
Bytes Random(uint64_t slots, int values) {
    SplitMix random{8};
    Bytes bytes(slots);
    for (uint8_t& byte : bytes) byte = uint8_t(random.Below(values));
    return bytes;
}

class TablebaseFile : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = TemporaryPath("");
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directory(folder_);
        path_ = (folder_ / "kqk.nbw.emd").string();
    }
    void TearDown() override {
        CloseTableFile(&table_);
        std::filesystem::remove_all(folder_);
    }
    static TableContents Contents(const Bytes& slots, int values) {
        TableContents contents{"kqk", WHITE, {}, slots.data(), slots.size()};
        for (int i = 0; i < values; ++i) contents.values.push_back(TableValue(100 - 3 * i));
        return contents;
    }
    void Write(const Bytes& slots, int values, bool packed, int threads = 1) {
        std::string reason;
        ASSERT_TRUE(WriteTableFile(path_, Contents(slots, values), packed, threads, &reason)) << reason;
    }
    // The reason when the file is refused, "" when it is open.
    std::string Open(uint64_t slots, const std::string& material = "kqk", Colour side = WHITE) {
        CloseTableFile(&table_);
        std::string reason;
        const bool opened = OpenTableFile(path_, material, side, slots, &table_, &reason);
        EXPECT_EQ(opened, reason.empty());
        EXPECT_EQ(reason.find('\n'), std::string::npos);
        return reason;
    }
    // "" when every block is read and every used slot has the value that was written.
    std::string Differences(const Bytes& slots, int values) {
        const TableContents contents = Contents(slots, values);
        Bytes read(TableBlock);
        std::string refused;
        for (uint64_t i = 0; i < slots.size(); ++i) {
            if (i % TableBlock == 0 && !ReadTableBlock(table_, i / TableBlock, read.data())) {
                refused = "refused";
                i += TableBlock - 1;
                continue;
            }
            const uint8_t byte = read[i % TableBlock];
            if (byte >= table_.values.size()
                || (slots[i] != UnusedSlot && table_.values[byte] != contents.values[slots[i]]))
                return "a wrong value in slot " + std::to_string(i);
        }
        return refused;
    }
    // For every block of the open table '1' when it can be read, else '0'.
    std::string BlocksRead() const {
        std::string blocks;
        uint8_t bytes[TableBlock];
        for (uint64_t i = 0; i < TableBlocks(table_.slots); ++i) blocks += ReadTableBlock(table_, i, bytes) ? '1' : '0';
        return blocks;
    }
    Bytes FileBytes() const {
        std::ifstream file(path_, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(file), {});
    }
    void Put(const Bytes& bytes) const {
        std::filesystem::remove(path_);
        std::ofstream(path_, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), long(bytes.size()));
    }

    std::filesystem::path folder_;
    std::string path_;
    TableFile table_;
};

TEST_F(TablebaseFile, WhatIsWrittenComesBack) {
    struct Case {
        const char* why;
        Bytes slots;
        int values;
    };
    std::vector<Case> cases = {
        {"nothing legal", Bytes(20000, UnusedSlot), 1},        {"all drawn", Bytes(20000, 0), 1},
        {"two values, hardly any of one", Bytes(30000, 0), 2}, {"nothing to compress", Random(30000, 255), 255},
        {"all values, smooth", Smooth(60000, 255, 3), 255},    {"few values, smooth", Smooth(60000, 12, 1), 12},
    };
    for (const uint64_t slots : {1, 2, 7, 8, 9, 8191, 8192, 8193, 16384, 16385})
        cases.push_back({"around the end of a block", Smooth(slots, 20, 1), 20});
    for (size_t i = 0; i < 30000; i += 500) cases[2].slots[i] = 1;
    for (const Case& c : cases) {
        for (const bool packed : {false, true}) {
            SCOPED_TRACE(std::string(c.why) + ", " + std::to_string(c.slots.size()) + (packed ? " packed" : " plain"));
            Write(c.slots, c.values, packed);
            ASSERT_EQ(Open(c.slots.size()), "");
            EXPECT_EQ(Differences(c.slots, c.values), "");
            uint8_t none[TableBlock];
            EXPECT_FALSE(ReadTableBlock(table_, TableBlocks(c.slots.size()), none));
            EXPECT_LE(TableFileMemory(table_), 100000u);
        }
    }
}

TEST_F(TablebaseFile, PackedFilesAreSmallAndTheSameForAnyNumberOfThreads) {
    const Bytes slots = Smooth(300000, 40, 1);
    Write(slots, 40, true, 1);
    const Bytes one = FileBytes();
    Write(slots, 40, true, 2);
    EXPECT_EQ(one, FileBytes());
    EXPECT_LT(one.size(), slots.size() / 3) << "most slots hold a bit of noise, which alone is an eighth";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_), {}), 1);

    Bytes drawn(1000000, 0);
    drawn[500000] = 1;
    Write(drawn, 2, true);
    EXPECT_LT(FileBytes().size(), 1700u) << "a list of 123 blocks, and one that is not empty";
}

TEST_F(TablebaseFile, DamageIsRefusedNeverReadWrong) {
    for (const bool packed : {true, false}) {
        SCOPED_TRACE(packed);
        const Bytes slots = packed ? Smooth(9000, 5, 0) : Smooth(700, 5, 0);
        Write(slots, 5, packed);
        const Bytes good = FileBytes();
        ASSERT_LT(good.size(), 3000u);
        for (size_t at = 0; at < good.size(); ++at) {
            for (const uint8_t flip : {0x01, 0x80}) {
                Bytes bad = good;
                bad[at] ^= flip;
                Put(bad);
                Open(slots.size());
                ASSERT_EQ(Differences(slots, 5), "refused") << at;
            }
        }
        for (size_t length = 0; length < good.size(); ++length) {
            Put(Bytes(good.begin(), good.begin() + long(length)));
            ASSERT_EQ(Open(slots.size()), length < 8 ? "not a tablebase of ours" : "cut short") << length;
        }
        // Cut while it is open.
        Put(good);
        ASSERT_EQ(Open(slots.size()), "");
        std::filesystem::resize_file(path_, good.size() - 1);
        EXPECT_EQ(Differences(slots, 5), "refused");
    }
}

TEST_F(TablebaseFile, WhatIsOfAnotherTableIsRefused) {
    const Bytes slots = Smooth(30000, 20, 1);
    Write(slots, 20, true);
    EXPECT_EQ(Open(30000, "krk"), "made for kqk, not krk");
    EXPECT_EQ(Open(30000, "kqk", BLACK), "made for White to move, not Black");
    EXPECT_EQ(Open(30001), "made for 30000 slots, not 30001");
    ASSERT_EQ(Open(30000), "");
    const Bytes good = FileBytes();
    const long list = long(table_.block_list);
    const auto opened = [&](const Bytes& bytes) {
        Put(bytes);
        return Open(30000);
    };
    Bytes longer = good, newer = good;
    longer.push_back(0);
    ++newer[HeadVersion];
    EXPECT_EQ(opened(longer), "longer than it was made");
    EXPECT_EQ(opened(newer), "version 2 of the format, not 1");
    EXPECT_EQ(opened(Bytes(5000, 'x')), "not a tablebase of ours");
    std::filesystem::remove(path_);
    EXPECT_EQ(Open(30000), "No such file or directory");
    std::filesystem::create_directory(path_);
    EXPECT_EQ(Open(30000), "no plain file");

    // Two entries of the list exchanged; then the blocks of a table that differs in name alone.
    Bytes mixed = good;
    const auto entry = mixed.begin() + list;
    std::swap_ranges(entry, entry + BlockEntryBytes, entry + BlockEntryBytes);
    ASSERT_EQ(opened(mixed), "");
    EXPECT_EQ(BlocksRead(), "0011") << "the rest is still good";
    TableContents other = Contents(slots, 20);
    other.material = "krk";
    std::string reason;
    ASSERT_TRUE(WriteTableFile(path_, other, true, 1, &reason));
    mixed = FileBytes();
    ASSERT_EQ(mixed.size(), good.size());
    std::copy(good.begin() + list, good.end(), mixed.begin() + list);
    Put(mixed);
    ASSERT_EQ(Open(30000, "krk"), "");
    EXPECT_EQ(BlocksRead(), "0000");
}

// A head that somebody made up, with a good checksum.
TEST_F(TablebaseFile, NothingInAHeadIsBelieved) {
    const Bytes slots = Smooth(30000, 20, 1);
    Write(slots, 20, true);
    const Bytes good = FileBytes();
    const struct {
        const char* why;
        int at, bytes;
        uint64_t value;
        const char* reason;
    } cases[] = {
        {"an endless head", HeadSize, 4, 0xFFFFFFFF, "the head is damaged"},
        {"no head", HeadSize, 4, 0, "the head is damaged"},
        {"an endless file", HeadLength, 8, 0x7FFFFFFFFFFFFFFF, "cut short"},
        {"a file of less than nothing", HeadLength, 8, ~uint64_t(0), "longer than it was made"},
        {"endless slots", HeadSlots, 8, ~uint64_t(0), "made for 18446744073709551615 slots, not 30000"},
        {"a name with an end of line", HeadMaterial, 2, 0x0A6B, "the head makes no sense"},
        {"a third side", HeadSide, 1, 2, "the head makes no sense"},
        {"no values", HeadValueCount, 2, 0, "the head makes no sense"},
        {"too many values", HeadValueCount, 2, 256, "the head makes no sense"},
        {"more values than the dictionary has letters", HeadValueCount, 2, 21, "the dictionary makes no sense"},
        {"too many symbols", HeadSymbols, 2, 65535, "the dictionary makes no sense"},
        {"fewer symbols than values", HeadSymbols, 2, 19, "the dictionary makes no sense"},
        {"one symbol less", HeadSymbols, 2, uint64_t(LoadWord(&good[HeadSymbols])) - 1,
         "the dictionary makes no sense"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Bytes bad = good;
        for (int i = 0; i < c.bytes; ++i) bad[size_t(c.at + i)] = uint8_t(c.value >> (8 * i));
        const size_t size = LoadWord(&good[HeadSize]), covered = size - HeadChecksumBytes;
        const uint64_t sum =
            TableChecksum(TableChecksum(0, &bad[HeadSlots], covered - HeadSlots), bad.data(), HeadSlots);
        StoreWord(&bad[covered], uint32_t(sum));
        StoreWord(&bad[covered + 4], uint32_t(sum >> 32));
        Put(bad);
        EXPECT_EQ(Open(30000), c.reason);
    }
}

// The bytes of a dictionary with two literals and these pairs, and these lengths of codes.
Bytes DictionaryOf(const std::vector<std::pair<int, int>>& pairs, std::vector<uint8_t> lengths) {
    Encoder encoder;
    encoder.literals = 2;
    for (const auto& [left, right] : pairs) {
        encoder.left.push_back(uint16_t(left));
        encoder.right.push_back(uint16_t(right));
    }
    lengths.resize(2 + pairs.size());
    encoder.lengths = lengths;
    return DictionaryBytes(encoder);
}

TEST(TablebaseCodec, ImpossibleDictionariesAreRefused) {
    std::vector<std::pair<int, int>> doubling = {{0, 1}}, many = {{0, 0}};
    for (int i = 2; i < 30; ++i) doubling.push_back({i, i});
    for (int i = 2; i < MaxSymbols - 2; ++i) many.push_back({0, std::min(i, 200)});
    const struct {
        const char* why;
        std::vector<std::pair<int, int>> pairs;
        std::vector<uint8_t> lengths;
        bool good;
    } cases[] = {
        {"two literals", {}, {1, 1}, true},
        {"a pair of pairs", {{0, 1}, {2, 2}}, {2, 2, 2, 2}, true},
        {"codes that leave room", {{0, 1}}, {20, 0, 3}, true},
        {"made of itself", {{0, 1}, {3, 0}}, {2, 2, 2, 2}, false},
        {"made of a later one", {{0, 1}, {0, 1}, {0, 1}, {0, 6}, {0, 1}}, {1, 1}, false},
        {"doubled without end", doubling, {1, 1}, false},
        {"all long, none inside another", many, {1, 1}, false},
        {"three codes of one bit", {{0, 1}}, {1, 1, 1}, false},
        {"one code too many far below", {{0, 1}}, {1, 1, 20}, false},
        {"too long a code", {}, {1, 21}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const int symbols = 2 + int(c.pairs.size());
        Bytes bytes = DictionaryOf(c.pairs, c.lengths);
        Dictionary dictionary;
        EXPECT_EQ(ReadDictionary(bytes.data(), bytes.size(), 2, symbols, &dictionary), c.good);
        EXPECT_FALSE(ReadDictionary(bytes.data(), bytes.size() - 1, 2, symbols, &dictionary)) << "cut";
        bytes.push_back(0);
        EXPECT_FALSE(ReadDictionary(bytes.data(), bytes.size(), 2, symbols, &dictionary)) << "something behind it";
    }
}

// Blocks that pass every checksum and are nonsense. The sanitizers watch for steps outside.
TEST(TablebaseCodec, AnyBytesAreUnpackedToGoodOnesOrRefused) {
    const Bytes dictionaries[] = {DictionaryOf({{0, 1}, {2, 2}, {3, 3}}, {2, 3, 2, 3, 2}),
                                  DictionaryOf({{0, 1}, {2, 2}, {3, 3}}, {1, 20, 16, 5, 9})};
    SplitMix random{3};
    int good = 0, refused = 0;
    for (const Bytes& bytes : dictionaries) {
        Dictionary dictionary;
        ASSERT_TRUE(ReadDictionary(bytes.data(), bytes.size(), 2, 5, &dictionary));
        for (int i = 0; i < 20000; ++i) {
            const int size = random.Below(12), count = 1 + random.Below(60);
            Bytes packed(size_t(size + PackedSlack)), unpacked(size_t(count), 9);
            for (int k = 0; k < size; ++k) packed[size_t(k)] = uint8_t(random.Below(random.Below(2) ? 256 : 2));
            const bool done = DecodeBlock(dictionary, packed.data(), size, unpacked.data(), count);
            ++(done ? good : refused);
            ASSERT_TRUE(!done || *std::max_element(unpacked.begin(), unpacked.end()) <= 1);
            // Nothing may follow the last code.
            packed.push_back(0);
            ASSERT_FALSE(done && DecodeBlock(dictionary, packed.data(), size + 1, unpacked.data(), count));
        }
    }
    EXPECT_GT(good, 100);
    EXPECT_GT(refused, 100);
}

// Blocks whose checksum is right but whose bytes are no values.
TEST_F(TablebaseFile, BytesWithoutAValueAreRefused) {
    constexpr uint64_t Slots = 100;
    for (const bool one_byte : {false, true}) {
        Write(one_byte ? Bytes(Slots, 1) : Random(Slots, 2), 2, false);
        ASSERT_EQ(Open(Slots), "");
        Bytes file = FileBytes();
        uint8_t* const entry = file.data() + table_.block_list;
        uint8_t* const stored = file.data() + file.size() - Slots;
        stored[50] = 2;
        if (one_byte) {
            std::fill_n(entry, BlockEntryLength + 2, uint8_t(0));
            entry[0] = 2;
        }
        StoreWord(entry + BlockEntryChecksum, TableBlockChecksum(table_.mark, 0, entry, stored, one_byte ? 0 : Slots));
        Put(file);
        ASSERT_EQ(Open(Slots), "");
        EXPECT_EQ(BlocksRead(), "0") << one_byte;
    }
}

// No block is longer packed than it is plain, and there is no room for one.
TEST_F(TablebaseFile, BlocksLongerThanTheirSlotsAreRefused) {
    constexpr uint64_t Slots = 12 * TableBlock;
    Write(Smooth(Slots, 20, 2), 20, true);
    ASSERT_EQ(Open(Slots), "");
    const Bytes good = FileBytes();
    ASSERT_LT(good.size(), Slots / 2) << "blocks are not packed";
    for (const int longer : {1, 8}) {
        Bytes file = good;
        uint8_t* const entry = file.data() + table_.block_list;
        const uint8_t* const stored = file.data() + LoadWord(entry);
        entry[BlockEntryLength] = uint8_t((TableBlock + longer) & 255);
        entry[BlockEntryLength + 1] = uint8_t((TableBlock + longer) >> 8);
        StoreWord(entry + BlockEntryChecksum,
                  TableBlockChecksum(table_.mark, 0, entry, stored, size_t(TableBlock + longer)));
        Put(file);
        ASSERT_EQ(Open(Slots), "");
        EXPECT_EQ(BlocksRead(), "0" + std::string(11, '1')) << longer;
    }
}

TEST_F(TablebaseFile, WhatCannotBeWrittenLeavesEverythingAsItWas) {
    const Bytes slots = Smooth(9000, 5, 0);
    std::string reason;
    EXPECT_FALSE(WriteTableFile((folder_ / "none" / "kqk").string(), Contents(slots, 5), true, 1, &reason));
    EXPECT_NE(reason.find("No such file or directory"), std::string::npos) << reason;
    // A folder in the way of the new file.
    std::filesystem::create_directories(path_ + "/kept");
    EXPECT_FALSE(WriteTableFile(path_, Contents(slots, 5), true, 1, &reason));
    EXPECT_NE(reason.find("cannot rename"), std::string::npos) << reason;
    EXPECT_TRUE(std::filesystem::exists(path_ + "/kept"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_), {}), 1) << "half a file is left";
    EXPECT_FALSE(WriteTableFile(path_ + "2", Contents(slots, 4), true, 1, &reason)) << "a byte without value";
    EXPECT_FALSE(WriteTableFile(path_ + "2", Contents({}, 256), true, 1, &reason)) << "more values than bytes";
}

}  // namespace
