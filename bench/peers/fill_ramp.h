#pragma once

#include <cstddef>
#include <cstdint>

namespace tavu::bench {

/// The emulated device's ramp, in the form that compilers turn into the fewest vector instructions:
/// a counter no wider than a pixel. Returns the value behind the last one.
inline uint16_t fillRamp(uint16_t *pixels, size_t count, uint16_t first)
{
    for (size_t i = 0; i < count; ++i)
        pixels[i] = first++;
    return first;
}

} // namespace tavu::bench
