#include "client/tavuctl/frame_sink.h"

#include <cstring>
#include <gtest/gtest.h>
#include <png.h>

namespace tavu::ctl {
namespace {

struct Source
{
    std::vector<uint8_t> bytes;
    size_t position = 0;
};

void readBytes(png_structp png, png_bytep target, size_t count)
{
    auto &source = *static_cast<Source *>(png_get_io_ptr(png));
    if (source.bytes.size() - source.position < count)
        png_error(png, "cut off");
    std::memcpy(target, source.bytes.data() + source.position, count);
    source.position += count;
}

/// The pixels of a picture of 16-bit greys; none for any other picture.
std::vector<uint16_t> decode(Source source, uint32_t width, uint32_t height)
{
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    std::vector<uint16_t> pixels(size_t(width) * height);
    if (setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_read_struct(&png, &info, nullptr);
        return {};
    }
    png_set_read_fn(png, &source, readBytes);
    png_read_info(png, info);
    if (png_get_image_width(png, info) != width || png_get_image_height(png, info) != height ||
        png_get_bit_depth(png, info) != 16 || png_get_color_type(png, info) != PNG_COLOR_TYPE_GRAY)
        png_error(png, "another kind of picture");
    for (uint32_t y = 0; y < height; ++y) {
        auto *row = reinterpret_cast<png_bytep>(&pixels[size_t(y) * width]);
        png_read_row(png, row, nullptr);
        for (uint32_t x = 0; x < width; ++x)
            pixels[size_t(y) * width + x] = static_cast<uint16_t>(row[2 * x] << 8 | row[2 * x + 1]);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    return pixels;
}

TEST(Png, KeepsEveryBit)
{
    for (const auto &[width, height] :
         {std::pair(1u, 1u), std::pair(3u, 2u), std::pair(640u, 5u)}) {
        std::vector<uint16_t> pixels(size_t(width) * height);
        for (size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<uint16_t>(i * 40503 + 1);
        EXPECT_EQ(decode({encodePng({width, height, pixels})}, width, height), pixels);
    }
}

} // namespace
} // namespace tavu::ctl
