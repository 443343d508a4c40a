#include "catalogue.h"
#include "peers/recorder_loop.h"
#include "peers/roles.h"

#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace tavu::bench {

namespace {

/// What every reader of a small file must do at the least.
void readFile(const std::string &path)
{
    char buffer[65536];
    const int file = ::open(path.c_str(), O_RDONLY);
    while (::read(file, buffer, sizeof buffer) == sizeof buffer) {
    }
    ::close(file);
}

} // namespace

void readRecords(const Arguments &arguments)
{
    const std::string &folder = arguments.at(0);
    readFile(folder + "/.files");
    const auto count = static_cast<uint32_t>(std::stoul(arguments.at(1)));
    for (uint32_t id = 1; id <= count; ++id)
        readFile(recordFile(folder, id));
}

void readMetadata(const Arguments &)
{
    if (RecorderLoop().readMetadata() == 0)
        throw std::runtime_error("there are no files");
}

} // namespace tavu::bench
