// registry.h - which endgame tablebases there are.
#pragma once

#include <cstddef>
#include <cstdint>

// Finds tables in the folders of `path` (separated by ',' or ';'), prints what it registers,
// and returns the largest number of men for which a table was found, 0 when none.
int RegisterTablebases(const char* path);
extern int tablebase_men;  // that number; 0 = do not probe

size_t TablebaseIndexMemory();  // bytes of index and decompression tables
// Allocates the block cache; 0 bytes works. False when memory is short.
bool AllocateTablebaseCache(uint32_t bytes);
void FreeTablebaseCache();
