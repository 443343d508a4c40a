#include "client/tavuctl/frame_sink.h"

#include <gtest/gtest.h>
#include <png.h>

namespace tavu::ctl {
namespace {

/// The pixels of a picture of 16-bit greys; none for any other picture.
std::vector<uint16_t> decode(const std::vector<uint8_t> &bytes, uint32_t width, uint32_t height)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    const bool isRead = png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) != 0;
    std::vector<uint16_t> pixels(size_t(image.width) * image.height);
    if (!isRead || image.width != width || image.height != height ||
        image.format != PNG_FORMAT_LINEAR_Y ||
        !png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr))
        pixels.clear();
    png_image_free(&image);
    return pixels;
}

TEST(Png, KeepsEveryBit)
{
    for (const auto &[width, height] : {std::pair(1u, 1u), {3u, 2u}, {640u, 5u}}) {
        std::vector<uint16_t> pixels(size_t(width) * height);
        for (size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<uint16_t>(i * 40503 + 1);
        EXPECT_EQ(decode(encodePng({width, height, pixels}), width, height), pixels);
    }
}

} // namespace
} // namespace tavu::ctl
