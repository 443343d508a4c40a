#include "client/region.h"

#include "client/errors.h"

namespace tavu::client {

Region::Region(const std::string &mapping)
{
    if (!region_.open(mapping))
        throw Error("the frame memory \"" + mapping +
                    "\" can't be mapped: does the service run as another user?");
}

std::span<const uint16_t> Region::pixels() const
{
    return {static_cast<const uint16_t *>(region_.view()),
            static_cast<size_t>(region_.viewSize() / sizeof(uint16_t))};
}

FrameView Region::frame(uint32_t width, uint32_t height) const
{
    const std::span<const uint16_t> all = pixels();
    const uint64_t count = uint64_t(width) * height;
    if (count > all.size())
        throw ProtocolError("a frame of " + std::to_string(width) + "x" + std::to_string(height) +
                            " is larger than its memory: the port was configured anew meanwhile");
    return {width, height, all.first(static_cast<size_t>(count))};
}

} // namespace tavu::client
