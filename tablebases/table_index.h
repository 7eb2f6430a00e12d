// table_index.h - which slot of a table belongs to a position, and back.
//
// One routine serves every material. The kings come first: symmetry brings White's king into
// the triangle a1-d1-d4 (with pawns: to the files a to d), which leaves 462 (1806) places for
// the two. The men of the side to move follow, each among the squares from which it does not
// attack the other king at once, then the other side's men among the squares still free.
// Positions in which a pawn can be taken en passant have slots of their own behind the others.
//
// Without pawns and with both kings on the diagonal a1-h8 a position and its mirror image have
// a slot each; both hold the same value.
//
// State: the king places, and how many slots lie before each of them for the sets of men that
// were asked for so far; both only grow.
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/types.h"
#include "tablebases/table_material.h"

// A position of a table, White being the stronger side. No castling rights.
struct TablePosition {
    uint8_t king[2];
    uint8_t men[2];               // besides the king
    uint8_t type[2][MaxSideMen];  // PieceType, in any order
    uint8_t square[2][MaxSideMen];
    Colour side_to_move;
    int en_passant;  // the square of the pawn that can be taken, or NoEnPassant
};
constexpr int NoEnPassant = -1;

// The same position with colours exchanged and the board turned upside down.
TablePosition SwapColours(const TablePosition& position);

constexpr uint64_t NoSlot = ~uint64_t(0);

// What SlotOf() needs to know of a material and a side to move.
struct TableIndex {
    struct Group {
        uint8_t type;   // PieceType
        uint8_t count;  // men of that type
    };
    TableMaterial material;
    Colour side_to_move;
    bool pawns;
    uint8_t groups[2];           // [0: the side to move, 1: the other]
    Group group[2][TableTypes];  // the other side's pawns come first
    const uint64_t* before;      // [king place]: arrangements of the side to move before it
    uint64_t others;             // arrangements of the other side
    uint64_t plain_slots;        // slots without en passant
    const uint64_t* en_passant_before;
    uint64_t en_passant_others;
    uint64_t en_passant_pair;  // slots for each pair of capturing and pushed pawn
    uint64_t slots;
};

// Needs the attack tables of the board. Memory of the shared tables is kept to the end. False
// when there is none left.
bool BuildTableIndex(const TableMaterial& material, Colour side_to_move, TableIndex* index);
// The slot, NoSlot when no legal position looks like that: the king that is not to move attacked
// at close quarters, the kings side by side. No two men may share a square. The position must be
// of the index's material and side to move; with en_passant set, a pawn stands beside that one.
uint64_t SlotOf(const TableIndex& index, const TablePosition& position);
// The position of a slot; false when it has two men on a square or no king to capture en passant.
bool PositionOfSlot(const TableIndex& index, uint64_t slot, TablePosition* position);
// The other slot of a position without pawns that has its kings on a1-h8, else the slot itself.
uint64_t MirrorSlot(const TableIndex& index, const TablePosition& position, uint64_t slot);

size_t TableIndexMemory();  // bytes of the shared tables
