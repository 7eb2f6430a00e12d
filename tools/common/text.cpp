// text.cpp - see text.h.
#include "tools/common/text.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>

#include "board/file_names.h"

namespace {

namespace fs = std::filesystem;

// A file that is about to take another one's place.
struct NewFile {
    fs::path target, temporary;
    std::FILE* file = nullptr;
};

// Opens a file beside the one that `path` leads to, so that the links on the way stay what they
// are, with that one's rights. The name is new: a file of this name may be somebody's. No file
// and the reason when there is something else than a regular file, or no room for a new one.
NewFile OpenNewFile(const std::string& path, std::string& why) {
    NewFile opened;
    std::error_code error;
    opened.target = PathOf(path);
    for (int links = 0; fs::is_symlink(opened.target, error) && links < 40; ++links)
        opened.target = opened.target.parent_path() / fs::read_symlink(opened.target, error);
    const fs::file_status old = fs::status(opened.target, error);
    if ((fs::exists(old) && !fs::is_regular_file(old)) || fs::is_symlink(opened.target, error)) {
        why = "is no regular file";
        return opened;
    }
    for (int number = 0; opened.file == nullptr && number < 1000; ++number) {
        opened.temporary = opened.target;
        opened.temporary += ".new" + (number == 0 ? "" : std::to_string(number));
        opened.file = OpenFile(opened.temporary, "wbx");
        if (opened.file == nullptr && errno != EEXIST) break;
    }
    if (opened.file == nullptr) why = "cannot be written";
    else if (fs::exists(old)) fs::permissions(opened.temporary, old.permissions(), error);
    return opened;
}

}  // namespace

bool ReadStream(std::FILE* file, std::string& text) {
    text.clear();
    char piece[65536];
    for (size_t length; (length = std::fread(piece, 1, sizeof piece, file)) > 0;) text.append(piece, length);
    return !std::ferror(file);
}

bool ReadWholeFile(const std::string& path, std::string& text) {
    std::FILE* file = OpenFile(PathOf(path), "rb");
    if (!file) return false;
    const bool read = ReadStream(file, text);
    std::fclose(file);
    return read;
}

bool ReplaceFile(const std::string& path, const std::string& text) {
    std::string why;
    const NewFile made = OpenNewFile(path, why);
    if (made.file == nullptr) return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), made.file) == text.size();
    std::error_code error;
    if (std::fclose(made.file) == 0 && written) {
        fs::rename(made.temporary, made.target, error);
        if (!error) return true;
    }
    fs::remove(made.temporary, error);
    return false;
}

bool CanReplaceFile(const std::string& path, std::string* why) {
    std::string reason;
    const NewFile made = OpenNewFile(path, reason);
    if (why != nullptr) *why = reason;
    if (made.file == nullptr) return false;
    std::fclose(made.file);
    std::error_code error;
    fs::remove(made.temporary, error);
    return true;
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string LowerCase(std::string text) {
    for (char& c : text) c = char(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string Shown(const std::string& text) {
    constexpr size_t MostShown = 40;
    std::string shown = text.substr(0, MostShown);
    for (char& c : shown)
        if (std::iscntrl(static_cast<unsigned char>(c))) c = '?';
    return shown + (text.size() > MostShown ? "..." : "");
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

bool AsksForHelp(int argc, char** argv) {
    const std::string word = argc > 1 ? argv[1] : "";
    return word == "--help" || word == "-h";
}
