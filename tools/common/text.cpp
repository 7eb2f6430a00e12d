// text.cpp - see text.h.
#include "tools/common/text.h"

#include <algorithm>
#include <filesystem>

bool ReadStream(std::FILE* file, std::string& text) {
    text.clear();
    char piece[65536];
    for (size_t length; (length = std::fread(piece, 1, sizeof piece, file)) > 0;) text.append(piece, length);
    return !std::ferror(file);
}

bool ReadWholeFile(const std::string& path, std::string& text) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return false;
    const bool read = ReadStream(file, text);
    std::fclose(file);
    return read;
}

bool ReplaceFile(const std::string& path, const std::string& text) {
    const std::string temporary = path + ".new";
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (!file) return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (std::fclose(file) == 0 && written && std::rename(temporary.c_str(), path.c_str()) == 0) return true;
    std::remove(temporary.c_str());
    return false;
}

bool CanReplaceFile(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) return false;
    const std::string temporary = path + ".new";
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (!file) return false;
    std::fclose(file);
    std::remove(temporary.c_str());
    return true;
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool NextLine(const std::string& text, size_t& at, std::string& line) {
    if (at >= text.size()) return false;
    const size_t end = std::min(text.find('\n', at), text.size());
    line.assign(text, at, end - at);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    at = end + 1;
    return true;
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator) parts.emplace_back();
        else parts.back() += c;
    }
    return parts;
}
