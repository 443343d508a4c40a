#include "emulator/frame_ramp.h"

#include <bit>

namespace tavu {

namespace {

/// Pixels per inner loop: a constant count, and a counter no wider than a pixel, so that compilers
/// vectorise it into little more than its stores.
constexpr uint16_t kBlock = 64;

constexpr uint16_t littleEndian(uint16_t value)
{
    if constexpr (std::endian::native == std::endian::big)
        return static_cast<uint16_t>(value << 8 | value >> 8);
    return value;
}

} // namespace

void fillRamp(uint16_t *pixels, size_t count, uint16_t first)
{
    for (; count >= kBlock; count -= kBlock) {
        for (uint16_t i = 0; i < kBlock; ++i)
            pixels[i] = littleEndian(static_cast<uint16_t>(first + i));
        pixels += kBlock;
        first = static_cast<uint16_t>(first + kBlock);
    }
    for (; count > 0; --count)
        *pixels++ = littleEndian(first++);
}

} // namespace tavu
