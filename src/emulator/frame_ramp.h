#pragma once

#include <cstddef>
#include <cstdint>

namespace tavu {

/// Fills \a count pixels with \a first, first + 1 and so on, modulo 65536, stored little-endian.
void fillRamp(uint16_t *pixels, size_t count, uint16_t first);

} // namespace tavu
