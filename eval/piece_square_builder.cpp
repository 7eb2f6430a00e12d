// piece_square_builder.cpp - from the weights to the working piece-square table, and keeping
// everything derived from the weights in step when they change.
#include <algorithm>

#include "board/make_move.h"
#include "board/piece_square.h"
#include "board/position.h"
#include "eval/eval_info.h"
#include "eval/evaluate.h"
#include "eval/material.h"
#include "eval/parameters.h"

namespace {

// Sixteen men a side at this value still fit the 16-bit sums.
constexpr int PieceSquareLimit = 1000;
constexpr int TermLimit = 300;  // of one weight

// The owner's own value, rank counted from his side.
int OwnValue(int type, int phase, int rank, int pair) {
    const int* slots = term_weights[phase];
    switch (type) {
        case KING: return tuned.king[phase][pair][rank];
        case KNIGHT: return tuned.knight[phase][pair][rank];
        case PAWN: return slots[PawnSquares + 8 * pair + rank];
        case BISHOP: return slots[BishopSquares + 8 * pair + rank];
        case ROOK: return slots[RookRanks + rank] + slots[RookFiles + pair];
        case QUEEN: return slots[QueenRanks + rank] + slots[QueenFiles + pair];
        default: return 0;
    }
}

// Weights from a file are cut here, so that sums stay within a packed half.
PackedScore PackCut(int opening, int endgame) {
    return Pack(std::clamp(opening, -TermLimit, TermLimit), std::clamp(endgame, -TermLimit, TermLimit));
}

void StoreSums(int16_t (&sums)[2]) {
    const Position& p = thread_board;
    int total[2] = {0, 0};
    for (Bitboard rest = p.occupied; rest;) {
        const Square s = PopLowest(rest);
        const int colour = (p.colour[BLACK] & Bit(s)) ? BLACK : WHITE;
        for (int phase = 0; phase < 2; ++phase) total[phase] += PieceSquare[colour][p.board[s]][s][phase];
    }
    for (int phase = 0; phase < 2; ++phase) sums[phase] = int16_t(total[phase]);
}

}  // namespace

PackedScore packed_terms[TermSlots];

void BuildPackedTerms() {
    for (int i = 0; i < TermSlots; ++i) packed_terms[i] = PackCut(term_weights[0][i], term_weights[1][i]);
    const auto add = [](int slot, int opening, int endgame) {
        packed_terms[slot] = PackCut(term_weights[0][slot] + opening, term_weights[1][slot] + endgame);
    };
    const int* added = weights.added;
    add(BishopPair, added[AddedBishopPairOpening], added[AddedBishopPairEndgame]);
    add(KnightOutpost, added[AddedKnightOutpost], added[AddedKnightOutpost]);
    add(RookSeventh, added[AddedRookSeventh], added[AddedRookSeventh]);
    add(TrappedRook, added[AddedTrappedRook], 0);
}

void BuildPieceSquareTable() {
    for (int type = 0; type < 8; ++type)
        for (Square s = 0; s < 64; ++s)
            for (int phase = 0; phase < 2; ++phase) {
                const auto value = [&](Colour c) {
                    return std::clamp(OwnValue(type, phase, RelativeRank(c, s), FilePair(s)), -PieceSquareLimit,
                                      PieceSquareLimit);
                };
                PieceSquare[WHITE][type][s][phase] = int16_t(-value(WHITE));
                PieceSquare[BLACK][type][s][phase] = int16_t(value(BLACK));
            }
    BuildPackedTerms();
}

void RebuildEvaluation() {
    BuildPieceSquareTable();
    BuildMaterialTable();

    // The history's saved sums belong to the old table. Play the game again from its start.
    static Move moves[HistorySize];
    const int end = history_count;
    for (int i = end; i > history_base; --i) {
        moves[i - 1] = game_history[i - 1].move;
        if (moves[i - 1]) UnmakeMove();
        else UnmakeNullMove();
    }
    StoreSums(thread_board.piece_square);
    for (int i = 0; i < history_base; ++i)
        for (int phase = 0; phase < 2; ++phase) game_history[i].piece_square[phase] = thread_board.piece_square[phase];
    for (int i = history_base; i < end; ++i) {
        if (moves[i]) MakeMove(moves[i]);
        else MakeNullMove();
    }
    ClearEvaluationTables();
}
