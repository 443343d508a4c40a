#include "platform/environment.h"

#include <cstdlib>

namespace tavu {

std::optional<std::string> environmentVariable(const char *name)
{
    const char *value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

bool environmentFlag(const char *name)
{
    const char *value = std::getenv(name);
    return value && *value;
}

} // namespace tavu
