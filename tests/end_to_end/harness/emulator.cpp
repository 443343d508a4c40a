#include "emulator.h"

#include <algorithm>
#include <stdexcept>

namespace tavu::test {

namespace {

Bytes littleEndian(uint64_t value, int size)
{
    Bytes bytes;
    for (int i = 0; i < size; i++, value >>= 8)
        bytes += static_cast<char>(value & 0xFF);
    return bytes;
}

Bytes expectedHeader(uint64_t number)
{
    const uint64_t clock = 86400000 + 33 * number;
    const uint64_t day = clock / 86400000, hour = clock / 3600000 % 24;
    const uint64_t minute = clock / 60000 % 60, second = clock / 1000 % 60;
    const uint64_t microseconds = clock % 1000 * 1000;
    const struct
    {
        size_t offset;
        int size;
        uint64_t value;
    } fields[] = {
        {0, 1, 0x0F},        {2, 2, day % 366 * 4 | hour >> 4},
        {4, 2, hour << 12 | minute << 6 | second},
        {6, 2, microseconds >> 16},
        {8, 2, microseconds},
        {10, 4, 0x77AA0000}, {14, 4, 0x78727746 /* Fwrx */},
        {18, 2, 0x1DD8},     {20, 4, number},
        {24, 4, 12500},      {28, 4, 0x003F0000},
        {44, 2, 15000},      {50, 4, 208333},
        {54, 4, 16383},      {59, 1, 9},
        {60, 1, 3},          {61, 1, 1},
        {62, 4, 0x780E08FC}, {66, 4, 0x78407822},
        {70, 2, 0x7A52},     {90, 4, 0x0001000E},
    };
    Bytes header(126, '\0');
    for (const auto &field : fields)
        header.replace(field.offset, static_cast<size_t>(field.size),
                       littleEndian(field.value, field.size));
    return header;
}

} // namespace

void configure(Client &client, uint32_t width, uint32_t height)
{
    client.call(34, "deviceId=0 port=0 identity='Cam' info=#0102 numFramesPerPacket=3");
    client.call(41, concat("deviceId=0 port=0 width=", width, " height=", height,
                           " pixelFormat=5 tapGeometry=6"));
}

void startRecording(Client &client, std::optional<uint64_t> frameCount)
{
    const std::string answer = client.call(
        42, concat("deviceId=0 portMask=1 externalTrigger=0 type=", frameCount ? 1 : 0,
                   " count=", frameCount.value_or(0), " usePretrigger=false pretriggerCount=0"));
    if (answer != "{}")
        throw std::runtime_error("no recording: " + answer);
}

uint64_t record(Client &client, uint64_t frameCount)
{
    startRecording(client, frameCount);
    if (!waitUntil([&] { return client.call(45, "deviceId=0") == R"({"result":{"done":true}})"; }))
        throw std::runtime_error("the recording doesn't end");
    if (const std::string answer = client.call(43, "deviceId=0"); answer != "{}")
        throw std::runtime_error("can't stop: " + answer);
    return client.result(46, "deviceId=0 port=0")["fileId"].number;
}

Bytes expectedFrame(uint64_t number, uint32_t width, uint32_t height)
{
    const uint64_t pixels = uint64_t(width) * height;
    Bytes frame = expectedRamp(number * pixels, pixels);
    const Bytes header = expectedHeader(number).substr(0, std::min<uint64_t>(2 * width, 126));
    return frame.replace(0, header.size(), header);
}

Bytes expectedRamp(uint64_t first, uint64_t count)
{
    Bytes bytes;
    for (uint64_t i = first; i < first + count; i++)
        bytes += littleEndian(i, 2);
    return bytes;
}

} // namespace tavu::test
