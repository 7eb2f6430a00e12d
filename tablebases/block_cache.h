// block_cache.h - the table blocks read last, unpacked.
//
// One cache for all tables. The block that has not been asked for longest makes room for a new
// one. There is always room for one block, even with no memory at all.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tablebases/table_file.h"

// Room for this many blocks; 0 leaves the one that is always there. The cache is empty then,
// also when there is not enough memory, which false tells.
bool AllocateBlocks(size_t blocks);
void FreeBlocks();
// Forgets all blocks. To be called before file numbers get another meaning.
void DropBlocks();

// The bytes of a block of an open table; `number` is the table's own among those in use, below
// 2^16. They stay where they are until the next call. nullptr when the block cannot be read or
// is damaged.
const uint8_t* FindBlock(const TableFile& table, uint32_t number, uint64_t block);
// How often FindBlock() had to read since the program started.
extern uint64_t blocks_read;
