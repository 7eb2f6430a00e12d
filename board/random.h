// random.h - the two generators of random numbers.
//
// MersenneTwister is the published 64-bit Mersenne Twister (MT19937-64) with its published
// seeding by an array; it draws the Zobrist keys, so its output must never change. (The
// standard library's generator cannot be seeded that way.) Random() is for choices in play.
#pragma once

#include <cstddef>
#include <cstdint>

struct MersenneTwister {
    uint64_t state[312];
    int next;

    void SeedByArray(const uint64_t* key, size_t length);
    uint64_t Next();
};

// Seeds Random(), usually from the calendar time.
void SeedRandom(uint32_t seed);
// The next number, 0 .. 2^31 - 1.
int Random();
