#include "port_recording.h"

#include "errors.h"

#include <algorithm>
#include <thread>

namespace simulator {

namespace {

using std::chrono::milliseconds;

/// A change of the camera is noticed within this time.
constexpr milliseconds kLongestWait(20);
/// Frames that are late are still written for so long after a stop.
constexpr milliseconds kStopGrace(200);

/// Microseconds, limited so that a time point can hold the sum.
std::chrono::microseconds durationOf(uint64_t time)
{
    return std::chrono::microseconds(std::min(time, uint64_t(1) << 50));
}

} // namespace

PortRecording::PortRecording(boost::shared_ptr<Port> port, const RecordControl &control,
                             FrameWriter writer, Clock::time_point time, uint64_t timestamp)
    : port_(std::move(port)), control_(control), armed_(time), timestamp_(timestamp),
      writer_(std::move(writer)),
      state_(control.pretriggerEnable ? State::FillingLoop : State::Waiting), lastTick_(time)
{
    if (!control_.startEnable)
        begin(time);
}

void PortRecording::start(const std::shared_ptr<PortRecording> &recording)
{
    std::thread([recording] { recording->run(); }).detach();
}

void PortRecording::trigger(TriggerSource source, bool high, Clock::time_point time)
{
    std::lock_guard guard(mutex_);
    const bool isRecording = state_ == State::Recording;
    const bool isWaiting = state_ == State::Waiting || state_ == State::FillingLoop;
    if (isWaiting && control_.startInput.isFiredBy(source, high))
        begin(time);
    else if (isRecording && control_.stopEnable && control_.stopInput.isFiredBy(source, high))
        endAt(time);
    changed_.notify_all();
}

void PortRecording::begin(Clock::time_point time)
{
    Clock::time_point first = time;
    if (control_.pretriggerEnable)
        first = std::max(armed_, time - durationOf(control_.pretriggerTime));
    lastTick_ = std::max(lastTick_, first);
    cutLoop(first);
    state_ = State::Recording;
    if (control_.stopTimeEnable)
        endAt(first + durationOf(control_.stopTime));
    if (control_.stopCountEnable && loop_.size() > control_.stopCount)
        loop_.resize(control_.stopCount);
}

void PortRecording::endAt(Clock::time_point time)
{
    end_ = end_ ? std::min(*end_, time) : time;
    while (!loop_.empty() && loop_.back() > *end_)
        loop_.pop_back();
}

void PortRecording::cutLoop(Clock::time_point first)
{
    while (!loop_.empty() && loop_.front() <= first)
        loop_.pop_front();
}

uint32_t PortRecording::stop()
{
    Lock lock(mutex_);
    const Clock::time_point now = Clock::now();
    if (state_ == State::Waiting || state_ == State::FillingLoop) {
        loop_.clear();
        lastTick_ = now;
        state_ = State::Recording;
    }
    endAt(now);
    deadline_ = now + kStopGrace;
    changed_.notify_all();
    changed_.wait(lock, [this] { return threadIsOver_; });
    writer_.release();
    return writer_.fileId();
}

void PortRecording::abandon()
{
    Lock lock(mutex_);
    abandoned_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return threadIsOver_; });
    writer_.release();
}

void PortRecording::cameraChanged()
{
    changed_.notify_all();
}

PortRecording::State PortRecording::state() const
{
    std::lock_guard guard(mutex_);
    return state_;
}

uint64_t PortRecording::frames() const
{
    std::lock_guard guard(mutex_);
    return taken_ + loop_.size();
}

bool PortRecording::isOver() const
{
    if (abandoned_ || (deadline_ && Clock::now() > *deadline_))
        return true;
    return state_ == State::Recording && control_.stopCountEnable && taken_ >= control_.stopCount;
}

void PortRecording::run()
{
    Lock lock(mutex_);
    while (const auto due = awaitFrame(lock)) {
        ++taken_;
        lock.unlock();
        const bool isWritten = writeFrame(*due);
        lock.lock();
        if (!isWritten) {
            --taken_;
            break;
        }
    }
    finish(lock);
}

std::optional<Clock::time_point> PortRecording::awaitFrame(Lock &lock)
{
    while (!isOver()) {
        if (state_ != State::Recording) {
            fillLoop(lock);
            continue;
        }
        if (!loop_.empty()) {
            const Clock::time_point due = loop_.front();
            loop_.pop_front();
            return due;
        }
        const Clock::time_point now = Clock::now();
        const auto tick = port_->camera().nextTick(lastTick_);
        if (tick && tick->due <= now && tick->due <= end_.value_or(now)) {
            lastTick_ = tick->due;
            return tick->due;
        }
        if (end_ && now >= *end_)
            return std::nullopt;
        waitUntil(lock, tick);
    }
    return std::nullopt;
}

void PortRecording::fillLoop(Lock &lock)
{
    if (state_ == State::Waiting) {
        changed_.wait_for(lock, kLongestWait);
        return;
    }
    const Clock::time_point now = Clock::now();
    cutLoop(now - durationOf(control_.pretriggerTime));
    const auto tick = port_->camera().nextTick(lastTick_);
    if (tick && tick->due <= now) {
        lastTick_ = tick->due;
        loop_.push_back(tick->due);
    } else {
        waitUntil(lock, tick);
    }
}

void PortRecording::waitUntil(Lock &lock, const std::optional<Camera::Tick> &tick)
{
    Clock::time_point time = Clock::now() + kLongestWait;
    if (tick)
        time = std::min(time, tick->due);
    if (end_)
        time = std::min(time, *end_);
    changed_.wait_until(lock, time);
}

bool PortRecording::writeFrame(Clock::time_point due)
{
    using Units = std::chrono::duration<uint64_t, std::ratio<1, 10'000'000>>;
    bool isWritten = false;
    attempt("A recording ends", [&] {
        const auto sinceArmed = std::chrono::duration_cast<Units>(due - armed_);
        isWritten = writer_.write(timestamp_ + sinceArmed.count());
    });
    return isWritten;
}

void PortRecording::finish(Lock &lock)
{
    loop_.clear();
    if (!abandoned_) {
        lock.unlock();
        attempt("A recording is left open", [this] { writer_.close(); });
        lock.lock();
    }
    state_ = State::Ended;
    threadIsOver_ = true;
    changed_.notify_all();
}

} // namespace simulator
