// game_file.cpp - see game_file.h.
//
// Words of the text are told apart by their first character: digits make a number, a result or
// castling with zeros, move letters are left to ReadSanToken(), any other letter begins a word that
// no move has. All else (points, check and judgement signs, stray brackets) says nothing.
//
// A comment or variation without an end would swallow all games behind it; the tag that begins a
// game, at the start of a line, ends it.
//
// State: the open file and the character of it that comes next.
#include "driver/game_file.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "board/console.h"
#include "board/notation.h"
#include "board/position.h"

namespace {

std::FILE* file;
int current;      // the next character, EOF at the end
bool line_start;  // it is the first of its line
bool event_read;  // the name of the next game's first tag has been read already
bool in_moves;    // the game's moves have not come to their end
bool playable;    // moves of this game can be made

constexpr const char* GameStart = "[Event ";

void Step() {
    line_start = current == '\n';
    current = std::getc(file);
}

bool IsIn(int c, const char* set) { return c > 0 && std::strchr(set, c) != nullptr; }
bool IsDigit(int c) { return c >= '0' && c <= '9'; }
bool IsLetter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsBlank(int c) { return IsIn(c, " \t\r\n\v\f"); }

bool AtTag() { return event_read || current == '['; }

// In a comment or variation: does another game begin here? Its tag is read as far as it agrees.
bool GameBegins() {
    if (!line_start || current != '[') return false;
    const char* expected = GameStart;
    for (; *expected != '\0' && current == *expected; ++expected) Step();
    event_read = *expected == '\0';
    return event_read;
}

void SkipLine() {
    while (current != EOF && current != '\n') Step();
}

void SkipComment() {
    while (current != EOF && current != '}')
        if (GameBegins()) return;
        else if (current != '}' && current != EOF) Step();
    Step();
}

void SkipVariation() {
    int depth = 0;
    while (current != EOF && !GameBegins()) {
        const int c = current;
        if (c == '{') SkipComment();
        else if (c == ';') SkipLine();
        else if (c != EOF) Step();
        if (event_read) return;
        depth += (c == '(') - (c == ')');
        if (depth == 0) return;
    }
}

// To the next tag, number, letter or "*".
void SkipNoise() {
    while (current != EOF && !AtTag() && !IsLetter(current) && !IsDigit(current) && current != '*') {
        if (current == '{') {
            SkipComment();
        } else if (current == '(') {
            SkipVariation();
        } else if (current == ';' || (current == '%' && line_start)) {
            SkipLine();
        } else if (current == '$') {
            do Step();
            while (IsDigit(current));
        } else {
            Step();
        }
    }
}

void SkipWord() {
    while (current != EOF && !IsBlank(current) && !IsIn(current, "{}()[];$")) Step();
}

// Reads characters of the set; `text` keeps the first ones.
template <int N> void ReadWhileIn(const char* set, char (&text)[N]) {
    int length = 0;
    for (; IsIn(current, set); Step())
        if (length < N - 1) text[length++] = char(current);
    text[length] = '\0';
}

// What a game needs to know of its tags.
struct TagValues {
    char fen[256];
    int result;
    bool event;
};

// False when the tag begins the next game: this one has no moves.
bool ReadTag(TagValues& tags) {
    char name[16] = "", value[sizeof tags.fen];
    if (!event_read) {
        Step();
        ReadWhileIn("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_ ", name);
    }
    const bool event = event_read || std::strcmp(name, "Event ") == 0;
    event_read = event && tags.event;
    if (event_read) return false;
    tags.event |= event;
    int length = 0;
    while (current != EOF && !IsIn(current, "\"]\n")) Step();
    if (current == '"')
        for (Step(); current != EOF && !IsIn(current, "\"\n"); Step())
            if (length < int(sizeof value) - 1) value[length++] = char(current);
    value[length] = '\0';
    while (current != EOF && !IsIn(current, "]\n")) Step();
    if (current == ']') Step();

    if (length > 0 && std::strncmp(name, "FEN ", 4) == 0) {
        std::strcpy(tags.fen, value);
    } else if (std::strncmp(name, "Result ", 7) == 0) {
        if (std::strcmp(value, "1-0") == 0) tags.result = 1;
        else if (std::strcmp(value, "1/2-1/2") == 0) tags.result = 0;
        else if (std::strcmp(value, "0-1") == 0) tags.result = -1;
    }
    return true;
}

enum class WordKind { GameOver, ZeroCastling, Letters };

// Goes on to the next word that can be a move. Castling with zeros is in san_token then, and behind us;
// letters begin at the current character.
WordKind NextWord() {
    for (;;) {
        SkipNoise();
        if (current == EOF || AtTag()) break;
        if (IsLetter(current)) return WordKind::Letters;
        if (current == '*') {
            Step();
            break;
        }
        char word[sizeof san_token.text];
        ReadWhileIn("0123456789-/", word);
        if (std::strcmp(word, "1-0") == 0 || std::strcmp(word, "0-1") == 0 || std::strcmp(word, "1/2-1/2") == 0) break;
        if (std::strncmp(word, "0-0", 3) == 0) {
            std::strcpy(san_token.text, word);
            return WordKind::ZeroCastling;
        }
    }
    in_moves = false;
    return WordKind::GameOver;
}

void CannotRecognize() {
    Print("\nCan't recognize: %s...\n", san_token.text);
    san_token.error = true;
}

// The move that begins at the current letter, into san_token. False when it is none.
bool ReadLetters() {
    if (current == 'P') Step();  // the pawn's letter, which is no part of a token
    if (IsIn(current, "KQNBROabcdefgh")) {
        std::ungetc(current, file);
        const bool read = ReadSanToken(file) == 0;
        line_start = false;
        current = san_token.end;
        if (!read) san_token.error = true;
        if (!read || san_token.text[0] == '\0') return false;
        // "e.p." behind a capture.
        if (std::strcmp(san_token.text, "e") != 0 || current != '.') return true;
        SkipWord();
        return false;
    }
    ReadWhileIn("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", san_token.text);
    if (san_token.text[0] != '\0') CannotRecognize();
    return false;
}

}  // namespace

void CloseGameFile() {
    if (file != nullptr) std::fclose(file);
    file = nullptr;
}

bool OpenGameFile(const char* name) {
    // What is no plain file may have no end, or keep us waiting for somebody at its other one.
    std::error_code error;
    file = std::filesystem::is_regular_file(name, error) ? std::fopen(name, "rb") : nullptr;
    if (file == nullptr) return false;
    in_moves = event_read = false;
    current = '\n';
    Step();
    return true;
}

bool NextGame(GameTags* tags) {
    while (in_moves)
        if (NextWord() == WordKind::Letters) SkipWord();

    TagValues values = {"", GameResultUnknown, false};
    bool any = false;
    for (SkipNoise(); AtTag() && ReadTag(values); SkipNoise()) any = true;
    in_moves = current != EOF && !event_read;
    if (!any && !in_moves) return false;
    if (values.fen[0] != '\0') SetFen(values.fen);
    else SetInitialPosition();
    playable = IsPlayable();
    san_token.error = false;
    tags->result = values.result;
    return true;
}

bool NextMoveOfGame(Move* move) {
    while (in_moves && !san_token.error) {
        const WordKind kind = NextWord();
        if (kind == WordKind::GameOver) break;
        if (kind == WordKind::Letters && !ReadLetters()) continue;
        // Not every set-up can be asked for its legal moves.
        if (playable) {
            *move = MatchSan();
            return *move != 0;
        }
        CannotRecognize();
    }
    return false;
}
