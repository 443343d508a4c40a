#pragma once

#include <filesystem>

namespace tavu::test {

/// Makes services that are started from now on keep what they have below \a folder, as far as the
/// system lets them. Returns the per-user data folder that they find.
std::filesystem::path separate(const std::filesystem::path &folder);

/// Whether the service finds its places by environment variables and has its address in a folder.
bool hasPlacesByEnvironment();

/// Whether the system keeps a second service from listening.
bool enforcesOneInstance();

/// Whether a region's name leads to it for as long as anybody has it mapped, we included.
bool regionsStayForTheirUsers();

/// Whether each read of a byte costs so much that tests had better have fewer of them.
bool transfersAreSlow();

} // namespace tavu::test
