#include "support/environment.h"

#include <cstdlib>
#include <filesystem>

namespace tavu::test {

namespace {

std::wstring wide(const std::string &text)
{
    return std::filesystem::path(std::u8string(text.begin(), text.end())).wstring();
}

} // namespace

void setVariable(const std::string &name, const std::optional<std::string> &value)
{
    _wputenv_s(wide(name).c_str(), wide(value.value_or("")).c_str());
}

} // namespace tavu::test
