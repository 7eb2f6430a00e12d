// weight_file.h - reading and rewriting the numbers of eval/weights.def as text.
//
// The file is source code that people read and edit, so a tuning run changes its integers and
// leaves everything else: comments, order, layout. Numbers in lists of several lines keep their
// columns as far as they fit.
#pragma once

#include <string>
#include <vector>

// One list of numbers in the text: a term's opening or endgame half, or the value(s) of a NUMBER.
struct WeightList {
    std::string name;
    int phase;  // 0 opening, 1 endgame; 0 for numbers
    bool number;
    std::vector<int> values;
    // Where each value stands in the text: offset of its first character, and its length.
    struct Spot {
        size_t offset, length;
    };
    std::vector<Spot> spots;
    bool table;  // spread over several lines: keep columns
};

// All lists in the order of the text. False, with a message, when the text is not such a file.
bool ParseWeightText(const std::string& text, std::vector<WeightList>& lists, std::string& error);

// The text with the numbers of `lists`, as ParseWeightText() made them, replaced by their present
// values. Numbers that have not changed keep every character.
std::string WithValues(const std::string& text, const std::vector<WeightList>& lists);

// Is the file what the running program was built from: every term and number once, with its
// present weights, and can it be replaced? Otherwise false, with a message. To be asked before
// weights change, or the result would mix the fit of one list with the rest of another.
bool CheckWeightFile(const std::string& path, std::string& error);

// Rewrites the numbers in the file that stand for the weights in `fitted`, by address; it is
// replaced as a whole or not at all. A list that the program does not know, or of another length,
// is an error.
bool WriteWeightFile(const std::string& path, const std::vector<const int*>& fitted, std::string& error);
