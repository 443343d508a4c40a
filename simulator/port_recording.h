#pragma once

#include "frame_writer.h"
#include "hardware/library/record.h"
#include "port.h"
#include "trigger_network.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

namespace simulator {

/// One port's part in a recording: waits for the triggers, takes the camera's frames and writes
/// them, on a thread of its own that lasts until the recording is over. Any thread.
class PortRecording
{
public:
    /// The states of Record::Status.
    enum class State : uint32_t
    {
        Idle = 0,
        Waiting = 1,
        FillingLoop = 2,
        Recording = 3,
        Ended = 4
    };

    /// Armed at \a time, or recording from then on, as \a control says. \a timestamp is about the
    /// same time, in 100 ns units since 1601.
    PortRecording(boost::shared_ptr<Port> port, const RecordControl &control, FrameWriter writer,
                  Clock::time_point time, uint64_t timestamp);

    /// Raises std::system_error when no thread can be had.
    static void start(const std::shared_ptr<PortRecording> &recording);

    /// A source fires at \a time; its level becomes \a high.
    void trigger(TriggerSource source, bool high, Clock::time_point time);
    /// Keeps what was taken up to now, ends, and returns the file's id or 0.
    uint32_t stop();
    /// Ends and leaves the file incomplete.
    void abandon();
    void cameraChanged();

    State state() const;
    /// Frames in the pre-trigger loop and those taken.
    uint64_t frames() const;

private:
    using Lock = std::unique_lock<std::mutex>;

    void begin(Clock::time_point time);
    void endAt(Clock::time_point time);
    void cutLoop(Clock::time_point first);
    bool isOver() const;

    void run();
    /// Waits for the next frame to write, and returns its due time; none at the end.
    std::optional<Clock::time_point> awaitFrame(Lock &lock);
    void fillLoop(Lock &lock);
    void waitUntil(Lock &lock, const std::optional<Camera::Tick> &tick);
    bool writeFrame(Clock::time_point due);
    void finish(Lock &lock);

    const boost::shared_ptr<Port> port_;
    const RecordControl control_;
    const Clock::time_point armed_;
    const uint64_t timestamp_;
    FrameWriter writer_; ///< used by the thread alone until it is over

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    State state_;
    bool abandoned_ = false;
    bool threadIsOver_ = false;
    uint64_t taken_ = 0;
    Clock::time_point lastTick_;                ///< due time of the camera's last frame so far
    std::deque<Clock::time_point> loop_;        ///< due times of the frames that wait to be written
    std::optional<Clock::time_point> end_;      ///< no frame is kept that is due later
    std::optional<Clock::time_point> deadline_; ///< no frame is written later
};

} // namespace simulator
