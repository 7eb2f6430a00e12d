// file_names.h - finding files whose names come from another operating system.
#pragma once

#include <string>

// The name under which the file or folder exists: as it stands, else with '\' taken as '/',
// else without regard to case in its folder. The name itself when none of these exists.
// Front ends send back the names we announce, and those are written the Windows way.
std::string ResolveFileName(const std::string& name);
