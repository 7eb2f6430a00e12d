// epd.h - a position with operations: four FEN fields, then "name operand...;" any number of times.
#pragma once

#include <string>
#include <vector>

struct EpdRecord {
    std::string fen;                                   // the four fields
    std::vector<std::vector<std::string>> operations;  // each its name and its operands, quotes taken off

    // The operation of that name, null without one or when it has no operand.
    const std::vector<std::string>* Find(const char* name) const;
};

// False when the line has fewer than four fields. Whether the position can be played is left to
// IsPlayable(). The two clocks of a FEN may stand behind the fields and are passed over.
bool ParseEpd(const std::string& line, EpdRecord& record);
