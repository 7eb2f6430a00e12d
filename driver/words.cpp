// words.cpp - see words.h.
//
// State: the word slots, allocated by AllocateWords() and filled by SplitWords().
#include "driver/words.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>

constinit int word_count = 0;

namespace {

constexpr int LongSlots = 64, LongSlotSize = 512, ShortSlotSize = 16;
constexpr size_t SlotBytes = size_t(LongSlots) * LongSlotSize + size_t(WordSlots - LongSlots) * ShortSlotSize;

char* slots;
int starts[WordSlots];
int line_length;

char* Slot(int i) {
    return i < LongSlots ? slots + i * LongSlotSize
                         : slots + LongSlots * LongSlotSize + (i - LongSlots) * ShortSlotSize;
}
int SlotSize(int i) { return i < LongSlots ? LongSlotSize : ShortSlotSize; }

int Lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

bool AllocateWords() {
    if (slots == nullptr) slots = static_cast<char*>(std::calloc(1, SlotBytes));
    return slots != nullptr;
}

void FreeWords() {
    std::free(slots);
    slots = nullptr;
    word_count = 0;
}

const char* Word(int i) { return i < word_count ? Slot(i) : ""; }
int WordStart(int i) { return i < word_count ? starts[i] : line_length; }

int SplitWords(const char* line, const char* delimiters) {
    word_count = 0;
    line_length = int(std::strlen(line));
    if (slots == nullptr) return 0;
    int at = 0;
    while (word_count < WordSlots) {
        at += int(std::strspn(line + at, delimiters));
        if (line[at] == '\0') break;
        const int length = int(std::strcspn(line + at, delimiters));
        const int kept = std::min(length, SlotSize(word_count) - 1);
        std::memcpy(Slot(word_count), line + at, size_t(kept));
        Slot(word_count)[kept] = '\0';
        starts[word_count++] = at;
        at += length;
    }
    return word_count;
}

const char* SkipSpaces(const char* text) { return text + std::strspn(text, " "); }

bool KeywordMatches(const char* keyword, const char* line) {
    line = SkipSpaces(line);
    if (*line == '\0') return false;
    for (; *keyword != '\0' && *line != '\0'; ++keyword, ++line)
        // A carriage return may have left a space behind an abbreviation.
        if (Lower(*keyword) != Lower(*line)) return *SkipSpaces(line) == '\0';
    return true;
}

bool IsFirstWord(const char* keyword, const char* line) {
    line = SkipSpaces(line);
    for (; *keyword != '\0'; ++keyword, ++line)
        if (Lower(*keyword) != Lower(*line)) return false;
    return *line == '\0' || *line == ' ';
}

int64_t ParseNumber(const char* text, int64_t low, int64_t high) {
    return std::clamp<int64_t>(std::strtoll(text, nullptr, 10), low, high);
}

int64_t ParseDecimal(const char* text, int64_t scale, int64_t low, int64_t high) {
    // By hand: the library's reader also takes "inf", "nan", hexadecimal and exponents.
    text = SkipSpaces(text);
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    const double bound = double(std::max(std::llabs(low), std::llabs(high)));
    double value = 0;
    for (; IsDigit(*text); ++text) value = std::min(value * 10 + (*text - '0'), bound);
    if (*text == '.') {
        double place = 1;
        for (++text; IsDigit(*text); ++text) value += (*text - '0') * (place /= 10);
    }
    const double scaled = std::min(value * double(scale), bound);
    const int64_t rounded = std::llround(scaled);
    return std::clamp(negative ? -rounded : rounded, low, high);
}
