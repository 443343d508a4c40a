#include "picture.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <vector>

namespace simulator {

static_assert(std::endian::native == std::endian::little, "pixels are little-endian");

void drawPicture(uint16_t *pixels, uint32_t width, uint32_t height, uint32_t port, uint64_t number)
{
    // Each row is the one above, moved by a pixel: all of them are pieces of one ramp.
    std::vector<uint16_t> ramp(size_t(width) + height);
    auto value = static_cast<uint16_t>(8 * number + 4096 * uint64_t(port));
    for (uint16_t &pixel : ramp)
        pixel = value++;
    for (uint32_t row = 0; row < height; ++row)
        std::memcpy(pixels + size_t(row) * width, ramp.data() + row, size_t(width) * 2);

    const uint64_t marks[] = {port, number, number >> 16, number >> 32, number >> 48};
    const size_t count = std::min(size_t(width) * height, std::size(marks));
    for (size_t i = 0; i < count; ++i)
        pixels[i] = static_cast<uint16_t>(marks[i]);
}

} // namespace simulator
