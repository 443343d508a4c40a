#pragma once

#include <cstdint>

namespace tavu {

/// The emulated device counts pixels and bytes in 32 bits; very large geometries wrap.
inline uint32_t framePixels(uint16_t width, uint16_t height)
{
    return uint32_t(width) * uint32_t(height);
}

inline uint32_t frameBytes(uint16_t width, uint16_t height)
{
    return framePixels(width, height) * 2;
}

/// The size of a frame file as the emulated device knows it: the low 32 bits, signed and widened,
/// so that files of 2 GiB and more show a wrong size.
inline uint64_t shownFileSize(uint64_t bytes)
{
    return static_cast<uint64_t>(int64_t(static_cast<int32_t>(static_cast<uint32_t>(bytes))));
}

} // namespace tavu
