#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tavu {

/// The bytes at the start of each recorded frame: fixed data that reads back as a plausible camera
/// header, with a time and a frame number of its own in each frame.
class FrameHeader
{
public:
    static constexpr size_t kSize = 126;

    FrameHeader();

    /// \a clock is a simulated time in milliseconds whose days count from 0.
    void stamp(uint64_t clock, uint32_t frameNumber);

    const std::array<uint8_t, kSize> &bytes() const { return bytes_; }

private:
    void put(size_t offset, size_t size, uint32_t value);

    std::array<uint8_t, kSize> bytes_{};
};

} // namespace tavu
