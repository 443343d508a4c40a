#include "emulator/emulator_test.h"

#include <cstdlib>

namespace tavu {

std::filesystem::path useDataFolder(const std::filesystem::path &folder)
{
    ::setenv("XDG_DATA_HOME", folder.c_str(), 1);
    return folder / "OREK Systems" / "TAVU" / "Emulator";
}

} // namespace tavu
