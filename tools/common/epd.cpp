// epd.cpp - see epd.h.
#include "tools/common/epd.h"

#include <algorithm>

const std::vector<std::string>* EpdRecord::Find(const char* name) const {
    for (const std::vector<std::string>& operation : operations)
        if (operation.size() > 1 && operation[0] == name) return &operation;
    return nullptr;
}

bool ParseEpd(const std::string& line, EpdRecord& record) {
    constexpr const char* Blanks = " \t\r";
    record = EpdRecord{};
    int fields = 0;
    bool clocks = true;  // what comes may still be a clock
    std::vector<std::string> operation;
    const auto end_operation = [&] {
        if (!operation.empty()) record.operations.push_back(operation);
        operation.clear();
    };
    for (size_t at = 0; (at = line.find_first_not_of(Blanks, at)) != std::string::npos;) {
        const bool quoted = line[at] == '"';
        if (line[at] == ';') {
            end_operation();
            clocks = false;
            ++at;
            continue;
        }
        // A quoted operand may hold blanks and semicolons.
        const size_t start = at + quoted;
        const size_t end = std::min(quoted ? line.find('"', start) : line.find_first_of(" \t\r;", at), line.size());
        const std::string word = line.substr(start, end - start);
        at = end + quoted;
        if (fields < 4) {
            record.fen += (fields++ > 0 ? " " : "") + word;
            continue;
        }
        clocks &= word.find_first_not_of("0123456789") == std::string::npos;
        if (!clocks) operation.push_back(word);
    }
    end_operation();
    return fields == 4;
}
