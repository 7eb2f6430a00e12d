// eval_helpers.h - what several evaluation tests need: mirrored positions and plain scores.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "board/position.h"
#include "eval/evaluate.h"
#include "tools/common/mirror.h"
#include "tools/common/text.h"

// The board in a mirror: files reversed. Castling rights and en passant are dropped.
inline std::string FilesReversed(const std::string& fen) {
    const std::vector<std::string> fields = Split(fen, ' ');
    std::string board;
    for (std::string rank : Split(fields[0], '/')) {
        std::reverse(rank.begin(), rank.end());
        board += (board.empty() ? "" : "/") + rank;
    }
    return board + " " + fields[1] + " - - 0 1";
}

// The full evaluation of the position on the board, side to move's view, no cache involved.
inline int FreshScore() {
    int score = NotEvaluated;
    EvaluatePosition(score);
    return score;
}
inline int FreshScore(const std::string& fen) {
    SetFen(fen.c_str());
    return FreshScore();
}
// White's view.
inline int WhiteScore(const std::string& fen) {
    const int score = FreshScore(fen);
    return thread_board.SideToMove == WHITE ? score : -score;
}
