// uci.cpp - see uci.h.
//
// Numbers from the front end are clamped to what is advertised: -1 megabytes would otherwise
// ask for four gigabytes, and -1 centisecond is the mark for "no clock".
//
// State: none of its own.
#include "driver/uci.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "board/console.h"
#include "board/notation.h"
#include "board/position.h"
#include "board/settings.h"
#include "book/book.h"
#include "driver/commands.h"
#include "driver/game_state.h"
#include "driver/input.h"
#include "driver/startup.h"
#include "driver/words.h"
#include "eval/evaluate.h"
#include "search/limits.h"
#include "search/root.h"
#include "search/search_state.h"
#include "search/transposition.h"
#include "tablebases/registry.h"

void IdentifyUci() {
    Print("id name Corvantis 1.70\n");
    Print("id author the Corvantis developers\n");
    // Hash and PawnHash are announced with the values a front end should start from, which
    // are not the sizes allocated at program start.
    Print("option name Hash type spin min 0 max 1024 default 10\n");
    Print("option name PawnHash type spin min 0 max 1024 default 7\n");
    Print("option name NalimovPath type string default c:\\tablebases\\\n");
    Print("option name OpeningsBook type string default .\\book.cvt\n");
    Print("option name OwnBook type check default true\n");
    Print("option name NalimovCache type spin min 1 max 128 default 1\n");
    Print("option name MultiPV type spin min 1 max 1024 default 1\n");
    Print("option name Aggressivity type spin min 0 max 300 default %d\n", Aggressivity);
    Print("option name Defensivity type spin min 0 max 300 default %d\n", Cowardice);
    Print("option name Clear Hash type button\n");
    Print("uciok\n");
    Flush();
    UciMode = 1;
    PonderSwitch = 0;  // the front end decides about pondering
}

// ---- setoption ----

void ResizeTranspositionTable(uint32_t megabytes) {
    TranspositionSize = megabytes * 1048576u / TranspositionEntryBytes;
    if (!AllocateTable(TranspositionSize)) OutOfMemory();
    ClearEvaluationTables();
}

void ResizePawnHash(uint32_t megabytes) {
    PawnHashSize = megabytes * 1048576u / PawnHashEntryBytes;
    if (!AllocatePawnHash(PawnHashSize)) OutOfMemory();
}

void ResizeTablebaseCache(uint32_t megabytes) {
    EGTBHashSize = megabytes * 1048576u;
    AllocateTablebases();
}

namespace {

int OptionNumber(int low, int high) { return int(ParseNumber(Word(4), low, high)); }

void OptionAggressivity() {
    SetAggressivity(OptionNumber(INT32_MIN, INT32_MAX));
    ClearEvaluationTables();  // cached scores contain the old style
}
void OptionDefensivity() {
    SetCowardice(OptionNumber(INT32_MIN, INT32_MAX));
    ClearEvaluationTables();
}
void OptionMultiPV() { MultiPV = OptionNumber(1, 1024); }
void OptionHash() { ResizeTranspositionTable(uint32_t(OptionNumber(0, 1024))); }
void OptionPawnHash() { ResizePawnHash(uint32_t(OptionNumber(0, 1024))); }
void OptionNalimovCache() {
    if (UseEGTB) ResizeTablebaseCache(uint32_t(OptionNumber(1, 128)));
}
void OptionOwnBook() {
    if (KeywordMatches("false", Word(4))) OwnBook = 0;
    else if (KeywordMatches("true", Word(4))) OwnBook = 1;
}
void OptionNalimovPath() {
    if (!UseEGTB) return;
    SetTablebasePath(RestOfLine(4));
    RegisterTablebases(EGTBPath);
    // The size in bytes taken as megabytes: the usual million bytes wrap to none, and the
    // cache falls back to its smallest size. Front ends that care send NalimovCache as well.
    ResizeTablebaseCache(EGTBHashSize);
}
void OptionOpeningsBook() { open_book(RestOfLine(4).c_str()); }

struct Option {
    const char* name;
    void (*set)();
};
// In the order of matching; "Clear Hash" is no option with a value.
constexpr Option options[] = {
    {"Aggressivity", OptionAggressivity},
    {"Defensivity", OptionDefensivity},
    {"MultiPV", OptionMultiPV},
    {"Hash", OptionHash},
    {"PawnHash", OptionPawnHash},
    {"NalimovCache", OptionNalimovCache},
    {"Clear", nullptr},
    {"OwnBook", OptionOwnBook},
    {"NalimovPath", OptionNalimovPath},
    {"OpeningsBook", OptionOpeningsBook},
};

}  // namespace

void SetOption() {
    if (word_count < 3 || !KeywordMatches("name", Word(1))) return;
    for (const Option& option : options) {
        if (!KeywordMatches(option.name, Word(2))) continue;
        if (option.set == nullptr) {
            if (KeywordMatches("Hash", Word(3))) ClearHashTables();
        } else if (word_count > 4 && KeywordMatches("value", Word(3))) {
            option.set();
        }
        return;
    }
}

// ---- position ----

