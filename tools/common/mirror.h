// mirror.h - a position seen from the other side of the table.
#pragma once

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "board/position.h"
#include "tools/common/text.h"

inline std::string SwapCase(std::string text) {
    for (char& c : text) {
        const auto letter = static_cast<unsigned char>(c);
        c = char(std::isupper(letter) ? std::tolower(letter) : std::toupper(letter));
    }
    return text;
}

// Ranks reversed, colours swapped, the other side to move. Takes a whole FEN, as WriteFen() gives
// it. En passant is dropped.
inline std::string ColourFlipped(const std::string& fen) {
    const std::vector<std::string> fields = Split(fen, ' ');
    std::vector<std::string> ranks = Split(fields[0], '/');
    std::reverse(ranks.begin(), ranks.end());
    std::string board;
    for (const std::string& rank : ranks) board += (board.empty() ? "" : "/") + SwapCase(rank);
    return board + (fields[1] == "w" ? " b " : " w ") + SwapCase(fields[2]) + " - 0 1";
}

// Does the position on the board have the same evaluation with colours swapped? Not with queens,
// knights and no rooks: there the material correction looks at Black's knights for both sides.
inline bool MirrorsExactly() {
    const auto& n = thread_board.PieceCount;
    const bool queens = n[QUEEN][WHITE] + n[QUEEN][BLACK] > 0, rooks = n[ROOK][WHITE] + n[ROOK][BLACK] > 0;
    return !queens || rooks || n[KNIGHT][WHITE] + n[KNIGHT][BLACK] == 0;
}
