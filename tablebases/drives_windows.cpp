// drives_windows.cpp - see drives.h.
//
// A folder may lie on a removable disk, whose letter differs from machine to machine; hence the
// search. A drive without a disk must not ask the user for one.
#include "tablebases/drives.h"

#ifdef _WIN32

#include <windows.h>

#include "board/file_names.h"

static bool IsFolder(const std::string& name) {
    WIN32_FIND_DATAW found;
    const HANDLE handle = FindFirstFileW(PathOf(name).c_str(), &found);
    if (handle == INVALID_HANDLE_VALUE) return false;
    FindClose(handle);
    return (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::vector<std::string> FindOnDrives(const std::string& folder) {
    std::string rest = folder;
    if (rest.size() >= 2 && rest[1] == ':') rest.erase(0, 2);
    // A name on another machine has no drive, "*" and "?" would find anything, and a drive as a
    // whole is no folder.
    if (rest.compare(0, 2, "\\\\") == 0 || rest.compare(0, 2, "//") == 0) return {};
    rest.erase(0, rest.find_first_not_of("\\/"));
    while (!rest.empty() && (rest.back() == '\\' || rest.back() == '/')) rest.pop_back();
    if (rest.empty() || rest.find_first_of("*?") != std::string::npos) return {};

    std::vector<std::string> folders;
    const UINT old_mode = SetErrorMode(SEM_FAILCRITICALERRORS);
    const DWORD drives = GetLogicalDrives();
    for (int i = 0; i < 26; ++i) {
        const std::string name = std::string(1, char('A' + i)) + ":\\" + rest;
        if ((drives >> i & 1) != 0 && IsFolder(name)) folders.push_back(name);
    }
    SetErrorMode(old_mode);
    return folders;
}

#endif
