// text.h - what every tool does with text: files, lines, parts and numbers.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdio>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

// All that is left in an open file. False when reading fails; an empty file is no failure.
bool ReadStream(std::FILE* file, std::string& text);
bool ReadWholeFile(const std::string& path, std::string& text);

// The file gets this text as a whole or stays as it was: the text is written beside it first. It
// keeps its rights, and links to it stay links. What is no regular file is left alone: false.
bool ReplaceFile(const std::string& path, const std::string& text);
// Would ReplaceFile() succeed, as far as one can tell before? Leaves the file alone. `why` gets the
// reason against it, to stand behind the name.
bool CanReplaceFile(const std::string& path, std::string* why = nullptr);

bool EndsWith(const std::string& text, const std::string& end);
std::string LowerCase(std::string text);
// Text of a file in a message: the first 40 bytes, control characters as '?'.
std::string Shown(const std::string& text);
// The line that begins at `at`, which moves behind it; line ends of both kinds are cut off. False
// at the end of the text.
bool NextLine(const std::string& text, size_t& at, std::string& line);
// At every separator, so there is one part more than separators.
std::vector<std::string> Split(const std::string& text, char separator);

// Is the first word of a command line --help or -h?
bool AsksForHelp(int argc, char** argv);

// False when the word is no number, has anything behind the number, or lies outside low..high;
// `number` then keeps its value.
template <typename Number>
bool ParseNumber(const std::string& word, std::type_identity_t<Number> low, std::type_identity_t<Number> high,
                 Number& number) {
    Number value{};
    const char* const end = word.data() + word.size();
    const auto [behind, error] = std::from_chars(word.data(), end, value);
    // "nan" is a number to the library and fails both comparisons.
    if (error != std::errc() || behind != end || !(value >= low && value <= high)) return false;
    number = value;
    return true;
}
