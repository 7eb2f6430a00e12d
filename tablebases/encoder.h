// encoder.h - making a table file's dictionary and packing its blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// The byte of a slot that no legal position has: any other byte may be packed in its place.
constexpr uint8_t AnyByte = 255;

struct Encoder {
    int literals = 0;                   // bytes are 0 to literals - 1, or AnyByte
    std::vector<uint16_t> left, right;  // [symbol - literals]: the two that a pair stands for
    std::vector<uint8_t> lengths;       // [symbol]: of its code in bits; 0 when it is only part of pairs
};

// Puts the byte before in place of AnyByte, in front the first other byte, and 0 where there is
// no other. True when the bytes are then all the same.
bool FillAnyBytes(uint8_t* bytes, int count);

// Learns from the bytes (all of them, or an even sample when there are many), cut into blocks of
// `block` bytes. Blocks of one byte alone are passed over. The result, which has no symbols when
// no block is left, is the same for every number of threads.
Encoder TrainEncoder(const uint8_t* bytes, uint64_t count, int block, int literals, int threads);
uint64_t EncoderMemory(uint64_t count);  // bytes that this takes

// The dictionary as ReadDictionary() takes it.
std::vector<uint8_t> DictionaryBytes(const Encoder& encoder);

// Packs each block for DecodeBlock(), and fills in what was packed for AnyByte. Blocks of one
// byte alone are not packed: their result is empty.
std::vector<std::vector<uint8_t>> PackBlocks(const Encoder& encoder, uint8_t* bytes, uint64_t count, int block,
                                             int threads);
