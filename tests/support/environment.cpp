#include "support/environment.h"

#include <cstdlib>

namespace tavu::test {

ScopedVariable::ScopedVariable(const std::string &name, const std::optional<std::string> &value)
    : name_(name)
{
    if (const char *former = std::getenv(name.c_str()))
        former_ = former;
    setVariable(name, value);
}

ScopedVariable::~ScopedVariable()
{
    setVariable(name_, former_);
}

} // namespace tavu::test
