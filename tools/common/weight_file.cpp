// weight_file.cpp - see weight_file.h.
#include "tools/common/weight_file.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <utility>

#include "eval/parameters.h"
#include "tools/common/text.h"

namespace {

// Reads the text as the preprocessor would, as far as this file needs it.
struct Reader {
    const std::string& text;
    size_t at = 0;

    bool Ended() const { return at >= text.size(); }

    void SkipLine() {
        // A directive goes on behind a backslash.
        while (!Ended() && text[at] != '\n') at += text[at] == '\\' && at + 1 < text.size() ? 2 : 1;
    }
    void SkipBlanks() {
        while (!Ended()) {
            if (std::isspace(static_cast<unsigned char>(text[at]))) ++at;
            else if (text.compare(at, 2, "//") == 0 || text[at] == '#') SkipLine();
            else return;
        }
    }
    bool Take(char c) {
        SkipBlanks();
        if (Ended() || text[at] != c) return false;
        ++at;
        return true;
    }
    std::string Word() {
        SkipBlanks();
        const size_t start = at;
        while (!Ended() && (std::isalnum(static_cast<unsigned char>(text[at])) || text[at] == '_')) ++at;
        return text.substr(start, at - start);
    }
    bool SkipString() {
        if (!Take('"')) return false;
        while (!Ended() && text[at] != '"') ++at;
        return Take('"');
    }
    bool Integer(WeightList& list) {
        SkipBlanks();
        const size_t start = at;
        if (!Ended() && text[at] == '-') ++at;
        while (!Ended() && std::isdigit(static_cast<unsigned char>(text[at]))) ++at;
        if (at == start || (text[start] == '-' && at == start + 1)) return false;
        list.values.push_back(std::stoi(text.substr(start, std::min<size_t>(at - start, 9))));
        list.spots.push_back({start, at - start});
        return true;
    }
    bool List(WeightList& list) {
        if (!Take('(')) return false;
        const size_t start = at;
        do {
            if (!Integer(list)) return false;
        } while (Take(','));
        list.table = text.substr(start, at - start).find('\n') != std::string::npos;
        return Take(')');
    }
};

// One entry behind its macro's name.
bool ParseEntry(Reader& reader, const std::string& macro, std::vector<WeightList>& lists) {
    WeightList list{}, unused{};
    list.number = macro == "NUMBER" || macro == "NUMBERS";
    if (!reader.Take('(')) return false;
    list.name = reader.Word();
    if (!reader.Take(',')) return false;
    if (macro == "NUMBER") {
        const bool value = reader.Integer(list) && reader.Take(',');
        lists.push_back(list);
        return value && reader.Integer(unused) && reader.Take(',') && reader.Integer(unused) && reader.Take(',')
            && reader.SkipString() && reader.Take(')');
    }
    for (int i = 0; i < (macro == "NUMBERS" ? 3 : 1); ++i)
        if (!reader.Integer(unused) || !reader.Take(',')) return false;
    if (!reader.SkipString()) return false;
    for (int phase = 0; phase < (macro == "NUMBERS" ? 1 : 2); ++phase) {
        list.phase = phase;
        list.values.clear();
        list.spots.clear();
        if (!reader.Take(',') || !reader.List(list)) return false;
        if (int(list.values.size()) != unused.values[0]) return false;
        lists.push_back(list);
    }
    return reader.Take(')');
}

// The weights of the running program that a list stands for; null when there are none.
const int* LiveValues(const WeightList& list) {
    const int count = int(list.values.size());
    if (list.number) {
        for (int i = 0; i < NumberListLength; ++i)
            if (list.name == number_list[i].name) return number_list[i].count == count ? number_list[i].value : nullptr;
    } else {
        for (int i = 0; i < TermListLength; ++i)
            if (list.name == term_list[i].name)
                return term_list[i].count == count ? &term_weights[list.phase][term_list[i].first] : nullptr;
    }
    return nullptr;
}

bool ReadLists(const std::string& path, std::string& text, std::vector<WeightList>& lists, std::string& error) {
    if (!ReadWholeFile(path, text)) error = "cannot be read";
    else ParseWeightText(text, lists, error);
    if (!error.empty()) error = path + ": " + error;
    return error.empty();
}

}  // namespace

