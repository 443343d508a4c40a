#include "client/tools/picture.h"

#include <gtest/gtest.h>
#include <string_view>
#include <utility>
#include <zlib.h>
#if defined(TAVU_HAS_LIBPNG)
#include <png.h>
#endif

namespace tavu::tools {
namespace {

using Bytes = std::vector<uint8_t>;

uint32_t numberAt(const Bytes &bytes, size_t at)
{
    return uint32_t(bytes.at(at)) << 24 | bytes.at(at + 1) << 16 | bytes.at(at + 2) << 8 |
           bytes.at(at + 3);
}

/// The pixels of a picture of one filter, "sub"; none when a chunk is damaged.
std::vector<uint16_t> decode(const Bytes &bytes, uint32_t width, uint32_t height)
{
    Bytes packed, rows((size_t(width) * 2 + 1) * height);
    for (size_t at = 8, size = 0; at + 12 <= bytes.size(); at += 12 + size) {
        size = numberAt(bytes, at);
        if (numberAt(bytes, at + 8 + size) != ::crc32_z(0, &bytes[at + 4], size + 4))
            return {};
        if (std::string_view(reinterpret_cast<const char *>(&bytes[at + 4]), 4) == "IDAT")
            packed.insert(packed.end(), &bytes[at + 8], &bytes[at + 8] + size);
    }
    uLongf size = rows.size();
    if (::uncompress(rows.data(), &size, packed.data(), packed.size()) != Z_OK ||
        size != rows.size())
        return {};
    std::vector<uint16_t> pixels;
    for (const uint8_t *at = rows.data(); pixels.size() < size_t(width) * height;) {
        EXPECT_EQ(*at++, 1);
        for (uint32_t high = 0, low = 0, x = 0; x < width; ++x) {
            high = (high + *at++) & 0xFF;
            low = (low + *at++) & 0xFF;
            pixels.push_back(static_cast<uint16_t>(high << 8 | low));
        }
    }
    return pixels;
}

#if defined(TAVU_HAS_LIBPNG)
/// The pixels of a picture of 16-bit greys, as others see it; none for any other picture.
std::vector<uint16_t> decodeElsewhere(const Bytes &bytes, uint32_t width, uint32_t height)
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
#else
constexpr auto decodeElsewhere = decode;
#endif

TEST(Png, KeepsEveryBit)
{
    for (const auto &[width, height] : {std::pair(1u, 1u), {3u, 2u}, {200u, 600u}}) {
        std::vector<uint16_t> pixels(size_t(width) * height);
        for (size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<uint16_t>(i * i * 40503 + 1);
        const Bytes picture = encodePng({width, height, pixels});
        EXPECT_EQ(decode(picture, width, height), pixels);
        EXPECT_EQ(decodeElsewhere(picture, width, height), pixels);
    }
}

} // namespace
} // namespace tavu::tools
