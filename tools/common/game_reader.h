// game_reader.h - games from PGN text, and lines of moves without tags.
//
// Comments, variations, annotation glyphs and move numbers are passed over. Every move is
// played on the board, so what is returned is legal. A line that begins with GameStart begins a
// game even inside a comment: a brace that nobody closed must not swallow the games behind it. In
// tags a game begins with a second Event, or with a tag behind an empty line: what stood before it
// is a game without moves.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "board/types.h"

constexpr const char* GameStart = "[Event \"";

struct ReadGame {
    int line = 0;             // of the text where it begins, counted from 1
    std::string fen;          // of the start position
    std::string result;       // 1-0, 0-1, 1/2-1/2, or * when the game tells none
    std::string termination;  // the tags' values; empty without one
    std::string white, black, white_elo, black_elo, variant;
    std::vector<Move> moves;
    std::string error;  // why the game is bad; empty for a good one
    int error_line = 0;
};

// Reads the games of a text one after the other. The board holds the final position of the
// game just read; a bad game is read to its end, its moves up to the fault are kept.
class GameReader {
public:
    // Lines are counted from `first_line`. The text must outlive the reader.
    explicit GameReader(const std::string& text, int first_line = 1) : text(text), line(first_line) {}
    // The next game; false when there is none left.
    bool Next(ReadGame& game);

private:
    const std::string& text;
    size_t at = 0;
    int line;

    char Current() const { return at < text.size() ? text[at] : '\0'; }
    void Step();
    bool AtGameStart() const;
    bool AfterEmptyLine() const;
    bool SkipUntil(char end);
    bool SkipVariation();
    void ReadTag(ReadGame& game);
    std::string ReadWord();
};

// The move that a word of SAN names in the current position, check and judgement signs passed over;
// 0, with the reason, when it names none or several.
Move MoveOfWord(const std::string& word, std::string& why);
// Sets the start position of a game up and plays its first `plies` moves.
void PlayGame(const ReadGame& game, size_t plies);
