// extensions.h - how much deeper a move is searched than a plain one.
#pragma once

#include <algorithm>

#include "board/attacks.h"
#include "board/ordering_data.h"
#include "board/position.h"
#include "search/search.h"

// What the extension step needs to know of the node.
struct ExtensionContext {
    bool pv;  // node type is PvNode
    int alpha, eval;
    bool single_reply;
    Move previous;  // the move that led here; 0 for none or a null move
};

constexpr int RecaptureMargin = 120;  // centipawns
constexpr int LateEndingUnits = 15;   // both sides below: pushes to the sixth rank count too

// Minor, rook, queen or pawn: recaptures extend only within a class.
constexpr int ExchangeClass(int type) { return type == BISHOP ? int(KNIGHT) : type; }

template <Colour us> bool IsPassedPush(Move m) {
    constexpr Colour them = ChangeSide(us);
    const Square to = MoveTo(m);
    const Bitboard files = FileMask(FileOf(to)) | ShiftEast(FileMask(FileOf(to))) | ShiftWest(FileMask(FileOf(to)));
    const Bitboard ahead = us == WHITE ? ~Bitboard(0) << (8 * RankOf(to)) << 8 : (Bitboard(1) << (8 * RankOf(to))) - 1;
    return !(thread_board.pieces[PAWN][them] & files & ahead);
}

// The child's depth change, -ONE_PLY for a plain move, never above 0, and the node flags of
// the reasons. The sum is capped, the flags are not.
inline int Extension(Move m, bool gives_check, const ExtensionContext& node, int* flags) {
    const Colour us = SideToMove();
    const Colour them = ChangeSide(us);
    const Position& p = thread_board;
    const int captured = MoveCaptured(m);
    int change = -ONE_PLY;
    *flags = 0;
    if (node.single_reply) {
        change += node.pv ? 3 : 1;
        *flags |= NodeSingleReply;
    }
    if (PieceValue[captured] > 100 && MovePromotion(m) == EMPTY && p.NonPawnMaterial[us] == 0
        && p.NonPawnMaterial[them] == PieceUnits[captured]) {
        change += node.pv ? 4 : 2;
        *flags |= NodePawnEnding;
    }
    if (captured != EMPTY && MoveCaptured(node.previous) != EMPTY && MoveTo(m) == MoveTo(node.previous)
        && ExchangeClass(captured) == ExchangeClass(MoveCaptured(node.previous))
        && !(current_ply > 0 && (ply_records[current_ply - 1].flags & NodeRecapture))) {
        const int difference = node.alpha - node.eval;
        if (difference > -RecaptureMargin && difference < PieceValue[captured] + RecaptureMargin) {
            change += node.pv ? 3 : 1;
            *flags |= NodeRecapture;
        }
    }
    if (gives_check) {
        change += node.pv ? 4 : 2;
        *flags |= NodeGivesCheck;
    }
    if (MovePiece(m) == PAWN) {
        const int rank = RelativeRank(us, MoveTo(m));
        const bool late = p.NonPawnMaterial[us] < LateEndingUnits && p.NonPawnMaterial[them] < LateEndingUnits;
        if ((rank == 6 || (rank == 5 && late)) && IsQuiet(m)
            && (us == WHITE ? IsPassedPush<WHITE>(m) : IsPassedPush<BLACK>(m))) {
            change += rank == 6 ? (node.pv ? 4 : 2) : (node.pv ? 2 : 1);
            *flags |= NodePassedPush;
        }
    }
    return std::min(change, 0);
}
