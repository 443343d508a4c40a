#include "lab.h"

#include <gtest/gtest.h>

namespace tavu::test {

namespace fs = std::filesystem;

void Lab::describe(const std::string &recorder, std::string_view text) const
{
    const std::string path = file(recorder + "/recorder.conf");
    writeFile(path + ".new", Bytes(text));
    fs::rename(nativePath(path + ".new"), nativePath(path));
}

void Lab::remove(const std::string &recorder) const
{
    fs::remove(nativePath(file(recorder + "/recorder.conf")));
}

void Lab::setFaults(Client &client, const std::string &recorder, std::string_view text)
{
    // The file has been read once the fault that marks it shows.
    const std::string mark = concat("mark ", ++marks_);
    writeFile(file(recorder + "/faults.conf"),
              concat(text, "\nDevice::connectionState 1 raise ", mark, "\n"));
    EXPECT_TRUE(waitUntil([&] { return client.call(6, "D") == error(mark); }));
}

void configurePorts(Client &client, uint32_t count, uint32_t width, uint32_t height)
{
    for (uint32_t port = 0; port < count; port++) {
        EXPECT_EQ(client.call(34, concat("D port=", port, " identity='Cam ", port,
                                         "' info=# numFramesPerPacket=3")),
                  "{}");
        EXPECT_EQ(client.call(41, concat("D port=", port, " width=", width, " height=", height,
                                         " pixelFormat=5 tapGeometry=0")),
                  "{}");
    }
}

std::string recordingOf(uint32_t portMask, std::string_view more)
{
    std::string params = concat("D portMask=", portMask, " ", more);
    for (const char *missing : {"externalTrigger=0", "usePretrigger=false", "pretriggerCount=0"}) {
        const std::string name(missing, std::string_view(missing).find('=') + 1);
        if (more.find(name) == std::string_view::npos)
            params += concat(" ", missing);
    }
    return params;
}

void recordFrames(Client &client, uint32_t portMask, uint64_t frameCount)
{
    EXPECT_EQ(client.call(42, recordingOf(portMask, concat("type=1 count=", frameCount))), "{}");
    EXPECT_TRUE(waitUntil([&] { return client.result(45, "D")["done"].text == "true"; }));
    EXPECT_EQ(client.call(43, "D"), "{}");
}

Bytes simulatedFrame(uint32_t port, uint64_t number, uint32_t width, uint32_t height)
{
    Bytes bytes;
    const auto append = [&](uint64_t pixel) {
        bytes += {static_cast<char>(pixel & 0xFF), static_cast<char>(pixel >> 8 & 0xFF)};
    };
    for (uint32_t row = 0; row < height; row++) {
        for (uint32_t column = 0; column < width; column++) {
            const uint64_t place = uint64_t(row) * width + column;
            append(place == 0   ? port + 1
                   : place <= 4 ? number >> (16 * (place - 1))
                                : column + row + 8 * number + 4096 * (port + 1));
        }
    }
    return bytes;
}

} // namespace tavu::test
