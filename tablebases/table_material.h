// table_material.h - the materials that tables are made of, and the men of a table position.
//
// A table knows one orientation only: its White is the stronger side. That is the side with
// more men; with equal numbers, the side whose letters come first in the order q r b n p.
#pragma once

#include <cstdint>
#include <string>

#include "board/types.h"

// Men besides the kings are counted and listed in this order.
constexpr int TableTypes = 5;
constexpr PieceType TableType[TableTypes] = {QUEEN, ROOK, BISHOP, KNIGHT, PAWN};
constexpr char TableLetters[TableTypes + 1] = "qrbnp";

constexpr int MaxTableMen = 6;               // kings included
constexpr int MaxSideMen = MaxTableMen - 2;  // besides the king

struct TableMaterial {
    uint8_t count[2][TableTypes];  // [WHITE: the stronger side][place in TableType]
};
constexpr int MenCount(const TableMaterial& m) {
    int men = 2;
    for (int side = 0; side < 2; ++side)
        for (int t = 0; t < TableTypes; ++t) men += m.count[side][t];
    return men;
}

// "kbnk" and the like, lower case, in the orientation of the tables and with 3 to 6 men.
// False for any other text.
bool ParseTableMaterial(const std::string& name, TableMaterial* material);
std::string TableMaterialName(const TableMaterial& material);

// A side's men besides the king, at most MaxSideMen, as one number below SideCodes; different for
// different men.
constexpr int SideCodes = 126;
int SideCode(const uint8_t count[TableTypes]);
// Turns a material around when its White is not the stronger side; true when it did.
bool OrientMaterial(TableMaterial* material);
