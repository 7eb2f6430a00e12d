// registry.h - which endgame tablebases there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "board/types.h"
#include "tablebases/table_file.h"
#include "tablebases/table_index.h"

// Takes the tables in the folders of `path` into use, in place of those that were, and returns
// the largest number of men for which there is one, 0 when there is none. Folders are separated
// by ',' or ';'; blanks and quotation marks around one do not count, nor does the case of names.
//
// Prints one line a file, with its name as found, folder included:
//   "NAME registered"             taken into use
//   "NAME found"                  not used: the table is already there
//   "*** Unable to register NAME" refused; the next line says why
// and at the end, when there was any, how many it tried to open and how many it opened.
int RegisterTablebases(const char* path);
extern int tablebase_men;  // that number; 0 = do not probe

// Bytes of index and decompression tables; 0 when no table is registered.
size_t TablebaseIndexMemory();
// Allocates the block cache for the tables registered, at most as many bytes as they fill; 0
// bytes works (one block is always there). False when memory is short, with that one block left.
bool AllocateTablebaseCache(uint32_t bytes);
void FreeTablebaseCache();

// ---- For probing ----

struct RegisteredTable {
    std::string name;  // as printed
    TableMaterial material;
    Colour side_to_move;
    TableFile file;
    TableIndex index;
    int16_t score[256];  // [byte of a slot], on the mate scale
    bool in_use;         // false after a bad block
};

// The table for a position with these side codes (table_material.h) and side to move, its number
// and whether the position must be turned around first (colours changed, ranks mirrored).
// nullptr when there is none.
struct TableFound {
    const RegisteredTable* table;
    uint32_t number;
    bool turn;
};
TableFound FindTable(int white_code, int black_code, Colour side_to_move);
// A block of the table cannot be read or is damaged: says so and does not use the table again.
void SwitchOffTable(uint32_t number, uint64_t block);
