// slot_index.h - remainder by a divisor that changes rarely, without a division.
//
// Exact for 32-bit numbers: with the 64-bit reciprocal ceil(2^64 / n) the fractional part of
// x / n is known well enough to multiply it back (D. Lemire et al., "Faster remainder by
// direct computation", 2019).
#pragma once

#include <cstdint>

struct SlotDivisor {
    uint32_t count = 0;
    uint64_t reciprocal = 0;

    void Set(uint32_t n) {
        count = n;
        reciprocal = n ? ~uint64_t(0) / n + 1 : 0;
    }
    uint32_t Remainder(uint32_t x) const {  // count != 0
        const uint64_t fraction = reciprocal * x;
#ifdef __SIZEOF_INT128__
        return uint32_t((static_cast<unsigned __int128>(fraction) * count) >> 64);
#else
        return uint32_t(((fraction >> 32) * count + ((fraction & UINT32_MAX) * count >> 32)) >> 32);
#endif
    }
};
