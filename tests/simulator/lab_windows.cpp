#include "lab.h"

#include <windows.h>

namespace tavu {

void setSimulatorFolder(const std::filesystem::path &folder)
{
    SetEnvironmentVariableW(L"QUILLON_SIMULATOR_FOLDER", folder.c_str());
}

} // namespace tavu
