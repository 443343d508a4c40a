#pragma once

#include "description.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

using Clock = std::chrono::steady_clock;

/// The camera on a port: its memory, whether it sends, and when. Any thread.
class Camera
{
public:
    /// One frame that the camera sends.
    struct Tick
    {
        uint64_t number = 0; ///< since the camera began to send
        Clock::time_point due;
    };

    explicit Camera(const PortDescription &description);

    /// A changed description takes effect at once. A camera that is plugged in anew has the memory
    /// that is described.
    void describe(const PortDescription &description);

    bool isPresent() const;
    /// Frames a second that arrive; 0 while the camera is absent or silent.
    double frameRate() const;
    /// The first frame that is due after \a time; none while the camera sends nothing.
    std::optional<Tick> nextTick(Clock::time_point time) const;
    /// The last frame that was due at \a time or before; none while the camera sends nothing, and
    /// before its first frame.
    std::optional<Tick> newestTick(Clock::time_point time) const;

    // Start and stop sending.
    void wake();
    void silence();

    /// Both raise Common::GeneralException when there is no camera or no such memory.
    void readMemory(uint32_t address, void *target, uint64_t size) const;
    void writeMemory(uint32_t address, const void *source, uint64_t size);

private:
    bool sends() const { return sending_ && description_.frameRate > 0; }
    /// Count of frames that were due at \a time or before, since origin_.
    uint64_t framesUntil(Clock::time_point time) const;
    Clock::time_point dueTime(uint64_t frame) const;
    void restart(uint64_t firstNumber);
    void fillMemory();
    void store(uint32_t address, uint32_t value);
    void requireMemory(uint32_t address, uint64_t size) const;

    mutable std::mutex mutex_;
    PortDescription description_;
    std::vector<uint8_t> memory_;
    bool sending_ = false;
    Clock::time_point origin_; ///< the first frame is due one period later
    uint64_t firstNumber_ = 0; ///< number of that frame
};

} // namespace simulator
