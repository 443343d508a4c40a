#pragma once

#include <optional>
#include <string>

namespace tavu {

/// The value of an environment variable; empty optional when it isn't set.
std::optional<std::string> environmentVariable(const char *name);

/// True when the variable is set and not empty.
bool environmentFlag(const char *name);

} // namespace tavu
