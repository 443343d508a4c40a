#include "picture.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

namespace simulator {

static_assert(std::endian::native == std::endian::little, "pixels are little-endian");

void drawPicture(uint16_t *pixels, uint32_t width, uint32_t height, uint32_t port, uint64_t number)
{
    // Each row is the one above, moved by a pixel: all of them are pieces of one ramp.
    std::vector<uint16_t> ramp(size_t(width) + height);
    uint16_t value = uint16_t(8 * number + 4096 * uint64_t(port));
    for (uint16_t &pixel : ramp)
        pixel = value++;
    for (uint32_t row = 0; row < height; ++row)
        std::memcpy(pixels + size_t(row) * width, ramp.data() + row, size_t(width) * 2);

    const uint16_t marks[] = {uint16_t(port), uint16_t(number), uint16_t(number >> 16),
                              uint16_t(number >> 32), uint16_t(number >> 48)};
    const uint64_t count = uint64_t(width) * height;
    std::copy_n(marks, std::min<uint64_t>(count, std::size(marks)), pixels);
}

} // namespace simulator
