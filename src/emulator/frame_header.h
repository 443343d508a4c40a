#pragma once

#include <array>
#include <cstdint>

namespace tavu {

using FrameHeader = std::array<uint8_t, 126>;

/// Makes the bytes at the start of a recorded frame: fixed data that reads back as a plausible
/// camera header, with the frame's number and time. \a clock is a simulated time in milliseconds
/// whose days count from 0.
FrameHeader makeFrameHeader(uint64_t clock, uint32_t frameNumber);

} // namespace tavu