namespace {

const char* NextWord(const char* text) {
    text += std::strcspn(text, " ");
    return SkipSpaces(text);
}

// The text behind the first "fen" of the line and the character after it; null without one.
const char* FindFen(const char* line) {
    for (; *line != '\0'; ++line)
        if (std::tolower(static_cast<unsigned char>(line[0])) == 'f'
            && std::tolower(static_cast<unsigned char>(line[1])) == 'e'
            && std::tolower(static_cast<unsigned char>(line[2])) == 'n')
            return line[3] == '\0' ? line + 3 : line + 4;
    return nullptr;
}

}  // namespace

void PositionCommand() {
    if (word_count < 2) return;
    last_best_move = 0;
    if (KeywordMatches("startpos", Word(1))) {
        SetInitialPosition();
        PositionReplaced();
    } else if (KeywordMatches("fen", Word(1))) {
        const char* fen = FindFen(command_line);
        if (fen == nullptr || *SkipSpaces(fen) == '\0') return;
        SetFen(fen);
        PositionReplaced();
    }
    if (word_count <= 3) return;
    const char* word = NextWord(NextWord(SkipSpaces(command_line)));
    while (*word != '\0' && !IsFirstWord("moves", word)) word = NextWord(word);
    if (*word == '\0') return;
    for (word = NextWord(word); *word != '\0'; word = NextWord(word)) {
        if (!LooksLikeMove(word)) continue;
        if (const Move move = ParseGameMove(word)) PlayGameMove(move);
    }
}

// ---- go ----

namespace {

// Milliseconds to centiseconds, never the mark for "no clock" nor the one for "infinite".
int ClockValue(const char* text) { return int(ParseNumber(text, 0, int64_t(InfiniteTime - 1) * 10) / 10); }

void SetClock(Colour side, const char* text) {
    (side == SideToMove() ? search_limits.OwnTime : search_limits.OppTime) = ClockValue(text);
}
void SetIncrement(Colour side, const char* text) {
    (side == SideToMove() ? search_limits.OwnIncrement : search_limits.OppIncrement) = ClockValue(text);
}

void GoBlackTime(const char* text) { SetClock(BLACK, text); }
void GoWhiteTime(const char* text) { SetClock(WHITE, text); }
void GoBlackIncrement(const char* text) { SetIncrement(BLACK, text); }
void GoWhiteIncrement(const char* text) { SetIncrement(WHITE, text); }
void GoMovesToGo(const char* text) { SetMovesPerControl(int(ParseNumber(text, 0, 10000))); }
void GoDepth(const char* text) { search_limits.MaxDepth = int(ParseNumber(text, 0, NoDepthLimit)); }
void GoNodes(const char* text) { search_limits.MaxNodes = ParseNumber(text, 0, INT64_MAX); }
// Less than a centisecond is still a limit; 0 would mean none.
void GoMoveTime(const char* text) { search_limits.MoveTime = std::max(1, ClockValue(text)); }
void GoMate(const char* text) { search_limits.MateSearch = int(ParseNumber(text, 0, 10000)); }

struct GoParameter {
    const char* keyword;
    void (*set)(const char* value);  // null for those without a number
};
// In the order of matching.
constexpr GoParameter go_parameters[] = {
    {"btime", GoBlackTime},     {"wtime", GoWhiteTime}, {"binc", GoBlackIncrement}, {"winc", GoWhiteIncrement},
    {"movestogo", GoMovesToGo}, {"depth", GoDepth},     {"nodes", GoNodes},         {"movetime", GoMoveTime},
    {"mate", GoMate},           {"infinite", nullptr},  {"searchmoves", nullptr},   {"ponder", nullptr},
};

// Takes the moves that follow word i; returns the last word taken.
int ReadSearchMoves(int i) {
    for (; i + 1 < word_count && LooksLikeMove(Word(i + 1)); ++i) {
        const Move move = ParseGameMove(Word(i + 1));
        if (move != 0 && search_limits.search_move_count < MaxSearchMoves)
            search_limits.search_moves[search_limits.search_move_count++] = move;
    }
    return i;
}

bool IsNumber(const char* text) {
    return std::isdigit(static_cast<unsigned char>(*text == '-' || *text == '+' ? text[1] : text[0])) != 0;
}

}  // namespace

void SetMovesPerControl(int moves) { (UciMode ? search_limits.MovesToGo : search_limits.MovesPerPeriod) = moves; }

void ReadGoParameters() {
    const int base_time = search_limits.BaseTime;
    ResetLimits();
    search_limits.BaseTime = base_time;
    for (int i = 1; i < word_count; ++i) {
        for (const GoParameter& parameter : go_parameters) {
            if (!KeywordMatches(parameter.keyword, Word(i))) continue;
            if (parameter.set != nullptr) {
                // A word that is no number counts as 0, and may be the next parameter.
                parameter.set(Word(i + 1));
                if (IsNumber(Word(i + 1))) ++i;
            } else if (parameter.keyword[0] == 'i') {
                search_limits.OwnTime = InfiniteTime;
            } else if (parameter.keyword[0] == 's') {
                i = ReadSearchMoves(i);
            } else {
                PonderingNow = 1;
            }
            break;
        }
    }
}
