#include "support/environment.h"

#include <windows.h>

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

bool onWindows()
{
    return true;
}

bool onWine()
{
    const HMODULE library = GetModuleHandleW(L"ntdll.dll");
    return library && GetProcAddress(library, "wine_get_version");
}

} // namespace tavu::test
