#include "emulator/frame_ramp.h"

#include <bit>

namespace tavu {

namespace {

/// Pixels per inner loop. A constant count lets compilers vectorise without asking for the length.
constexpr size_t kBlock = 64;

constexpr uint16_t littleEndian(uint16_t value)
{
    if constexpr (std::endian::native == std::endian::big)
        return static_cast<uint16_t>(value << 8 | value >> 8);
    return value;
}

} // namespace

void fillRamp(uint16_t *pixels, size_t count, uint16_t first)
{
    const auto value = [first](size_t index) {
        return littleEndian(static_cast<uint16_t>(first + static_cast<uint16_t>(index)));
    };
    size_t done = 0;
    for (; count - done >= kBlock; done += kBlock) {
        uint16_t *const block = pixels + done;
        for (size_t i = 0; i < kBlock; ++i)
            block[i] = value(done + i);
    }
    for (; done < count; ++done)
        pixels[done] = value(done);
}

} // namespace tavu
