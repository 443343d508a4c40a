#include "emulator/emulator_test.h"

#include <csignal>
#include <cstdlib>
#include <sys/resource.h>

namespace tavu {

std::filesystem::path useDataFolder(const std::filesystem::path &folder)
{
    ::setenv("XDG_DATA_HOME", folder.c_str(), 1);
    return folder / "OREK Systems" / "TAVU" / "Emulator";
}

bool limitFileSizes(uint64_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit;
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes ? bytes : limit.rlim_max;
    return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

} // namespace tavu
