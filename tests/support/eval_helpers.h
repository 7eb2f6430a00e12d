// eval_helpers.h - what several evaluation tests need: mirrored positions and plain scores.
#pragma once

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "board/position.h"
#include "eval/evaluate.h"

inline std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator) parts.emplace_back();
        else parts.back() += c;
    }
    return parts;
}

inline std::string SwapCase(std::string text) {
    for (char& c : text) c = char(std::isupper(c) ? std::tolower(c) : std::toupper(c));
    return text;
}

// The same game seen from the other side of the table: ranks reversed, colours swapped, the
// other side to move. En passant is dropped.
inline std::string ColourFlipped(const std::string& fen) {
    const std::vector<std::string> fields = Split(fen, ' ');
    std::vector<std::string> ranks = Split(fields[0], '/');
    std::reverse(ranks.begin(), ranks.end());
    std::string board;
    for (const std::string& rank : ranks) board += (board.empty() ? "" : "/") + SwapCase(rank);
    return board + (fields[1] == "w" ? " b " : " w ") + SwapCase(fields[2]) + " - 0 1";
}

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

inline std::string WithoutCastling(const std::string& fen) {
    const std::vector<std::string> fields = Split(fen, ' ');
    return fields[0] + " " + fields[1] + " - - 0 1";
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

// The weights were tuned with queens-without-rooks corrections that look at Black's knights
// for both sides, so such material does not mirror.
inline bool MirrorsExactly() {
    const auto& n = thread_board.PieceCount;
    const bool queens = n[QUEEN][WHITE] + n[QUEEN][BLACK] > 0, rooks = n[ROOK][WHITE] + n[ROOK][BLACK] > 0;
    return !queens || rooks || n[KNIGHT][WHITE] + n[KNIGHT][BLACK] == 0;
}
