// file_names.cpp - see file_names.h.
#include "board/file_names.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

static bool Exists(const std::string& name) {
    std::error_code error;
    return !name.empty() && fs::exists(fs::path(name), error);
}

static bool EqualButForCase(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

std::string ResolveFileName(const std::string& name) {
    if (Exists(name)) return name;
    std::string slashes = name;
    std::replace(slashes.begin(), slashes.end(), '\\', '/');
    if (Exists(slashes)) return slashes;

    const fs::path path(slashes);
    const std::string wanted = path.filename().string();
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    std::error_code error;
    if (wanted.empty()) return name;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (EqualButForCase(entry->path().filename().string(), wanted)) return entry->path().string();
    return name;
}
