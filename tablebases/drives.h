// drives.h - a folder that is looked for on every drive.
#pragma once

#include <string>
#include <vector>

// The same folder on all drives that have it, in the drives' order; a drive named in `folder`
// counts for nothing. Systems without drives have none.
std::vector<std::string> FindOnDrives(const std::string& folder);
