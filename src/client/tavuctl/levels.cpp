#include "client/tavuctl/frame_sink.h"

#include "client/tavuctl/session.h"
#include "client/tavuctl/text.h"

#include <algorithm>

namespace tavu::ctl {

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

LevelsOf parseLevels(std::string_view text)
{
    if (text == "auto")
        return levelsOf;
    const size_t dash = text.find('-');
    const auto black = parseNumber<uint16_t>(text.substr(0, dash));
    const auto white = dash == std::string_view::npos
                           ? std::nullopt
                           : parseNumber<uint16_t>(text.substr(dash + 1));
    if (!black || !white || *black >= *white)
        throw UsageError(inQuotes(text) +
                         " are no levels: give the values of black and white like 4096-8191, or "
                         "auto");
    return [levels = Levels{*black, *white}](const client::FrameView &) { return levels; };
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

} // namespace tavu::ctl
