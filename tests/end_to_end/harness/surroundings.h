#pragma once

#include "child_process.h"

namespace tavu::test {

/// Makes processes that start with \a options, and no other service, keep what they have below \a
/// folder, as far as the system lets them. Returns the per-user data folder that they find.
std::string separate(ProcessOptions &options, const std::string &folder);

/// Whether the service finds its places by environment variables and has its address in a folder.
bool hasPlacesByEnvironment();

/// Whether the system keeps a second service from listening.
bool enforcesOneInstance();

/// Whether a region's name leads to it for as long as anybody has it mapped, we included.
bool regionsStayForTheirUsers();

} // namespace tavu::test
