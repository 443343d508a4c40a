#pragma once

#include "support/environment.h"

#include <filesystem>

namespace tavu::test {

/// Makes services that are started from now on keep what they have below \a folder, as far as the
/// system lets them. Returns the per-user data folder that they find.
std::filesystem::path separate(const std::filesystem::path &folder);

} // namespace tavu::test
