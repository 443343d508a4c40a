#include "surroundings.h"

namespace tavu::test {

std::filesystem::path separate(const std::filesystem::path &folder)
{
    // A name that no single code page holds.
    std::filesystem::path data = folder / u8"d\u00e4ta \u6d4b\u8bd5 \U0001f3a5";
    setVariable("HOME", folder.string());
    setVariable("XDG_RUNTIME_DIR", folder.string());
    setVariable("XDG_DATA_HOME", data.string());
    return data;
}

} // namespace tavu::test
