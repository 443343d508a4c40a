#include "emulator/emulator_test.h"
#include "platform/files.h"

namespace tavu {

namespace {

std::string dataFolder;

} // namespace

/// In the place of the library's own, which asks the system: nobody can tell that another folder.
std::string userDataFolder()
{
    return dataFolder;
}

std::filesystem::path useDataFolder(const std::filesystem::path &folder)
{
    const std::u8string path = folder.u8string();
    dataFolder.assign(path.begin(), path.end());
    return folder / "OREK Systems" / "TAVU" / "Emulator";
}

bool limitFileSizes(uint64_t)
{
    return false;
}

} // namespace tavu
