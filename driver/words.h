// words.h - cutting lines into words, recognising keywords, reading numbers.
#pragma once

#include <cstdint>

// The words of the last line that was split. Slots 0..63 hold 511 characters, the others 15;
// longer words are cut there, so a value that may be long is taken from the line by its start.
constexpr int WordSlots = 2048;
extern int word_count;
const char* Word(int i);  // "" beyond the last word
// Offset in the line where the word begins; of its length when there is no such word.
int WordStart(int i);

bool AllocateWords();  // once at program start; false when memory is short
void FreeWords();

// Fills the words from `line`, separated by any of `delimiters`; runs of them make no empty
// words. Returns word_count; words beyond the last slot are dropped.
int SplitWords(const char* line, const char* delimiters);

// Do keyword and line agree, capitals or not, spaces around the line apart, up to the end of
// the shorter one? Either may so be a prefix of the other. An empty line matches nothing.
bool KeywordMatches(const char* keyword, const char* line);
// Is the keyword the line's first word, capitals or not?
bool IsFirstWord(const char* keyword, const char* line);
const char* SkipSpaces(const char* text);

// Whole number at the start of the text, 0 when there is none, never outside [low, high].
int64_t ParseNumber(const char* text, int64_t low, int64_t high);
// Decimal number such as "0.05" or "-2", times `scale`, rounded to the nearest whole number,
// never outside [low, high]. 0 when there is none.
int64_t ParseDecimal(const char* text, int64_t scale, int64_t low, int64_t high);
