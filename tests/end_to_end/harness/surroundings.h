#pragma once

#include "support/environment.h"

#include <filesystem>

namespace tavu::test {

/// Makes services that are started from now on keep what they have below \a folder, as far as the
/// system lets them. Returns the per-user data folder that they find.
std::filesystem::path separate(const std::filesystem::path &folder);

/// Whether the service finds its places by environment variables and has its address in a folder.
inline bool hasPlacesByEnvironment()
{
    return !onWindows();
}

/// Whether the system keeps a second service from listening.
inline bool enforcesOneInstance()
{
    return !onWine();
}

/// Whether a region's name leads to it for as long as anybody has it mapped, we included.
inline bool regionsStayForTheirUsers()
{
    return onWindows();
}

/// Whether each read of a byte costs so much that tests had better have fewer of them.
inline bool transfersAreSlow()
{
    return onWine();
}

} // namespace tavu::test