bool ParseWeightText(const std::string& text, std::vector<WeightList>& lists, std::string& error) {
    static const char* const macros[] = {"TERM", "SQUARE_TERM", "PASSED_TERM", "OWN_TERM", "NUMBER", "NUMBERS"};
    lists.clear();
    Reader reader{text};
    for (reader.SkipBlanks(); !reader.Ended(); reader.SkipBlanks()) {
        const size_t start = reader.at;
        const std::string macro = reader.Word();
        const bool known =
            std::any_of(std::begin(macros), std::end(macros), [&](const char* name) { return macro == name; });
        if (!known || !ParseEntry(reader, macro, lists)) {
            const auto line = 1 + std::count(text.begin(), text.begin() + std::ptrdiff_t(start), '\n');
            error = "line " + std::to_string(line) + ": not an entry of weights";
            return false;
        }
    }
    return true;
}

std::string WithValues(const std::string& text, const std::vector<WeightList>& lists) {
    std::string result;
    size_t copied = 0;
    for (const WeightList& list : lists)
        for (size_t i = 0; i < list.values.size(); ++i) {
            const auto [offset, length] = list.spots[i];
            const std::string number = std::to_string(list.values[i]);
            if (number == text.substr(offset, length)) continue;
            result.append(text, copied, offset - copied);
            copied = offset + length;
            if (list.table) {
                if (number.size() < length) result.append(length - number.size(), ' ');
                // A wider number takes the blanks before it, but the one behind a comma stays.
                for (size_t excess = number.size(); excess > length; --excess) {
                    const size_t n = result.size();
                    if (n < 2 || result[n - 1] != ' ' || (result[n - 2] != ' ' && result[n - 2] != '(')) break;
                    result.pop_back();
                }
            }
            result += number;
        }
    return result.append(text, copied, std::string::npos);
}

bool CheckWeightFile(const std::string& path, std::string& error) {
    std::string text;
    std::vector<WeightList> lists;
    error.clear();
    if (!ReadLists(path, text, lists, error)) return false;
    std::set<std::pair<std::string, int>> missing;
    for (int i = 0; i < TermListLength; ++i)
        for (int phase = 0; phase < 2; ++phase) missing.insert({term_list[i].name, phase});
    for (int i = 0; i < NumberListLength; ++i) missing.insert({number_list[i].name, 0});
    for (const WeightList& list : lists) {
        const int* live = LiveValues(list);
        if (!live || !std::equal(list.values.begin(), list.values.end(), live)) {
            error = path + ": " + list.name + " is not as in this program: build first";
            return false;
        }
        if (missing.erase({list.name, list.phase}) == 0) {
            error = path + ": " + list.name + " stands there twice";
            return false;
        }
    }
    if (!missing.empty()) error = path + ": " + missing.begin()->first + " is missing";
    else if (!CanReplaceFile(path)) error = path + ": cannot be written";
    return error.empty();
}

bool WriteWeightFile(const std::string& path, const std::vector<const int*>& fitted, std::string& error) {
    std::string text;
    std::vector<WeightList> lists;
    error.clear();
    if (!ReadLists(path, text, lists, error)) return false;
    const std::set<const int*> chosen(fitted.begin(), fitted.end());
    for (WeightList& list : lists) {
        const int* live = LiveValues(list);
        if (!live) {
            error = path + ": " + list.name + " is not as in this program";
            return false;
        }
        for (size_t i = 0; i < list.values.size(); ++i)
            if (chosen.count(live + i)) list.values[i] = live[i];
    }
    if (!ReplaceFile(path, WithValues(text, lists))) error = path + ": cannot be written";
    return error.empty();
}
