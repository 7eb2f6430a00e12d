// game_file.cpp - see game_file.h.
//
// Words of the text are told apart by their first character: digits make a number, a result or
// castling with zeros, move letters are left to ReadSanToken(), any other letter begins a word that
// no move has. All else (points, check and judgement signs, stray brackets) says nothing.
//
// Before the moves "[" begins a tag wherever it stands. Among them only one at the start of a line
// does: clock times and the like are written in square brackets too.
//
// A comment, note or variation without an end would swallow all games behind it; the tag that begins
// a game, at the start of a line, ends it.
//
// State: the open file and the character of it that comes next.
#include "driver/game_file.h"

#include <cctype>
#include <cstdio>
#include <cstring>

#include "board/console.h"
#include "board/file_access.h"
#include "board/notation.h"
#include "board/position.h"

namespace {

std::FILE* file;
int current;      // the next character, EOF at the end
bool line_start;  // it is the first of its line
bool event_read;  // the name of the next game's first tag has been read already
bool in_moves;    // the game's moves have not come to their end
bool playable;    // moves of this game can be made

bool (*ask_interrupted)();
bool was_interrupted;
uint32_t steps;
constexpr uint32_t StepsPerQuestion = 1 << 20;

constexpr const char* GameStart = "[Event";

void Step() {
    line_start = current == '\n';
    if (++steps % StepsPerQuestion == 0) was_interrupted |= ask_interrupted();
    current = was_interrupted ? EOF : std::getc(file);
}

bool IsIn(int c, const char* set) { return c > 0 && std::strchr(set, c) != nullptr; }
bool IsDigit(int c) { return c >= '0' && c <= '9'; }
bool IsLetter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsBlank(int c) { return IsIn(c, " \t\r\n\v\f"); }

bool AtTag() { return event_read || (current == '[' && (line_start || !in_moves)); }

// In a comment, note or variation: does another game begin here? Its tag is read as far as it agrees.
bool GameBegins() {
    if (!line_start || current != '[') return false;
    const char* expected = GameStart;
    for (; *expected != '\0' && current == *expected; ++expected) Step();
    event_read = *expected == '\0' && (IsBlank(current) || current == '"');
    return event_read;
}

void SkipLine() {
    while (current != EOF && current != '\n') Step();
}

// To behind the sign that ends it.
void SkipComment(char end) {
    while (current != EOF && current != end)
        if (GameBegins()) return;
        else if (current != end && current != EOF) Step();
    Step();
}

void SkipVariation() {
    int depth = 0;
    while (current != EOF && !GameBegins()) {
        const int c = current;
        if (c == '{') SkipComment('}');
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
            SkipComment('}');
        } else if (current == '[') {
            Step();
            SkipComment(']');
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

// True when a line has ended among the blanks.
bool SkipBlanks() {
    bool line_ended = false;
    for (; IsBlank(current); Step()) line_ended |= current == '\n';
    return line_ended;
}

// False when the tag begins the next game: this one has no moves.
bool ReadTag(TagValues& tags) {
    char name[16] = "", value[sizeof tags.fen];
    if (!event_read) {
        Step();
        SkipBlanks();
        ReadWhileIn("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_", name);
    }
    const bool event = event_read || std::strcmp(name, "Event") == 0;
    event_read = event && tags.event;
    if (event_read) return false;
    tags.event |= event;
    int length = 0;
    // The next line may bring the value; anything else there belongs to no tag.
    if (SkipBlanks() && current != '"' && current != ']') return true;
    while (current != EOF && !IsIn(current, "\"]\n")) Step();
    if (current == '"')
        for (Step(); current != EOF && !IsIn(current, "\"\n"); Step())
            if (length < int(sizeof value) - 1) value[length++] = char(current);
    value[length] = '\0';
    while (current != EOF && !IsIn(current, "]\n")) Step();
    if (current == ']') Step();

    if (length > 0 && std::strcmp(name, "FEN") == 0) {
        std::strcpy(tags.fen, value);
    } else if (std::strcmp(name, "Result") == 0) {
        if (std::strcmp(value, "1-0") == 0) tags.result = 1;
        else if (std::strcmp(value, "1/2-1/2") == 0) tags.result = 0;
        else if (std::strcmp(value, "0-1") == 0) tags.result = -1;
    }
    return true;
}

// A move number, a result or castling with zeros; "" is read as "*".
template <int N> bool ReadResult(char (&word)[N]) {
    ReadWhileIn("0123456789-/", word);
    if (word[0] == '\0') Step();
    return word[0] == '\0' || std::strcmp(word, "1-0") == 0 || std::strcmp(word, "0-1") == 0
        || std::strcmp(word, "1/2-1/2") == 0;
}

enum class WordKind { GameOver, ZeroCastling, Letters };

// Goes on to the next word that can be a move. Castling with zeros is in san_token then, and behind us;
// letters begin at the current character.
WordKind NextWord() {
    for (;;) {
        SkipNoise();
        if (current == EOF || AtTag()) break;
        if (IsLetter(current)) return WordKind::Letters;
        char word[sizeof san_token.text];
        if (ReadResult(word)) break;
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

// "e.p." or "ep" behind a capture, by itself or stuck to the move: its e has been taken for a file.
void SkipEnPassantSign() {
    const size_t length = std::strlen(san_token.text);
    if (length == 0 || san_token.text[length - 1] != 'e' || !IsIn(current, ".p")) return;
    if (length > 1 && !IsDigit(san_token.text[length - 2])) return;
    san_token.text[length - 1] = '\0';
    if (current == '.') Step();
    if (current == 'p') Step();
    if (current == '.') Step();
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
        if (read) SkipEnPassantSign();
        return read && san_token.text[0] != '\0';
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

bool OpenGameFile(const char* name, bool (*interrupted)()) {
    file = OpenText(name);
    if (file == nullptr) return false;
    ask_interrupted = interrupted;
    in_moves = event_read = was_interrupted = false;
    steps = 0;
    current = '\n';
    Step();
    return true;
}

bool GameFileInterrupted() { return was_interrupted; }

bool NextGame(GameTags* tags) {
    while (in_moves)
        if (NextWord() == WordKind::Letters) SkipWord();

    TagValues values = {"", GameResultUnknown, false};
    bool any = false;
    for (;;) {
        SkipNoise();
        if (AtTag()) {
            if (!ReadTag(values)) break;
            any = true;
        } else if (!any && (IsDigit(current) || current == '*')) {
            // Where no game has begun, a result is the last game's, told twice.
            char word[sizeof san_token.text];
            ReadResult(word);
        } else {
            break;
        }
    }
    in_moves = current != EOF && !event_read;
    if (was_interrupted || (!any && !in_moves)) return false;
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
