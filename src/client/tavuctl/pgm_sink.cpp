#include "client/tavuctl/frame_sink.h"

#include <algorithm>

namespace tavu::ctl {

std::vector<uint8_t> encodePgm(const client::FrameView &frame)
{
    const std::string head =
        "P5\n" + std::to_string(frame.width) + " " + std::to_string(frame.height) + "\n65535\n";
    std::vector<uint8_t> bytes(head.size() + frame.pixels.size() * 2);
    auto out = std::copy(head.begin(), head.end(), bytes.begin());
    // The format has its pixels big-endian.
    for (const uint16_t pixel : frame.pixels) {
        *out++ = static_cast<uint8_t>(pixel >> 8);
        *out++ = static_cast<uint8_t>(pixel & 0xFF);
    }
    return bytes;
}

} // namespace tavu::ctl
