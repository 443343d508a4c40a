#include "support/lab.h"

#include <algorithm>

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

Bytes simulatedFrame(uint32_t port, uint64_t number, uint32_t width, uint32_t height)
{
    Bytes bytes;
    for (uint64_t i = 0; i < uint64_t(width) * height; ++i) {
        const uint64_t pixel = i == 0   ? port + 1
                               : i <= 4 ? number >> (16 * (i - 1))
                                        : i % width + i / width + 8 * number + 4096 * (port + 1);
        bytes += {static_cast<char>(pixel & 0xFF), static_cast<char>(pixel >> 8 & 0xFF)};
    }
    return bytes;
}

Bytes expectedFrame(uint64_t number, uint32_t width, uint32_t height)
{
    const uint64_t pixels = uint64_t(width) * height;
    Bytes header = fromHex("0F00 0400 0000 0000 0000 0000AA77 46777278 D81D 00000000 D4300000"
                           "00003F00 000000000000000000000000 983A 00000000 CD2D0300 FF3F0000"
                           "00 090301 FC080E78 22784078 527A 000000000000000000000000000000000000"
                           "0E000100 00000000000000000000000000000000000000000000000000000000"
                           "00000000");
    const uint64_t milliseconds = 33 * number;
    const uint64_t second = milliseconds / 1000, microseconds = milliseconds % 1000 * 1000;
    header[4] = static_cast<char>(second);
    header[6] = static_cast<char>(microseconds >> 16);
    header.replace(8, 2, expectedRamp(microseconds, 1));
    header.replace(20, 2, expectedRamp(number, 1));
    header.resize(std::min<size_t>(header.size(), 2 * width));
    return expectedRamp(number * pixels, pixels).replace(0, header.size(), header);
}

Bytes expectedRamp(uint64_t first, uint64_t count)
{
    Bytes bytes;
    for (uint64_t i = first; i < first + count; ++i)
        bytes += {static_cast<char>(i & 0xFF), static_cast<char>(i >> 8 & 0xFF)};
    return bytes;
}

} // namespace tavu::test
