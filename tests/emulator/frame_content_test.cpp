#include "emulator/frame_header.h"
#include "emulator/frame_ramp.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tavu {
namespace {

std::string hex(const FrameHeader &header)
{
    std::string text;
    for (const uint8_t byte : header.bytes())
        text.append({"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]});
    return text;
}

TEST(FrameHeader, HasFixedBytesAndTime)
{
    constexpr uint64_t day = 86400000;
    const struct
    {
        uint64_t clock;
        const char *words;
    } cases[] = {
        {day, "0400000000000000"},
        {day + 33, "040000000000e880"},
        {day + 999, "040000000f00583e"},
        {2 * day - 999, "0500fb7e0000e803"}, // 23:59:59.001
        {366 * day + 20 * 3600000, "0100004000000000"},
    };
    FrameHeader header;
    for (const auto &c : cases) {
        header.stamp(c.clock, 0x01020304);
        EXPECT_EQ(hex(header), "0f00" + std::string(c.words) +
                                   "0000aa7746777278d81d04030201d430000000003f00" +
                                   std::string(24, '0') + "983a00000000cd2d0300ff3f000000090301" +
                                   "fc080e7822784078527a" + std::string(36, '0') + "0e000100" +
                                   std::string(64, '0'));
    }
}

TEST(FrameRamp, WrapsAndStopsAtTheCount)
{
    for (const size_t count : {0, 1, 63, 64, 65, 70000}) {
        std::vector<uint16_t> pixels(count + 1, 0xEEEE);
        fillRamp(pixels.data(), count, 65530);
        const auto *bytes = reinterpret_cast<const uint8_t *>(pixels.data());
        size_t wrong = 0;
        for (size_t i = 0; i < count; ++i)
            wrong += size_t(bytes[2 * i] + 256 * bytes[2 * i + 1]) != (65530 + i) % 65536;
        EXPECT_EQ(wrong, 0u) << count;
        EXPECT_EQ(pixels[count], 0xEEEE) << count;
    }
}

} // namespace
} // namespace tavu
