// random.h - random numbers of our own, so that the same seed gives the same games on every machine
// and the engine's generator is neither used nor disturbed.
#pragma once

#include <cstdint>

// splitmix64 (S. Vigna, public domain).
struct SplitMix {
    uint64_t state;
    uint64_t Next() {
        uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    int Below(int limit) { return int(Next() % uint64_t(limit)); }
};
