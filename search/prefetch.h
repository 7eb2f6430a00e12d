// prefetch.h - asks for the memory a child node will need, before its move is made.
#pragma once

#include "board/position.h"
#include "eval/evaluate.h"
#include "search/transposition.h"

// The child's key is known from the move but for castling rights, en passant, promotions and
// the castling rook; a wrong guess there costs a little time and nothing else.
inline void PrefetchChild(Move m) {
    const Position& p = thread_board;
    const Colour us = SideToMove(), them = ChangeSide(us);
    const Square from = MoveFrom(m), to = MoveTo(m);
    const uint64_t key = p.hash_key ^ ZobristCastling[p.castling] ^ ZobristKeys[us][MovePiece(m)][from]
        ^ ZobristKeys[us][MovePiece(m)][to] ^ ZobristKeys[them][MoveCaptured(m)][to];
    PrefetchTable(key, them);
    PrefetchEvaluation(key);
}
