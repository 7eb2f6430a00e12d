// configuration.cpp - see configuration.h.
//
// One "Key = value" a line; "=" may be a space or a comma as well. A line that begins with ";"
// is a comment. Every key is one row of the table below. Sizes only set numbers here; the
// tables are allocated afterwards. A value out of range falls back to a fixed one, not to what
// an earlier line set. data/Corvantis.ini.sample and README.md explain the keys to users.
//
// State: the number of the line being read.
#include "driver/configuration.h"

#include <cstdio>
#include <cstring>

#include "board/console.h"
#include "board/file_access.h"
#include "board/settings.h"
#include "book/book.h"
#include "driver/commands.h"
#include "driver/input.h"
#include "driver/startup.h"
#include "driver/words.h"

namespace {

constexpr const char* Separators = " =\r\n,\"";
constexpr int LineBytes = 250;                         // a zero behind the line included
constexpr const char* ByteOrderMark = "\xEF\xBB\xBF";  // editors put it before the first line

int line_number;

// The text between line number and line end of a warning.
void Warn(const char* text) {
    Print("Corvantis.ini(%d) WARNING: %s\n", line_number, text);
    Flush();
}

int Number() { return int(ParseNumber(Word(1), INT32_MIN, INT32_MAX)); }

// ---- Sizes ----

// What the sizes of one table have in common.
struct Table {
    uint32_t* size;
    uint32_t unit_bytes;  // what the size counts
    uint32_t fallback;
    const char* warning;
};
const Table transposition = {&TranspositionSize, TranspositionEntryBytes, 524288,
                             "Incorrect hash size setting in Corvantis.ini; set to default"};
// Twice the default at program start; users rely on neither, and the file says "default".
const Table pawn_hash = {&PawnHashSize, PawnHashEntryBytes, 524288,
                         "Incorrect pawn hash size setting in Corvantis.ini; set to default"};
const Table tablebase_cache = {&EGTBHashSize, 1, 1048576,
                               "Incorrect EGTB cache size setting in Corvantis.ini; set to default"};

void SetSize(const Table& table, bool in_range, uint32_t size) {
    if (!in_range) Warn(table.warning);
    *table.size = in_range ? size : table.fallback;
}

void Megabytes(const Table& table, int low, int high) {
    const int value = Number();
    SetSize(table, value >= low && value <= high, uint32_t(value) * 1048576u / table.unit_bytes);
}

void PowerOfTwo(const Table& table, int low, int high) {
    const int value = Number();
    SetSize(table, value >= low && value <= high, 1u << (value & 31));
}

void TranspositionMegabytes() { Megabytes(transposition, 0, 1024); }
void TranspositionPower() { PowerOfTwo(transposition, 0, 25); }
void PawnHashMegabytes() { Megabytes(pawn_hash, 0, 1024); }
void PawnHashPower() { PowerOfTwo(pawn_hash, 12, 23); }
void TablebaseMegabytes() { Megabytes(tablebase_cache, 1, 128); }
void TablebasePower() { PowerOfTwo(tablebase_cache, 20, 27); }

// ---- Numbers ----

int Clamped(int high, const char* too_low, const char* too_high) {
    const int value = Number();
    if (value < 0) {
        Warn(too_low);
        return 0;
    }
    if (value > high) {
        Warn(too_high);
        return high;
    }
    return value;
}

void AggressivityKey() {
    SetAggressivity(
        Clamped(300, "Incorrect AGGRESSIVITY setting; set to 0", "Incorrect AGGRESSIVITY setting; set to 300"));
}
void CowardiceKey() {
    SetCowardice(Clamped(300, "Incorrect COWARDICE setting; set to 0", "Incorrect COWARDICE setting; set to 300"));
}
void VarietyKey() {
    VarietyOfPlay =
        Clamped(100, "Incorrect VarietyOfPlay setting; set to 0", "Incorrect VarietyOfPlay setting; set to 100");
}
void ResignValueKey() { ResignValue = Number(); }
void ResignTimesKey() { ResignTimes = Number(); }
void BookLearningBoundKey() { BookLearningBound = Number(); }

// ---- Words ----

struct WordValue {
    const char* word;
    int value;
};

// The value of the second word; a word that is not listed is warned about and changes nothing.
template <int N> void SetByWord(int* setting, const WordValue (&values)[N]) {
    for (const WordValue& v : values) {
        if (!KeywordMatches(v.word, Word(1))) continue;
        *setting = v.value;
        return;
    }
    Print("Corvantis.ini(%d) WARNING: Token unknown \"%s\"\n", line_number, Word(1));
    Flush();
}

void SetFlag(int* setting) {
    static constexpr WordValue words[] = {{"on", 1}, {"true", 1}, {"off", 0}, {"false", 0}};
    SetByWord(setting, words);
}

void LearningKey() { SetFlag(&UseLearning); }
void UseBookLearningKey() { SetFlag(&UseBookLearning); }
void PonderingKey() {
    SetFlag(&Pondering);
    if (!Pondering) PonderSwitch = 0;
}
void UseEGTBKey() { SetFlag(&UseEGTB); }
void UseLearningDataKey() { SetFlag(&UseLearningData); }
void UseBookWeightsKey() { SetFlag(&UseBookWeights); }
void LogLearningKey() { SetFlag(&LogLearningIntoFile); }
void BookLearningModeKey() {
    static constexpr WordValue words[] = {{"discover", DISCOVER}, {"kill", KILL}};
    SetByWord(&BookLearningMode, words);
}

// ---- Names: everything up to the end of the line, a closing quote included ----

void EGTBPathKey() { SetTablebasePath(command_line + WordStart(1)); }
void OpeningsBookKey() { open_book(command_line + WordStart(1)); }

}  // namespace

