#pragma once

#include "client/region.h"
#include "client/tools/picture.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tavu::view {

/// A picture of its own: rows from the top, no gaps between them.
struct Picture
{
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint16_t> pixels;
};

/// \a frame made smaller by a box filter: each new pixel is the mean of the area that it covers.
/// Neither \a width nor \a height is larger than the frame's, or 0.
Picture shrink(const client::FrameView &frame, uint32_t width, uint32_t height);

/// The largest size of the frame's shape that fits into a box and isn't larger than the frame.
void fitInto(const client::FrameView &frame, uint32_t &width, uint32_t &height);

/// Pixels as shades of grey: black and below is 0, white and above 255. \a shades has as many.
void toShades(std::span<const uint16_t> pixels, tools::Levels levels, uint8_t *shades);

/// How often which values occur, by a sample of some ten thousand pixels spread over the frame.
struct Histogram
{
    static constexpr unsigned kBins = 256;

    unsigned shift = 0; ///< bin n counts the values from n << shift on
    std::vector<uint32_t> bins;
    tools::Levels levels; ///< those between which the sample lies, but for a thousandth at each end
};

Histogram histogramOf(const client::FrameView &frame);

} // namespace tavu::view
