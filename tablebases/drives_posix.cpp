// drives_posix.cpp - see drives.h: there are no drives here.
#include "tablebases/drives.h"

#ifndef _WIN32

std::vector<std::string> FindOnDrives(const std::string&) { return {}; }

#endif
