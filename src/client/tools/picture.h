#pragma once

#include "client/region.h"

#include <cstdint>
#include <vector>

namespace tavu::tools {

/// A picture of 16 bits a pixel, as the bytes of a PNG file. Raises Failure when memory is missing.
std::vector<uint8_t> encodePng(const client::FrameView &frame);

/// The pixel values that shall become black and white.
struct Levels
{
    uint16_t black = 0;
    uint16_t white = 0xFFFF;
};

/// Those between which all pixels lie, but for a thousandth at either end.
Levels levelsOf(const client::FrameView &frame);

/// Pixels spread over the whole range of 16 bits.
std::vector<uint16_t> spread(const client::FrameView &frame, Levels levels);

} // namespace tavu::tools
