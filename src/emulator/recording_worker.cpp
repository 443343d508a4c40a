#include "emulator/recording_worker.h"

#include "emulator/frame_header.h"
#include "emulator/frame_ramp.h"
#include "platform/clock.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace tavu {

namespace {

constexpr uint64_t kFrameInterval = 33'000'000; ///< nanoseconds
constexpr uint64_t kFrameClockStep = 33;        ///< milliseconds of the clock in the frames
constexpr uint64_t kFrameClockStart = 86'400'000;

enum LimitType : uint8_t
{
    LimitFrames = 1,
    LimitTime = 2,
};

class FrameWriter
{
public:
    FrameWriter(const RecordingJob &job, RecordingState &state) : job_(job), state_(state)
    {
        // Frames go out as one write each, so that whoever kills us leaves whole frames.
        std::setvbuf(job_.file.get(), nullptr, _IONBF, 0);
    }

    void run(uint16_t *pixels)
    {
        uint64_t schedule = monotonicNanoseconds();
        // Wraps for an absurd count, as it does for everybody who sends one.
        const uint64_t end = schedule + job_.count * 1000;
        for (;;) {
            writeFrame(pixels);
            if (limitReached(schedule, end) || state_.stop.load())
                return;
            schedule += kFrameInterval;
            sleepUntilMonotonic(schedule);
        }
    }

private:
    void writeFrame(uint16_t *pixels)
    {
        const size_t frameBytes = size_t(job_.pixelsPerFrame) * 2;
        fillRamp(pixels, job_.pixelsPerFrame, ramp_);
        ramp_ = static_cast<uint16_t>(ramp_ + job_.pixelsPerFrame);

        header_.stamp(clock_, frameNumber_);
        clock_ += kFrameClockStep;
        ++frameNumber_;
        const size_t rowBytes = size_t(state_.width.load(std::memory_order_relaxed)) * 2;
        std::memcpy(pixels, header_.bytes().data(),
                    std::min({rowBytes, FrameHeader::kSize, frameBytes}));

        // A full disk goes unnoticed here: the stop counts what really reached the file.
        static_cast<void>(std::fwrite(pixels, 1, frameBytes, job_.file.get()));
        state_.frames.fetch_add(1);
    }

    bool limitReached(uint64_t schedule, uint64_t end) const
    {
        switch (job_.type) {
        case LimitFrames:
            return state_.frames.load() >= job_.count;
        case LimitTime:
            return schedule >= end;
        default:
            return false;
        }
    }

    const RecordingJob &job_;
    RecordingState &state_;
    FrameHeader header_;
    uint64_t clock_ = kFrameClockStart;
    uint32_t frameNumber_ = 0;
    uint16_t ramp_ = 0;
};

} // namespace

void recordFrames(RecordingJob job, RecordingState &state) noexcept
{
    const std::unique_ptr<uint16_t[]> pixels(new (std::nothrow) uint16_t[job.pixelsPerFrame]);
    if (pixels)
        FrameWriter(job, state).run(pixels.get());
    job.file.reset();
    state.done.exchange(1);
}

} // namespace tavu
