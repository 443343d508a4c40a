#include "emulator/recording_worker.h"

#include "emulator/frame_header.h"
#include "emulator/frame_ramp.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/thread_name.h"
#include "wire/values.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace tavu {

namespace {

constexpr uint64_t kFrameInterval = 33'000'000; ///< nanoseconds
constexpr uint64_t kFrameClockStep = 33;        ///< milliseconds of the clock in the frames
constexpr uint64_t kFrameClockStart = 86'400'000;

/// Larger frames are made and written in pieces: a geometry alone mustn't take all memory.
constexpr uint32_t kMostPixelsAtOnce = 1u << 27;

class FrameWriter
{
public:
    FrameWriter(const RecordingJob &job, RecordingState &state) : job_(job), state_(state)
    {
        // Unbuffered, a frame is one write, so that a killed process leaves whole frames.
        std::setvbuf(job_.file.get(), nullptr, _IONBF, 0);
    }

    void run(uint16_t *pixels)
    {
        uint64_t schedule = monotonicNanoseconds();
        // An absurd count wraps.
        const uint64_t end = schedule + job_.count * 1000;
        for (;;) {
            takeFrame(pixels);
            if (limitReached(schedule, end) || state_.stop.load())
                return;
            schedule += kFrameInterval;
            sleepUntilMonotonic(schedule);
        }
    }

private:
    /// Once a write has fallen short, frames are only counted: the next ones would begin in the
    /// wrong place.
    void takeFrame(uint16_t *pixels)
    {
        if (!fellShort_ && writeFrame(pixels))
            wholeFrames_ += uint64_t(job_.pixelsPerFrame) * 2;
        else
            cutBack();
        state_.frames.fetch_add(1);
    }

    /// On a full disk the recording's records need the room of the partial frame.
    void cutBack()
    {
        if (!isCut_)
            isCut_ = truncateFile(job_.file.get(), wholeFrames_);
        fellShort_ = true;
    }

    /// False when not all of the frame reached the file.
    bool writeFrame(uint16_t *pixels)
    {
        const FrameHeader header = makeFrameHeader(clock_, frameNumber_);
        clock_ += kFrameClockStep;
        ++frameNumber_;
        for (uint32_t done = 0; done < job_.pixelsPerFrame;) {
            const uint32_t count = std::min(job_.pixelsPerFrame - done, kMostPixelsAtOnce);
            fillRamp(pixels, count, ramp_);
            ramp_ = static_cast<uint16_t>(ramp_ + count);
            const size_t bytes = size_t(count) * 2;
            if (done == 0)
                placeHeader(header, pixels, bytes);
            if (std::fwrite(pixels, 1, bytes, job_.file.get()) != bytes)
                return false;
            done += count;
        }
        return true;
    }

    /// Clipped to the port's present row, and to the \a room that there is.
    void placeHeader(const FrameHeader &header, uint16_t *pixels, size_t room)
    {
        const size_t rowBytes = size_t(state_.width.load(std::memory_order_relaxed)) * 2;
        std::memcpy(pixels, header.data(), std::min({rowBytes, header.size(), room}));
    }

    bool limitReached(uint64_t schedule, uint64_t end) const
    {
        const auto condition = static_cast<StopCondition>(job_.type);
        if (condition == StopCondition::FrameCount)
            return state_.frames.load() >= job_.count;
        return condition == StopCondition::Time && schedule >= end;
    }

    const RecordingJob &job_;
    RecordingState &state_;
    uint64_t clock_ = kFrameClockStart;
    uint32_t frameNumber_ = 0;
    uint16_t ramp_ = 0;
    uint64_t wholeFrames_ = 0; ///< bytes of the frames that are all in the file
    bool fellShort_ = false;
    bool isCut_ = false;
};

} // namespace

void recordFrames(RecordingJob job, RecordingState &state) noexcept
{
    nameThisThread("tavu-record");
    const size_t count = std::min(job.pixelsPerFrame, kMostPixelsAtOnce);
    const std::unique_ptr<uint16_t[]> pixels(new (std::nothrow) uint16_t[count]);
    if (pixels)
        FrameWriter(job, state).run(pixels.get());
    job.file.reset();
    state.done.exchange(1);
}

} // namespace tavu
