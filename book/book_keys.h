// book_keys.h - the numbers that book keys are made of.
//
// They belong to the file format: other numbers, and no book made with these is understood.
// splitmix64, a public-domain generator, draws them at compile time from a fixed seed in the
// order half (first, second), colour, piece type, square; a number is the upper 32 bits.
#pragma once

#include <cstdint>

struct BookKeyTables {
    uint32_t half[2][2][8][64];  // [half][colour][piece type][square]
};

constexpr BookKeyTables MakeBookKeys() {
    BookKeyTables tables{};
    uint64_t state = 0x436F7276616E7469ULL;
    for (auto& half : tables.half)
        for (auto& colour : half)
            for (auto& type : colour)
                for (uint32_t& number : type) {
                    uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
                    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
                    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
                    number = uint32_t((z ^ (z >> 31)) >> 32);
                }
    return tables;
}
inline constexpr BookKeyTables book_keys = MakeBookKeys();

constexpr uint32_t BookBlackToMove = 0x07D3ADEB;  // into the first half when Black is to move
