// plain_board.h - a board of letters on which men walk square by square: the slow truth about
// attacks, which shares nothing with the engine's tables.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "board/position.h"

// Upper case White, '.' empty.
struct PlainBoard {
    PlainBoard() { std::fill_n(at, 64, '.'); }
    char at[64];
};

inline PlainBoard ReadBoard() {
    PlainBoard board;
    for (Square s = A1; s <= H8; ++s) {
        const char letter = ".KNP?RBQ"[thread_board.board[s]];
        board.at[s] = thread_board.colour[BLACK] & Bit(s) ? char(std::tolower(letter)) : letter;
    }
    return board;
}

inline bool IsWhite(char man) { return man >= 'A' && man <= 'Z'; }

// Does the man on `from` hit `to`, which is another square and may hold anything?
inline bool Reaches(const PlainBoard& board, Square from, Square to) {
    const int files = FileOf(to) - FileOf(from), ranks = RankOf(to) - RankOf(from);
    const bool straight = files == 0 || ranks == 0, diagonal = std::abs(files) == std::abs(ranks);
    const char man = char(std::toupper(board.at[from]));
    switch (man) {
        case 'P': return std::abs(files) == 1 && ranks == (IsWhite(board.at[from]) ? 1 : -1);
        case 'N': return std::abs(files * ranks) == 2;
        case 'K': return std::max(std::abs(files), std::abs(ranks)) == 1;
        case '.': return false;
        default: break;
    }
    if (!(straight && man != 'B') && !(diagonal && man != 'R')) return false;
    const int step = (files > 0) - (files < 0) + 8 * ((ranks > 0) - (ranks < 0));
    for (Square s = from + step; s != to; s += step)
        if (board.at[s] != '.') return false;
    return true;
}

// All squares that such a man would hit from s.
inline Bitboard PlainAttacks(PlainBoard board, char man, Square s) {
    board.at[s] = man;
    Bitboard attacks = 0;
    for (Square to = A1; to <= H8; ++to)
        if (to != s && Reaches(board, s, to)) attacks |= Bit(to);
    return attacks;
}
