#include "client/tools/picture.h"

#include <algorithm>
#include <cstddef>

namespace tavu::tools {

Levels levelsOf(const client::FrameView &frame)
{
    std::vector<uint16_t> pixels(frame.pixels.begin(), frame.pixels.end());
    if (pixels.empty())
        return {};
    const auto margin = static_cast<std::ptrdiff_t>(pixels.size() / 1000);
    std::nth_element(pixels.begin(), pixels.begin() + margin, pixels.end());
    const uint16_t black = pixels[size_t(margin)];
    std::nth_element(pixels.begin(), pixels.end() - 1 - margin, pixels.end());
    return {black, pixels[pixels.size() - 1 - size_t(margin)]};
}

std::vector<uint16_t> spread(const client::FrameView &frame, Levels levels)
{
    const uint32_t span = std::max(1, levels.white - levels.black);
    std::vector<uint16_t> pixels;
    pixels.reserve(frame.pixels.size());
    for (const uint16_t pixel : frame.pixels) {
        const uint32_t above = std::clamp(pixel, levels.black, levels.white) - levels.black;
        pixels.push_back(static_cast<uint16_t>(above * 0xFFFFu / span));
    }
    return pixels;
}

} // namespace tavu::tools
