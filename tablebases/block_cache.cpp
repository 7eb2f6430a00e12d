// block_cache.cpp - see block_cache.h.
//
// Three arrays: the bytes of the blocks, what is known of each place, and the heads of the
// chains in which blocks with equal hash hang. Places also form a ring in order of use, so a hit
// moves one place to the front and the next block to go stands at its end. Nothing is allocated
// while probing.
//
// State: the arrays, the ring and blocks_read. AllocateBlocks() makes them; without it (or when
// it fails) everything points to the one place that is built in.
#include "tablebases/block_cache.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <limits>

#include "board/memory.h"

constinit uint64_t blocks_read = 0;

namespace {

constexpr uint32_t NoPlace = ~uint32_t(0);
constexpr uint64_t NoKey = ~uint64_t(0);

struct Place {
    uint64_t key;           // table and block; NoKey = empty
    uint32_t newer, older;  // in the ring; the newest one's newer is the oldest
    uint32_t chained;       // next place with the same hash
};

alignas(64) uint8_t built_in_bytes[TableBlock];
constinit Place built_in_place = {NoKey, 0, 0, NoPlace};
constinit uint32_t built_in_chain = NoPlace;

constinit uint8_t* bytes = built_in_bytes;     // [place][slot of the block]
constinit Place* places = &built_in_place;     // [place]
constinit uint32_t* chains = &built_in_chain;  // [hash]
constinit size_t place_count = 1;
constinit uint32_t chain_mask = 0;  // number of chains, a power of two, - 1
constinit uint32_t newest = 0;

// The shift brings the table's number down to the block's, the multiplication (by 2^64 over the
// golden ratio) mixes them.
uint32_t* ChainOf(uint64_t key) {
    const uint64_t mixed = (key ^ key >> 32) * 0x9E3779B97F4A7C15ULL;
    // cppcheck-suppress objectIndex; a single chain has mask 0
    return &chains[uint32_t(mixed >> 32) & chain_mask];
}

uint8_t* BytesOf(uint32_t place) { return bytes + size_t(place) * TableBlock; }

void MakeNewest(uint32_t place) {
    if (place == newest) return;
    Place& p = places[place];
    places[p.newer].older = p.older;
    places[p.older].newer = p.newer;
    Place& front = places[newest];
    p.newer = front.newer;
    p.older = newest;
    places[front.newer].older = place;
    front.newer = place;
    newest = place;
}

void Unchain(uint32_t place) {
    uint32_t* link = ChainOf(places[place].key);
    while (*link != place) link = &places[*link].chained;
    *link = places[place].chained;
    places[place].key = NoKey;
}

void UseBuiltIn() {
    bytes = built_in_bytes;
    places = &built_in_place;
    chains = &built_in_chain;
    place_count = 1;
    chain_mask = 0;
}

}  // namespace

bool AllocateBlocks(size_t blocks) {
    FreeBlocks();
    blocks = std::min<size_t>(blocks, std::numeric_limits<int32_t>::max());
    if (blocks < 2) return true;
    const size_t chain_count = std::bit_ceil(blocks);
    auto* const new_bytes = static_cast<uint8_t*>(AllocateZeroed(blocks * TableBlock));
    auto* const new_places = static_cast<Place*>(std::calloc(blocks, sizeof(Place)));
    auto* const new_chains = static_cast<uint32_t*>(std::calloc(chain_count, sizeof(uint32_t)));
    if (new_bytes == nullptr || new_places == nullptr || new_chains == nullptr) {
        FreeZeroed(new_bytes, blocks * TableBlock);
        std::free(new_places);
        std::free(new_chains);
        return false;
    }
    bytes = new_bytes;
    places = new_places;
    chains = new_chains;
    place_count = blocks;
    chain_mask = uint32_t(chain_count - 1);
    DropBlocks();
    return true;
}

void FreeBlocks() {
    if (places != &built_in_place) {
        FreeZeroed(bytes, place_count * TableBlock);
        std::free(places);
        std::free(chains);
        UseBuiltIn();
    }
    DropBlocks();
}

void DropBlocks() {
    std::fill_n(chains, size_t(chain_mask) + 1, NoPlace);
    for (size_t i = 0; i < place_count; ++i) {
        const uint32_t next = uint32_t(i + 1 < place_count ? i + 1 : 0);
        const uint32_t previous = uint32_t(i > 0 ? i - 1 : place_count - 1);
        places[i] = {NoKey, previous, next, NoPlace};
    }
    newest = 0;
}

const uint8_t* FindBlock(const TableFile& table, uint32_t number, uint64_t block) {
    const uint64_t key = uint64_t(number) << 48 | block;
    uint32_t* const chain = ChainOf(key);
    for (uint32_t place = *chain; place != NoPlace; place = places[place].chained) {
        if (places[place].key != key) continue;
        MakeNewest(place);
        return BytesOf(place);
    }

    const uint32_t place = places[newest].newer;  // the oldest
    if (places[place].key != NoKey) Unchain(place);
    ++blocks_read;
    // A place that could not be filled stays the oldest.
    if (!ReadTableBlock(table, block, BytesOf(place))) return nullptr;
    places[place].key = key;
    places[place].chained = *chain;
    *chain = place;
    newest = place;
    return BytesOf(place);
}
