#include "support/lab.h"

namespace tavu::test {

namespace fs = std::filesystem;

void Lab::describe(const std::string &recorder, const std::string &text) const
{
    // A library that runs must not read half a description.
    write(recorder, "recorder.new", text);
    fs::rename(folder.path / recorder / "recorder.new", folder.path / recorder / "recorder.conf");
}

void Lab::remove(const std::string &recorder) const
{
    fs::remove(folder.path / recorder / "recorder.conf");
}

void Lab::write(const std::string &recorder, const std::string &file, const std::string &text) const
{
    writeFile(folder.path / recorder / file, text);
}

std::string simulatedFrame(uint32_t port, uint64_t number, uint32_t width, uint32_t height)
{
    std::string bytes;
    for (uint64_t i = 0; i < uint64_t(width) * height; ++i) {
        const uint64_t pixel = i == 0   ? port + 1
                               : i <= 4 ? number >> (16 * (i - 1))
                                        : i % width + i / width + 8 * number + 4096 * (port + 1);
        bytes += {static_cast<char>(pixel & 0xFF), static_cast<char>(pixel >> 8 & 0xFF)};
    }
    return bytes;
}

} // namespace tavu::test
