// principal_variation.cpp - collecting the principal variation.
//
// State: pv_table, pv_length. A row is valid from the moment its ply's node is entered.
#include "search/principal_variation.h"

#include "board/legality.h"
#include "board/make_move.h"
#include "board/repetition.h"
#include "search/transposition.h"

Move pv_table[MaxPly + 2][MaxPly + 2];
int pv_length[MaxPly + 2];

void ExtendLine(int ply, Move move) {
    Move* const line = pv_table[ply];
    const Move* const tail = pv_table[ply + 1];
    const int length = pv_length[ply + 1];
    line[0] = move;
    for (int i = 0; i < length; ++i) line[i + 1] = tail[i];
    pv_length[ply] = length + 1;
}

int LengthenFromTable(Move* line, int length, int limit) {
    int made = 0;
    while (made < length && IsFullyLegal(line[made])) MakeMove(line[made++]);
    length = made;
    while (length < limit && thread_board.fifty < 100 && !IsRepetition()) {
        const TableEntry* const entry = PeekTable();
        if (entry == nullptr) break;
        const Move move = entry->packed & 0x1FFFFF;
        if (move == 0 || !IsFullyLegal(move)) break;
        line[length++] = move;
        MakeMove(move);
        ++made;
    }
    while (made-- > 0) UnmakeMove();
    return length;
}