const ConfigurationKey configuration_keys[ConfigurationKeyCount] = {
    {"TranspositionSizeMb", TranspositionMegabytes},
    {"TranspositionSize", TranspositionPower},
    {"ResignValue", ResignValueKey},
    {"ResignTimes", ResignTimesKey},
    {"PawnHashSizeMb", PawnHashMegabytes},
    {"PawnHashSize", PawnHashPower},
    {"EGTBHashSizeMb", TablebaseMegabytes},
    {"EGTBCacheSizeMb", TablebaseMegabytes},
    {"EGTBHashSize", TablebasePower},
    {"EGTBCacheSize", TablebasePower},
    {"Aggressivity", AggressivityKey},
    {"Cowardice", CowardiceKey},
    {"VarietyOfPlay", VarietyKey},
    {"BookLearningBound", BookLearningBoundKey},
    {"Learning", LearningKey},
    {"UseBookLearning", UseBookLearningKey},
    {"Pondering", PonderingKey},
    {"UseEGTB", UseEGTBKey},
    {"EGTBPath", EGTBPathKey},
    {"OpeningsBook", OpeningsBookKey},
    {"BookLearningMode", BookLearningModeKey},
    {"UseLearningData", UseLearningDataKey},
    {"UseBookWeights", UseBookWeightsKey},
    {"LogLearningIntoFile", LogLearningKey},
};

namespace {

// The next line without its end into command_line. What is too long is cut: the end of a line is no
// line of its own. By hand, since the library's reader hides how far it got behind a zero byte.
bool ReadLine(std::FILE* file) {
    int length = 0, c;
    while ((c = std::getc(file)) != EOF && c != '\n')
        if (length < LineBytes - 1) command_line[length++] = char(c);
    command_line[length] = '\0';
    return c != EOF || length > 0;
}

void ApplyLine() {
    if (line_number == 1 && std::strncmp(command_line, ByteOrderMark, 3) == 0)
        std::memmove(command_line, command_line + 3, std::strlen(command_line + 3) + 1);
    if (command_line[0] == '\0' || command_line[0] == ';') return;
    for (char* c = command_line; *c != '\0'; ++c)
        if (static_cast<unsigned char>(*c) < ' ') *c = '\0';
    if (SplitWords(command_line, Separators) < 2) return;
    for (const ConfigurationKey& key : configuration_keys) {
        if (!KeywordMatches(key.name, command_line)) continue;
        key.apply();
        return;
    }
}

}  // namespace

void ReadConfiguration(const char* file_name) {
    std::FILE* file = OpenText(file_name);
    if (file == nullptr) return;
    line_number = 0;
    while (ReadLine(file)) {
        ++line_number;
        ApplyLine();
    }
    std::fclose(file);
    command_line[0] = '\0';
}
