// table_moves.cpp - see table_moves.h.
#include "tablebases/table_moves.h"

bool IsTablePosition(const TablePosition& p) {
    const int us = p.side_to_move, them = us ^ 1;
    const Bitboard occupied = TableMen(p, us) | TableMen(p, them);
    if (p.en_passant != NoEnPassant && !(CapturablePawns(p, them, occupied) & Bit(p.en_passant))) return false;
    return !TableAttacked(p, p.king[them], us, occupied);
}
