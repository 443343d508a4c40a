#include "client/region.h"

#include "client/errors.h"

#include <gtest/gtest.h>

namespace tavu::client {
namespace {

TEST(Region, ShowsFramesAndNothingBeyondItsEnd)
{
    SharedRegion owner;
    ASSERT_TRUE(owner.createUnique("tavu_client_test", 640 * 480 * 2, false));
    auto *pixels = static_cast<uint16_t *>(owner.view());
    pixels[0] = 1;
    pixels[640 * 480 - 1] = 0xFFFF;

    const Region region(owner.mappingName());
    const FrameView frame = region.frame(640, 480);
    EXPECT_EQ(frame.pixels.size(), 640u * 480);
    EXPECT_EQ(frame.pixels.front(), 1);
    EXPECT_EQ(frame.row(479).back(), 0xFFFF);
    EXPECT_TRUE(region.frame(0, 480).pixels.empty());
    const auto all = static_cast<uint32_t>(region.pixels().size());
    EXPECT_EQ(region.frame(all, 1).pixels.size(), all);
    EXPECT_THROW(region.frame(all + 1, 1), ProtocolError);
    EXPECT_THROW(region.frame(65535, 65535), ProtocolError);
    EXPECT_THROW(region.frame(~0u, ~0u), ProtocolError);
    for (const char *missing : {"tavu_client_test_none", ""})
        EXPECT_THROW(Region{missing}, Error);
}

} // namespace
} // namespace tavu::client
