// probe.cpp - see probe.h.
#include "tablebases/probe.h"

#include "board/bitboard.h"
#include "board/position.h"
#include "tablebases/block_cache.h"
#include "tablebases/registry.h"

namespace {

// Men besides the king. Only for sides of at most MaxSideMen.
int CodeOfSide(Colour side) {
    uint8_t count[TableTypes];
    for (int t = 0; t < TableTypes; ++t) count[t] = uint8_t(thread_board.PieceCount[TableType[t]][side]);
    return SideCode(count);
}

// The current position as the tables see it, turned around when `turn` says so.
void FillTablePosition(bool turn, TablePosition* position) {
    const Position& p = thread_board;
    const int mirror = turn ? 56 : 0;
    for (const Colour side : {WHITE, BLACK}) {
        const int to = side ^ int(turn);
        position->king[to] = uint8_t(p.king_square[side] ^ mirror);
        int men = 0;
        for (const PieceType type : TableType) {
            for (Bitboard left = p.pieces[type][side]; left != 0; ++men) {
                position->type[to][men] = type;
                position->square[to][men] = uint8_t(PopLowest(left) ^ mirror);
            }
        }
        position->men[to] = uint8_t(men);
    }
    position->side_to_move = Colour(p.SideToMove ^ int(turn));
    Square target;
    position->en_passant = NoEnPassant;
    if (EnPassantPossible(&target)) position->en_passant = (target ^ 8) ^ mirror;
}

}  // namespace

bool ProbeTablebase(int* score) {
    const Position& p = thread_board;
    if (p.piece_total < 3 || p.piece_total > tablebase_men || p.castling != 0) return false;
    if (p.PieceCount[KING][WHITE] != 1 || p.PieceCount[KING][BLACK] != 1) return false;

    const TableFound found = FindTable(CodeOfSide(WHITE), CodeOfSide(BLACK), SideToMove());
    if (found.table == nullptr) return false;
    TablePosition position;
    FillTablePosition(found.turn, &position);
    const uint64_t slot = SlotOf(found.table->index, position);
    if (slot >= found.table->file.slots) return false;

    const uint64_t block = slot / TableBlock;
    const uint8_t* const bytes = FindBlock(found.table->file, found.number, block);
    if (bytes == nullptr) {
        SwitchOffTable(found.number, block);
        return false;
    }
    *score = found.table->score[bytes[slot % TableBlock]];
    return true;
}
