#include "client/tavuctl/frame_check.h"

#include "client/tavuctl/session.h"

#include <gtest/gtest.h>

namespace tavu::ctl {
namespace {

/// Frame \a number of port \a port, by another road than the check's.
std::vector<uint16_t> simulatedFrame(uint32_t width, uint32_t height, uint32_t port,
                                     uint64_t number)
{
    std::vector<uint16_t> pixels;
    for (uint32_t i = 0; i < width * height; ++i)
        pixels.push_back(i == 0  ? static_cast<uint16_t>(port)
                         : i < 5 ? static_cast<uint16_t>(number >> (16 * (i - 1)))
                                 : static_cast<uint16_t>(i % width + i / width + 8 * number +
                                                         4096 * uint64_t(port)));
    return pixels;
}

TEST(FrameCheck, TakesSimulatedFramesOfEveryShape)
{
    struct Case
    {
        uint32_t width, height, port;
        uint64_t number;
    };
    for (const Case &c : {Case{640, 3, 1, 0}, Case{7, 40, 4, 65536}, Case{2, 5, 255, 8191},
                          Case{1, 9, 16, 0x123456789ABCull}, Case{3, 1, 2, 9}, Case{1, 1, 3, 7}}) {
        const auto pixels = simulatedFrame(c.width, c.height, c.port, c.number);
        EXPECT_EQ(faultOfSimulatedFrame(c.number, c.port, {c.width, c.height, pixels}), "");
        EXPECT_EQ(faultOfSimulatedFrame(c.number, 0, {c.width, c.height, pixels}), "");
    }
}

TEST(FrameCheck, SeesEachWrongPixelOfASimulatedFrame)
{
    const std::vector<uint16_t> right = simulatedFrame(9, 4, 2, 70000);
    for (size_t i = 0; i < right.size(); ++i) {
        std::vector<uint16_t> pixels = right;
        pixels[i] ^= 0x8000;
        EXPECT_NE(faultOfSimulatedFrame(70000, 2, {9, 4, pixels}), "") << i;
    }
    EXPECT_EQ(faultOfSimulatedFrame(70001, 2, {9, 4, right}), "has the number 70000");

    std::vector<uint16_t> pixels = right;
    pixels[2 * 9 + 6] = 1;
    FrameCheck check([](uint64_t number, const client::FrameView &frame) {
        return faultOfSimulatedFrame(number, 2, frame);
    });
    check.check(70000, {9, 4, right});
    EXPECT_NO_THROW(check.require(1));
    check.check(70000, {9, 4, pixels});
    check.check(5, {9, 4, right});
    EXPECT_EQ(check.wrong(), 2u);
    EXPECT_EQ(check.first(), "frame 70000 has 1 instead of " +
                                 std::to_string((6 + 2 + 8 * 70000 + 2 * 4096) % 65536) +
                                 " in column 6 of row 2");
    EXPECT_THROW(check.require(3), Failure);
}

} // namespace
} // namespace tavu::ctl
