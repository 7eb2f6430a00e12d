// transposition.cpp - the transposition table.
#include "search/transposition.h"

#include <algorithm>
#include <cstring>

#include "board/memory.h"
#include "board/ordering_data.h"
#include "board/position.h"
#include "eval/slot_index.h"

int32_t writes_this_search;

namespace {

constexpr int BucketSize = 4;
constexpr uint32_t SpareEntries = 10;
constexpr uint32_t MoveMask = 0x1FFFFF;
constexpr uint32_t DefaultEntries = 524288;

TableEntry* table;
SlotDivisor entries_divisor;  // its count is the number of entries

size_t TableBytes(uint32_t entries) { return (size_t(entries) + SpareEntries) * sizeof(TableEntry); }

uint32_t BucketIndex(uint32_t x) {
    return TableEntries() == DefaultEntries ? x & (DefaultEntries - 1) : entries_divisor.Remainder(x);
}

TableEntry* Bucket(uint64_t key, Colour side) { return table + BucketIndex(uint32_t(key) ^ (uint32_t(side) << 2)); }

int BoundOf(uint32_t packed) { return int(packed >> 21) & 3; }
uint32_t SideOf(uint32_t packed) { return (packed >> 23) & 1; }

TableEntry* Find() {
    if (TableEntries() == 0) return nullptr;
    const uint64_t key = PositionKey();
    const Colour side = SideToMove();
    TableEntry* entry = Bucket(key, side);
    for (int i = 0; i < BucketSize; ++i, ++entry) {
        if (entry->packed == 0) return nullptr;
        if (entry->key_low == uint32_t(key) && entry->key_high == uint32_t(key >> 32)
            && SideOf(entry->packed) == uint32_t(side))
            return entry;
    }
    return nullptr;
}

int ScoreToTable(int score, int bound, int ply) {
    switch (bound) {
        case BoundUpper: return std::max(score, -MateBound);
        case BoundLower: return std::min(score, MateBound);
        default: return score > MateBound ? score + ply : score < -MateBound ? score - ply : score;
    }
}

int ScoreFromTable(int score, int ply) {
    return score > MateBound ? score - ply : score < -MateBound ? score + ply : score;
}

// Common part of both probes. Returns false on a miss.
bool Read(TableProbe& probe) {
    probe = TableProbe{};
    TableEntry* const entry = Find();
    if (entry == nullptr) return false;
    entry->age = table_generation;
    probe.hit = true;
    probe.move = entry->packed & MoveMask;
    probe.bound = BoundOf(entry->packed);
    probe.node_mark = ((entry->packed >> 30) & 1) != 0;
    probe.depth = entry->depth;
    probe.score = entry->score;
    probe.flags = entry->flags;
    return true;
}

void CutOff(TableProbe& probe, int value) {
    probe.cutoff = true;
    probe.value = value;
}

}  // namespace

bool AllocateTable(uint32_t entries) {
    FreeTable();
    table = static_cast<TableEntry*>(AllocateZeroed(TableBytes(entries)));
    if (table == nullptr) return false;
    entries_divisor.Set(entries);
    table_generation = 0;
    return true;
}

void FreeTable() {
    FreeZeroed(table, TableBytes(TableEntries()));
    table = nullptr;
    entries_divisor.Set(0);
}

void ClearTable() {
    if (table != nullptr) std::memset(static_cast<void*>(table), 0, TableBytes(TableEntries()));
    table_generation = 0;
}

uint32_t TableEntries() { return entries_divisor.count; }

void AgeTable(int generations) { table_generation = uint16_t(table_generation + generations); }

const TableEntry* PeekTable() { return Find(); }

void ProbeMain(TableProbe& probe, int alpha, int beta, int depth, int ply, bool cutoffs) {
    if (!Read(probe)) return;
    const bool upper = (probe.bound & BoundUpper) != 0;
    const bool lower = (probe.bound & BoundLower) != 0;
    probe.null_forbidden = upper && probe.score < beta;
    if (probe.depth < depth) {
        probe.singular_mark = lower && probe.depth + 2 * ONE_PLY >= depth;
        return;
    }
    probe.singular_mark = lower;
    if (!cutoffs) return;
    if (probe.bound == BoundUpper && probe.score <= alpha) CutOff(probe, probe.score);
    if (probe.bound == BoundLower && probe.score >= beta) CutOff(probe, probe.score);
    if (probe.bound == BoundExact) CutOff(probe, ScoreFromTable(probe.score, ply));
}

void ProbeQuiescence(TableProbe& probe, int alpha, int beta, int ply, bool cutoffs) {
    if (!Read(probe) || !cutoffs) return;
    if (probe.bound == BoundUpper && probe.score <= alpha) CutOff(probe, probe.score);
    if (probe.bound == BoundLower && probe.score >= beta) CutOff(probe, probe.score);
    if (probe.bound == BoundExact) CutOff(probe, ScoreFromTable(probe.score, ply));
}

void StoreTable(int depth, Move move, int score, int bound, int mark, int flags, int ply) {
    if (TableEntries() == 0) return;
    const uint64_t key = PositionKey();
    const Colour side = SideToMove();
    TableEntry* slot = Bucket(key, side);
    TableEntry* target = nullptr;
    for (int i = 0; i < BucketSize; ++i, ++slot) {
        if (slot->packed == 0) {
            target = slot;
            break;
        }
        if (slot->key_low == uint32_t(key) && slot->key_high == uint32_t(key >> 32)
            && SideOf(slot->packed) == uint32_t(side)) {
            slot->flags = int16_t(slot->flags | flags);
            slot->age = table_generation;
            if (depth < slot->depth) return;
            flags = slot->flags;
            target = slot;
            break;
        }
        if (target == nullptr) {
            target = slot;
            continue;
        }
        const bool target_current = target->age == table_generation;
        const bool slot_current = slot->age == table_generation;
        if (target_current != slot_current ? target_current : target->depth > slot->depth) target = slot;
    }
    if (target->packed == 0 || target->age != table_generation) ++writes_this_search;
    else if (depth < target->depth) return;  // never let a shallow result evict a deep current one

    target->key_low = uint32_t(key);
    target->key_high = uint32_t(key >> 32);
    target->depth = int16_t(depth);
    target->score = int16_t(ScoreToTable(score, bound, ply));
    target->packed = uint32_t(bound) << 21 | (move & MoveMask) | uint32_t(side) << 23 | uint32_t(mark & 3) << 30;
    target->age = table_generation;
    target->flags = int16_t(flags);
}

int HashFull() { return TableEntries() == 0 ? 0 : int(int64_t(writes_this_search) * 1000 / TableEntries()); }

void PrefetchTable(uint64_t key, Colour side) {
    if (TableEntries() == 0) return;
    // 80 bytes at any alignment of 4 touch two lines.
    const char* const bucket = reinterpret_cast<const char*>(Bucket(key, side));
    __builtin_prefetch(bucket);
    __builtin_prefetch(bucket + 64);
}
