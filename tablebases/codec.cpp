// codec.cpp - see codec.h.
#include "tablebases/codec.h"

#include <cstring>

constexpr int QuickBits = 13;
constexpr int QuickLengthBits = 4;
static_assert(QuickBits < 1 << QuickLengthBits && MaxSymbols <= 1 << (16 - QuickLengthBits));
constexpr int CopyStep = 16;  // bytes that are always copied at once; text has so many behind it
static_assert(MaxDictionaryText <= 65536 && MaxExpansion <= 65535);

// The next bits at a place, the first one on top; 57 of them are good.
static uint64_t BitsAt(const uint8_t* bytes, int64_t bit) {
    const uint8_t* const b = bytes + (bit >> 3);
    const uint64_t word = uint64_t(b[0]) << 56 | uint64_t(b[1]) << 48 | uint64_t(b[2]) << 40 | uint64_t(b[3]) << 32
        | uint64_t(b[4]) << 24 | uint64_t(b[5]) << 16 | uint64_t(b[6]) << 8 | uint64_t(b[7]);
    return word << (bit & 7);
}

int PlaceSymbols(int literals, const std::vector<uint16_t>& left, const std::vector<uint16_t>& right,
                 std::vector<Dictionary::Place>* places) {
    const int symbols = literals + int(left.size());
    places->assign(size_t(symbols), {0, 1});
    Dictionary::Place* const place = places->data();
    for (int s = literals; s < symbols; ++s) {
        const int length = place[left[size_t(s - literals)]].length + place[right[size_t(s - literals)]].length;
        if (length > MaxExpansion) return -1;
        place[s].length = uint16_t(length);
    }
    // From the longest down: who has no place in a longer one yet gets one of its own.
    std::vector<bool> placed(size_t(symbols), false);
    const auto put = [&](int s, int at) {
        if (!placed[size_t(s)]) place[s].at = uint16_t(at);
        placed[size_t(s)] = true;
    };
    int text = 0;
    for (int s = symbols - 1; s >= 0; --s) {
        if (!placed[size_t(s)]) {
            if (text + place[s].length > MaxDictionaryText) return -1;
            put(s, text);
            text += place[s].length;
        }
        if (s < literals) continue;
        const int l = left[size_t(s - literals)];
        put(l, place[s].at);
        put(right[size_t(s - literals)], place[s].at + place[l].length);
    }
    return text;
}

bool ReadDictionary(const uint8_t* bytes, size_t size, int literals, int symbols, Dictionary* dictionary) {
    *dictionary = Dictionary();
    if (symbols == 0) return size == 0;  // a file in which every block is one value
    if (literals < 1 || symbols < literals || symbols > MaxSymbols) return false;

    std::vector<uint8_t> padded(bytes, bytes + size);
    padded.resize(size + PackedSlack);
    int64_t at = 0;
    const auto next = [&](int bits) {
        const int64_t here = at;
        at += bits;
        return bits == 0 || at > int64_t(size) * 8 ? 0 : int(BitsAt(padded.data(), here) >> (64 - bits));
    };
    std::vector<uint16_t> left, right;
    std::vector<uint8_t> lengths;
    uint32_t of_length[MaxCodeLength + 1] = {};
    for (int s = 0; s < symbols; ++s) {
        if (s >= literals) {
            left.push_back(uint16_t(next(PartBits(s))));
            right.push_back(uint16_t(next(PartBits(s))));
            if (left.back() >= s || right.back() >= s) return false;
        }
        const int length = next(CodeLengthBits);
        if (length > MaxCodeLength) return false;
        lengths.push_back(uint8_t(length));
        ++of_length[length];
    }
    if ((at + 7) / 8 != int64_t(size)) return false;

    std::vector<Dictionary::Place> places;
    const int text = PlaceSymbols(literals, left, right, &places);
    if (text < 0) return false;
    dictionary->text.assign(size_t(text) + CopyStep, 0);
    uint8_t* const t = dictionary->text.data();
    for (int s = 0; s < symbols; ++s) {
        if (s < literals) {
            t[places[size_t(s)].at] = uint8_t(s);
            continue;
        }
        // Parts come before their pair, so they are spelt out by now, here or elsewhere.
        const Dictionary::Place l = places[left[size_t(s - literals)]], r = places[right[size_t(s - literals)]];
        std::memmove(t + places[size_t(s)].at, t + l.at, l.length);
        std::memmove(t + places[size_t(s)].at + l.length, t + r.at, r.length);
    }

    uint32_t code = 0, rank = 0;
    dictionary->quick.assign(size_t(1) << QuickBits, 0);
    for (int length = 1; length <= MaxCodeLength; ++length) {
        const uint32_t step = uint32_t(1) << (MaxCodeLength - length);
        dictionary->begin[length] = code;
        dictionary->rank[length] = rank;
        if (of_length[length] > ((uint32_t(1) << MaxCodeLength) - code) / step) return false;
        for (int s = 0; s < symbols; ++s) {
            if (lengths[size_t(s)] != length) continue;
            dictionary->places.push_back(places[size_t(s)]);
            if (length <= QuickBits)
                for (uint32_t q = 0; q < uint32_t(1) << (QuickBits - length); ++q)
                    dictionary->quick[(code >> (MaxCodeLength - QuickBits)) + q] =
                        uint16_t(rank << QuickLengthBits | uint32_t(length));
            ++rank;
            code += step;
        }
        dictionary->end[length] = code;
    }
    return true;
}

size_t DictionaryMemory(const Dictionary& d) {
    return d.text.capacity() + d.places.capacity() * sizeof(Dictionary::Place) + d.quick.capacity() * sizeof(uint16_t);
}

bool DecodeBlock(const Dictionary& d, const uint8_t* packed, int size, uint8_t* bytes, int count) {
    if (d.places.empty()) return false;
    const uint8_t* const text = d.text.data();
    const Dictionary::Place* const places = d.places.data();
    const uint16_t* const quick = d.quick.data();
    const int64_t bits = int64_t(size) * 8;
    // The bits to come are on top of `next`, at least MaxCodeLength of them.
    uint64_t next = BitsAt(packed, 0);
    int64_t at = 0;
    int used = 0;
    for (int left = count; left > 0;) {
        const uint32_t q = quick[next >> (64 - QuickBits)];
        uint32_t rank = q >> QuickLengthBits;
        int length = int(q & ((1 << QuickLengthBits) - 1));
        if (length == 0) {
            const uint32_t code = uint32_t(next >> (64 - MaxCodeLength));
            for (length = QuickBits + 1; code >= d.end[length];)
                if (++length > MaxCodeLength) return false;
            rank = d.rank[length] + ((code - d.begin[length]) >> (MaxCodeLength - length));
        }
        next <<= length;
        used += length;
        if (used > 57 - MaxCodeLength) {
            at += used;
            used = 0;
            if (at > bits) return false;
            next = BitsAt(packed, at);
        }
        const Dictionary::Place p = places[rank];
        if (p.length <= CopyStep && left >= CopyStep) {
            std::memcpy(bytes, text + p.at, CopyStep);
        } else {
            if (p.length > left) return false;
            std::memcpy(bytes, text + p.at, p.length);
        }
        bytes += p.length;
        left -= p.length;
    }
    return (at + used + 7) / 8 == size;
}
