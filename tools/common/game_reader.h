// game_reader.h - games from PGN text, and lines of moves without tags.
//
// Comments, variations, annotation glyphs and move numbers are passed over. Every move is
// played on the board, so what is returned is legal.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "board/types.h"

struct ReadGame {
    int line = 0;             // of the text where it begins, counted from 1
    std::string fen;          // of the start position
    std::string result;       // 1-0, 0-1, 1/2-1/2, or * when the game tells none
    std::string termination;  // the tag's value; empty without one
    std::vector<Move> moves;
    std::string error;  // why the game is bad; empty for a good one
    int error_line = 0;
};

// Reads the games of a text one after the other. The board holds the final position of the
// game just read; a bad game is read to its end, its moves up to the fault are kept.
class GameReader {
public:
    explicit GameReader(const std::string& text) : text(text) {}
    // The next game; false when there is none left.
    bool Next(ReadGame& game);

private:
    const std::string& text;
    size_t at = 0;
    int line = 1;

    char Current() const { return at < text.size() ? text[at] : '\0'; }
    void Step();
    void SkipUntil(char end);
    void SkipVariation();
    void ReadTag(ReadGame& game);
    std::string ReadWord();
};

// Sets the start position of a game up and plays its first `plies` moves.
void PlayGame(const ReadGame& game, size_t plies);
