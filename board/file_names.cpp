// file_names.cpp - see file_names.h.
#include "board/file_names.h"

#include <algorithm>
#include <cctype>
#include <system_error>

#ifdef _WIN32
#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
#endif

namespace fs = std::filesystem;

#ifdef _WIN32

// False when the text has bytes that are none of this code page.
static bool Widen(unsigned code_page, const std::string& text, std::wstring* wide) {
    const int bytes = int(text.size());
    wide->assign(text.size(), L'\0');  // more are never needed
    const int length =
        MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.data(), bytes, wide->data(), int(wide->size()));
    wide->resize(size_t(length));
    return length > 0;
}

// The code page of the machine's programs. Our process has UTF-8 instead, by its manifest.
static unsigned SystemCodePage() {
    DWORD code_page = CP_ACP;
    GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                   reinterpret_cast<wchar_t*>(&code_page), sizeof code_page / sizeof(wchar_t));
    return code_page;
}

fs::path PathOf(const std::string& name) {
    std::wstring wide;
    if (Widen(CP_UTF8, name, &wide) || Widen(SystemCodePage(), name, &wide)) return wide;
    return std::wstring(name.begin(), name.end());  // a name of no file, but no other name either
}

std::string NameOf(const fs::path& path) {
    const std::wstring& wide = path.native();
    const int length = int(wide.size());
    std::string name(3 * wide.size(), '\0');
    name.resize(
        size_t(WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, name.data(), int(name.size()), nullptr, nullptr)));
    return name;
}

std::FILE* OpenFile(const fs::path& path, const char* mode) {
    if (std::strchr(mode, 'x') == nullptr) return _wfopen(path.c_str(), fs::path(mode).c_str());
    // The library of Windows passes over the "x", and would empty the file that is there.
    const int made = _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
    return made >= 0 ? _fdopen(made, "wb") : nullptr;
}

#else

fs::path PathOf(const std::string& name) { return name; }
std::string NameOf(const fs::path& path) { return path.string(); }
std::FILE* OpenFile(const fs::path& path, const char* mode) { return std::fopen(path.c_str(), mode); }

#endif

static bool Exists(const std::string& name) {
    std::error_code error;
    return !name.empty() && fs::exists(PathOf(name), error);
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

    const fs::path path = PathOf(slashes);
    const std::string wanted = NameOf(path.filename());
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    std::error_code error;
    if (wanted.empty()) return name;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (EqualButForCase(NameOf(entry->path().filename()), wanted)) return NameOf(entry->path());
    return name;
}
