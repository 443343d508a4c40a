#include "lab.h"

#include <cstdlib>

namespace tavu {

void setSimulatorFolder(const std::filesystem::path &folder)
{
    setenv("QUILLON_SIMULATOR_FOLDER", folder.c_str(), 1);
}

} // namespace tavu
