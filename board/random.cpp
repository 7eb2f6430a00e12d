// random.cpp - MT19937-64 as published by Nishimura and Matsumoto (2004), and Random().
//
// State: one MersenneTwister behind Random(), seeded by SeedRandom().
#include "board/random.h"

namespace {

constexpr int Words = 312;
constexpr int Middle = 156;
constexpr uint64_t MatrixA = 0xB5026F5AA96619E9ULL;
constexpr uint64_t UpperMask = 0xFFFFFFFF80000000ULL;  // most significant 33 bits
constexpr uint64_t LowerMask = 0x7FFFFFFFULL;          // least significant 31 bits

void SeedByNumber(MersenneTwister& twister, uint64_t seed) {
    twister.state[0] = seed;
    for (int i = 1; i < Words; ++i) {
        const uint64_t previous = twister.state[i - 1];
        twister.state[i] = 6364136223846793005ULL * (previous ^ (previous >> 62)) + uint64_t(i);
    }
    twister.next = Words;
}

void Refill(MersenneTwister& twister) {
    uint64_t* const mt = twister.state;
    for (int i = 0; i < Words; ++i) {
        const uint64_t x = (mt[i] & UpperMask) | (mt[(i + 1) % Words] & LowerMask);
        mt[i] = mt[(i + Middle) % Words] ^ (x >> 1) ^ ((x & 1) ? MatrixA : 0);
    }
    twister.next = 0;
}

MersenneTwister choice;

}  // namespace

void MersenneTwister::SeedByArray(const uint64_t* key, size_t length) {
    SeedByNumber(*this, 19650218ULL);
    size_t i = 1, j = 0;
    for (size_t k = length > size_t(Words) ? length : size_t(Words); k > 0; --k) {
        state[i] = (state[i] ^ ((state[i - 1] ^ (state[i - 1] >> 62)) * 3935559000370003845ULL)) + key[j] + j;
        if (++i >= size_t(Words)) {
            state[0] = state[Words - 1];
            i = 1;
        }
        if (++j >= length) j = 0;
    }
    for (int k = Words - 1; k > 0; --k) {
        state[i] = (state[i] ^ ((state[i - 1] ^ (state[i - 1] >> 62)) * 2862933555777941757ULL)) - i;
        if (++i >= size_t(Words)) {
            state[0] = state[Words - 1];
            i = 1;
        }
    }
    state[0] = 1ULL << 63;
    next = Words;
}

uint64_t MersenneTwister::Next() {
    if (next >= Words) Refill(*this);
    uint64_t x = state[next++];
    x ^= (x >> 29) & 0x5555555555555555ULL;
    x ^= (x << 17) & 0x71D67FFFEDA60000ULL;
    x ^= (x << 37) & 0xFFF7EEE000000000ULL;
    return x ^ (x >> 43);
}

void SeedRandom(uint32_t seed) { SeedByNumber(choice, seed); }

int Random() {
    if (choice.next == 0 && choice.state[0] == 0) SeedRandom(5489);  // never seeded
    return int(choice.Next() >> 33);
}
