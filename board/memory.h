// memory.h - zeroed memory for the big tables.
//
// Where the system can, it comes in large pages: a probe of a table goes to a random place,
// and with small pages most of its time is the address translation.
#pragma once

#include <cstddef>

// Zeroed memory, at least 64-byte aligned; pages nobody touches cost nothing. Null when
// there is none left. Free with FreeZeroed() and the same size.
void* AllocateZeroed(size_t bytes);
void FreeZeroed(void* memory, size_t bytes);
