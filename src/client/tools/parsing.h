#pragma once

#include "client/values.h"

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace tavu::tools {

// What people type. The functions raise UsageError for text that isn't what they expect.

/// "10s", "1.5s", "500ms", "2m", "1h", or a bare number of seconds; microseconds.
uint64_t parseDuration(std::string_view text);

/// Pairs of hexadecimal digits. "0x" may stand in front, blanks and colons between them.
client::Bytes parseHex(std::string_view text);

/// "1280x1024".
std::pair<uint16_t, uint16_t> parseFrameSize(std::string_view text);

/// Runs of frames, first and last included.
using FrameRanges = std::vector<std::pair<uint64_t, uint64_t>>;

/// "all", or a list such as "0,10-19,80-,last" for a recording of \a frameCount frames. A frame
/// that the recording doesn't have raises Failure.
FrameRanges parseFrames(std::string_view text, uint64_t frameCount);
uint64_t frameCountOf(const FrameRanges &ranges);

} // namespace tavu::tools
