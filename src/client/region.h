#pragma once

#include "service/transport/shared_region.h"

#include <cstdint>
#include <span>
#include <string>

namespace tavu::client {

/// A frame as it stands in a region: rows from the top, no gaps between them. Valid until the next
/// frame is asked for, and no longer than its region.
struct FrameView
{
    uint32_t width = 0;  ///< pixels
    uint32_t height = 0; ///< pixels
    std::span<const uint16_t> pixels;

    std::span<const uint16_t> row(uint32_t y) const
    {
        return pixels.subspan(static_cast<size_t>(y) * width, width);
    }
};

/// The memory in which the service puts frames, mapped for looking at. The service writes to it
/// whenever this client (or, in live view, any client) asks for a frame.
class Region
{
public:
    /// Maps the region that a reply calls \a mapping. Raises Error when there is none.
    explicit Region(const std::string &mapping);

    /// All pixels; may be more than a frame has, since whole pages are mapped.
    std::span<const uint16_t> pixels() const;

    /// A frame from the start of the region. Raises ProtocolError when the region is too small.
    FrameView frame(uint32_t width, uint32_t height) const;

private:
    SharedRegion region_;
};

} // namespace tavu::client
