#include "client/tavuctl/frame_check.h"

#include "client/tavuctl/session.h"
#include "support/lab.h"

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

namespace tavu::ctl {
namespace {

/// A frame of a port that counts from 1.
std::vector<uint16_t> frameOf(uint32_t width, uint32_t height, uint32_t port, uint64_t number)
{
    const std::string bytes = test::simulatedFrame(port - 1, number, width, height);
    std::vector<uint16_t> pixels(bytes.size() / 2);
    std::memcpy(pixels.data(), bytes.data(), bytes.size());
    return pixels;
}

TEST(FrameCheck, TakesSimulatedFramesOfEveryShape)
{
    const std::tuple<uint32_t, uint32_t, uint32_t, uint64_t> cases[] = {
        {640, 3, 1, 0}, {7, 40, 4, 65536}, {2, 5, 255, 8191}, {1, 9, 16, 0x123456789ABCull},
        {3, 1, 2, 9},   {1, 1, 3, 7}};
    for (const auto &[width, height, port, number] : cases) {
        const auto pixels = frameOf(width, height, port, number);
        for (const uint32_t expected : {port, 0u})
            EXPECT_EQ(faultOfSimulatedFrame(number, expected, {width, height, pixels}), "");
    }
}

TEST(FrameCheck, SeesEachWrongPixelOfASimulatedFrame)
{
    const std::vector<uint16_t> right = frameOf(9, 4, 2, 70000);
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
