#include <cstdlib>
#include <string>

#include <windows.h>

namespace tavu {

namespace {

/// Lets the loader find the recorder library, which is bound late, in its install folder. Without
/// the variable the ordinary search path holds.
bool addLibraryFolder()
{
    if (const char *folder = std::getenv("QUILLON_PATH_X64"))
        SetDllDirectoryA((std::string(folder) + "\\Bin").c_str());
    return true;
}

// Before main(), and so before anything can reach for the library.
[[maybe_unused]] const bool libraryFolderAdded = addLibraryFolder();

} // namespace

} // namespace tavu
