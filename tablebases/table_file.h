// table_file.h - reading one table file: its head, and blocks of values on demand.
//
// A file holds the values of one material for one side to move, slot after slot in the order
// of table_index.h. It is cut into blocks of TableBlock slots; a block stands for itself, has
// a checksum and is compressed (or not) alone. A slot's byte is a number into the file's own
// list of values, so that one byte is enough for every length of mate that occurs.
// doc/tablebases.md describes the format byte by byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "board/types.h"
#include "tablebases/codec.h"

constexpr int TableBlock = 8192;  // slots, and bytes, of an unpacked block

// Values are full moves to mate from the side to move's view: 0 is a draw, n > 0 mate in n
// moves, -(n + 1) mated in n moves (so checkmate on the board is -1).
using TableValue = int16_t;
constexpr int MaxTableValues = 255;

struct TableFile {
    std::FILE* file = nullptr;
    uint64_t slots = 0;
    std::vector<TableValue> values;  // [byte of a slot]
    bool packed = false;
    Dictionary dictionary;   // of a packed file
    uint64_t mark = 0;       // what the checksums of this table's blocks begin with
    int64_t block_list = 0;  // where the list of blocks begins in the file
    int64_t length = 0;      // of the file, bytes
};

// Opens a file that must be the table of `material` (such as "kbnk") for this side to move,
// with this number of slots, and keeps it open. False, and one line about it in *reason, when
// it cannot be opened, is no plain file, or its head is not as it must be.
bool OpenTableFile(const std::string& path, const std::string& material, Colour side_to_move, uint64_t slots,
                   TableFile* table, std::string* reason);
void CloseTableFile(TableFile* table);
// Does the file begin as ours do, whatever else is in it?
bool IsTableFile(const std::string& path);
// Bytes of memory that the open table holds besides *table itself.
size_t TableFileMemory(const TableFile& table);

inline uint64_t TableBlocks(uint64_t slots) { return (slots + TableBlock - 1) / TableBlock; }
// The bytes of the slots of a block, up to TableBlock of them (the last block is shorter). Every
// byte is below values.size(). False when the block cannot be read, or its checksum or content
// is wrong.
bool ReadTableBlock(const TableFile& table, uint64_t block, uint8_t bytes[TableBlock]);

// ---- The layout, for the writer too --------------------------------------------------------

constexpr char TableMagic[9] = "CvtMates";
constexpr uint32_t TableVersion = 1;
// Places in the head. The values follow at HeadValues, then the dictionary, and 8 bytes of
// checksum end it. All from HeadSlots up to the checksum makes the mark of the table.
constexpr int HeadVersion = 8, HeadSize = 12, HeadLength = 16, HeadSlots = 24, HeadMaterial = 32, HeadSide = 40,
              HeadPacked = 41, HeadValueCount = 42, HeadSymbols = 44, HeadZero = 46, HeadValues = 48;
constexpr int HeadMaterialBytes = HeadSide - HeadMaterial;
constexpr int HeadChecksumBytes = 8;
// An entry of the list of blocks: place in the file, in 48 bits, length in 16 bits, checksum.
// A length of 0 means that all slots are the same; the place is then their byte.
constexpr int BlockEntryBytes = 12, BlockEntryLength = 6, BlockEntryChecksum = 8;

// Depends on every bit of the bytes, their number and the start.
uint64_t TableChecksum(uint64_t start, const uint8_t* bytes, size_t count);
// Of a block: the first 8 bytes of its entry and its bytes in the file.
uint32_t TableBlockChecksum(uint64_t mark, uint64_t block, const uint8_t* entry, const uint8_t* bytes, size_t count);
