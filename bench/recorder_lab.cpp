#include "recorder_lab.h"

#include <cstdlib>
#include <fstream>

namespace tavu::bench {

namespace fs = std::filesystem;

RecorderLab::RecorderLab()
{
    const fs::path build = fs::path(programPath("")).parent_path().parent_path();
    ::setenv("QUILLON_PATH_X64", (build / "simulator").c_str(), 1);
    ::setenv("QUILLON_SIMULATOR_FOLDER", (workplace_.folder() / "lab").c_str(), 1);
    ::unsetenv("TAVUSRV_ENABLE_EMULATOR");
    fs::create_directories(workplace_.folder() / "lab");
}

fs::path RecorderLab::add(const std::string &name, const std::string &description)
{
    fs::path folder = workplace_.folder() / "lab" / name;
    fs::create_directories(folder);
    writeText(folder / "recorder.conf", description);
    return folder;
}

void writeText(const fs::path &path, const std::string &text)
{
    std::ofstream(path) << text;
}

} // namespace tavu::bench
