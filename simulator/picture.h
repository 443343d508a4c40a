#pragma once

#include <cstdint>

namespace simulator {

/// Draws frame \a number of port \a port (from 1): see README.md. \a pixels has room for
/// width times height.
void drawPicture(uint16_t *pixels, uint32_t width, uint32_t height, uint32_t port, uint64_t number);

} // namespace simulator
