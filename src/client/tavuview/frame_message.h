#pragma once

#include "client/tavuview/scale.h"
#include "client/tavuview/web.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace tavu::view {

/// What a browser wants to see of each frame.
struct ViewWish
{
    bool wholePixels = false; ///< a part in 16 bits, pixel by pixel, instead of the whole in 8 bits
    uint32_t width = 640;     ///< of the box that the picture has to fit into, or of the part
    uint32_t height = 480;
    uint32_t x = 0; ///< where the part begins
    uint32_t y = 0;
    std::optional<tools::Levels> levels;                  ///< empty: by the frame itself
    std::optional<std::pair<uint32_t, uint32_t>> pointer; ///< the pixel whose value is wanted
    bool histogram = true;
};

/// A wish in the form in which our page sends it, a JSON object. Raises BadRequest.
ViewWish parseWish(std::string_view text);

/// A frame for any number of browsers: what several of them want is made once.
class FrameMaker
{
public:
    /// \a number and \a microseconds, by the monotonic clock, are for the browser. The frame's
    /// pixels must stay as long as the object.
    FrameMaker(const client::FrameView &frame, uint64_t number, uint64_t microseconds)
        : frame_(frame), number_(number), microseconds_(microseconds)
    {
    }

    /// The message for a web socket: a head of 64 bytes, the histogram if it is wanted, the pixels.
    /// page/frame.js has the form of the head.
    SharedBytes make(const ViewWish &wish);

private:
    const Picture &picture(uint32_t width, uint32_t height);
    const Histogram &histogram();

    const client::FrameView frame_;
    const uint64_t number_;
    const uint64_t microseconds_;
    std::map<std::pair<uint32_t, uint32_t>, Picture> pictures_;
    std::optional<Histogram> histogram_;
};

} // namespace tavu::view
