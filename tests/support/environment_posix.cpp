#include "support/environment.h"

#include <cstdlib>

namespace tavu::test {

void setVariable(const std::string &name, const std::optional<std::string> &value)
{
    if (value)
        setenv(name.c_str(), value->c_str(), 1);
    else
        unsetenv(name.c_str());
}

bool onWindows()
{
    return false;
}

bool onWine()
{
    return false;
}

} // namespace tavu::test
