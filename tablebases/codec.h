// codec.h - unpacking a block of table values.
//
// A file's dictionary replaces frequent neighbours by one symbol, again and again: a symbol is
// either one byte or a pair of earlier symbols. The symbols of a block are written with a
// prefix code (canonical Huffman). Both are made once for a file by encoder.h.
//
// What a symbol stands for is kept spelt out, so that unpacking copies and never descends. Most
// symbols lie inside a longer one that is made of them, which keeps the text short.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

constexpr int MaxSymbols = 4096;
constexpr int MaxCodeLength = 20;         // bits
constexpr int MaxExpansion = 512;         // bytes that a symbol stands for
constexpr int MaxDictionaryText = 49152;  // bytes that all symbols stand for, where none is inside another
constexpr int CodeLengthBits = 5;         // of a code's length in the file

// The bytes 0 to literals - 1 are the first symbols, the pairs follow. A pair's parts are
// symbols before it.
struct Dictionary {
    struct Place {
        uint16_t at, length;  // in text
    };
    std::vector<uint8_t> text;    // with some bytes behind it that may be copied along
    std::vector<Place> places;    // [rank]: symbols with a code, in the order of their codes
    std::vector<uint16_t> quick;  // [next bits]: rank and length of a short code; 0 for others
    // [length of code]. The next bits, as many as the longest code has, are below `end` for codes
    // of this length and shorter ones; `begin` and `rank` belong to the first code of the length.
    uint32_t begin[MaxCodeLength + 1], end[MaxCodeLength + 1], rank[MaxCodeLength + 1];
};

// Bits that one part of the pair `symbol` takes in the file: enough for all symbols before it.
constexpr int PartBits(int symbol) {
    int bits = 0;
    while ((1 << bits) < symbol) ++bits;
    return bits;
}
// Where each symbol is spelt out. `left` and `right` are the parts of the pairs [symbol - literals].
// The places are filled, the length of the whole text is returned; -1 when a symbol or the text
// would be too long.
int PlaceSymbols(int literals, const std::vector<uint16_t>& left, const std::vector<uint16_t>& right,
                 std::vector<Dictionary::Place>* places);

// Makes a dictionary from the bytes in a file. False when they are not exactly one: a pair that
// is made of itself or of later symbols, codes that are not possible together, too long symbols.
bool ReadDictionary(const uint8_t* bytes, size_t size, int literals, int symbols, Dictionary* dictionary);
size_t DictionaryMemory(const Dictionary& dictionary);

// Bytes that must be readable behind the packed ones.
constexpr int PackedSlack = 8;
// Unpacks `size` bytes to exactly `count`. False when they are not a block of this dictionary.
bool DecodeBlock(const Dictionary& dictionary, const uint8_t* packed, int size, uint8_t* bytes, int count);
