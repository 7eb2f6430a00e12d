// transposition.h - the transposition table.
//
// 20-byte entries; a bucket is the four entries that begin at the bucket's index, and ten
// spare entries at the end let the last bucket run over without wrapping. The side to move
// is not in the 64-bit key: it enters the index and bit 23 of `packed`.
//
// Mate scores of exact entries are stored as distances from the node, because one position
// is reached at many plies; bounds never carry a mate distance.
//
// State: the table, its size, table_generation (ordering_data.h), writes_this_search.
#pragma once

#include <cstdint>
#include "board/types.h"

enum : int { BoundUpper = 1, BoundLower = 2, BoundExact = 3 };
enum : int { FlagNoQuietChecks = 1, FlagNoCaptures = 2 };  // position facts, see entry.flags

struct TableEntry {
    uint32_t key_low, key_high;
    int16_t depth;  // quarter plies; quiescence stores 0
    int16_t score;
    uint32_t packed;  // 0-20 move, 21-22 bound, 23 side, 24-29 zero, 30-31 node mark; 0 = empty
    uint16_t age;     // generation of the last store or hit
    int16_t flags;    // facts ORed over all stores of the position
};
static_assert(sizeof(TableEntry) == 20);

extern int32_t writes_this_search;

// Frees the old table and allocates `entries` zeroed ones (0 switches the table off);
// generation becomes 0. False when memory is short; the table is then off.
bool AllocateTable(uint32_t entries);
void FreeTable();
void ClearTable();  // all zero, generation 0
uint32_t TableEntries();
void AgeTable(int generations);  // +1 a search, +3 a new game or position

// What a probe hands to a node. `hit` false leaves the rest zero.
struct TableProbe {
    bool hit;
    bool cutoff;          // return `value` at once
    bool singular_mark;   // the entry makes its move a candidate for the singularity test
    bool null_forbidden;  // the entry says that a null move will fail
    bool node_mark;       // bit 30 of the entry
    int bound, depth;     // of the entry
    int score;            // as stored
    int flags;
    Move move;
    int value;  // the score to return on a cut-off
};
// For a main node of depth `depth` (quarter plies) at `ply`. With `cutoffs` false it never
// cuts off.
void ProbeMain(TableProbe& probe, int alpha, int beta, int depth, int ply, bool cutoffs);
// For a quiescence node; depth is not compared.
void ProbeQuiescence(TableProbe& probe, int alpha, int beta, int ply, bool cutoffs);
// The current position's entry without touching its age; null when there is none.
const TableEntry* PeekTable();

// Stores the current position. `mark` is the 2-bit node mark.
void StoreTable(int depth, Move move, int score, int bound, int mark, int flags, int ply);
// Permille of the table written by this search; 0 when there is no table.
int HashFull();
// Starts loading the bucket of a position about to be probed.
void PrefetchTable(uint64_t key, Colour side);
