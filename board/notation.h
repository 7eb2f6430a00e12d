// notation.h - moves as text: coordinate form both ways, algebraic form both ways.
//
// Reading either form, and writing SAN, lists the legal moves on the move stack at
// ScratchMoves: not for the inside of a search, nor while a list of one's own lies there.
#pragma once

#include <cstdio>
#include <string>
#include "board/types.h"

// Coordinate text (e2e4, e7e8q, castling as the king's move, 0 as "0000") into `buffer` of
// at least 6 bytes; returns the buffer.
char* MoveToText(char* buffer, Move m);
std::string MoveText(Move m);

// True when text begins like a coordinate move: file letter (either case), digit 1-8, twice.
bool LooksLikeMove(const char* text);
// The legal move that the first four or five characters name, 0 if there is none. Letters of
// either case; a promotion without a letter means queen. Text after the move must be a
// space or the end, else 0.
Move ParseCoordinate(const char* text);

// The SAN reader's state: one token, the character behind it (EOF at the end of the file) and the
// error flag that stays until it is cleared.
struct SanToken {
    char text[16];
    int end;
    bool error;
};
extern SanToken san_token;

// Reads one token of SAN characters; the first other character ends it and is consumed.
// 1 at end of file, 0 otherwise (the token may be empty). A token of more than 14 characters
// prints a message and ends the program with status 2 through exit_hook; if that hook
// returns, the result is 1.
int ReadSanToken(std::FILE* file);
// The legal move that san_token names; 0 and the error flag when there is none. An ambiguous
// token sets the flag too and yields the last match. With the flag set it returns 0 at once.
Move MatchSan();
// The same for any text, silent and without the flag: the last legal move that the token names, and
// how many there are.
Move FindSan(const char* token, int* matches);

// Standard algebraic notation of a legal move, with capture, promotion, check and mate signs.
std::string MoveToSan(Move m);
