// file_names.h - names of files, and finding those whose names come from another operating system.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

// A name as we read and print it, as the operating system takes it, and back. Windows' names are no
// bytes: ours are UTF-8 there, and text that is none is taken to be of the system's code page. On
// other systems a name is the bytes that it is.
std::filesystem::path PathOf(const std::string& name);
std::string NameOf(const std::filesystem::path& path);

// As fopen() does: OpenFile(PathOf(name), "rb"). The one mode with an "x" is "wbx", a new file.
std::FILE* OpenFile(const std::filesystem::path& path, const char* mode);

// The name under which the file or folder exists: as it stands, else with '\' taken as '/',
// else without regard to case in its folder. The name itself when none of these exists.
// Front ends send back the names we announce, and those are written the Windows way.
std::string ResolveFileName(const std::string& name);
