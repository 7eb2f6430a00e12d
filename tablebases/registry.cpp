// registry.cpp - see registry.h. No table format is read yet, so nothing is ever found.
//
// State: tablebase_men.
#include "tablebases/registry.h"

constinit int tablebase_men = 0;

int RegisterTablebases(const char*) { return tablebase_men = 0; }

size_t TablebaseIndexMemory() { return 0; }
bool AllocateTablebaseCache(uint32_t) { return true; }
void FreeTablebaseCache() {}
