#include "storage/repair.h"

#include "errors.h"
#include "recorder.h"
#include "storage/frame_layout.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>

namespace simulator {

namespace {

using Clock = std::chrono::steady_clock;

/// Ends the work of a job that was cancelled.
struct Cancellation
{
};

} // namespace

Repair::Repair(Recorder &recorder, std::shared_ptr<FileTable> table, uint32_t fileId)
    : recorder_(recorder), table_(std::move(table)), fileId_(fileId)
{
}

void Repair::start(const boost::shared_ptr<Repair> &repair)
{
    try {
        std::thread([repair] { repair->run(); }).detach();
    } catch (const std::system_error &error) {
        raiseError(error.what());
    }
}

void Repair::run()
{
    std::optional<std::string> error;
    try {
        error = errorOf([this] { work(); });
    } catch (const Cancellation &) {
        return;
    }
    std::lock_guard guard(mutex_);
    if (!error || state_ != State::Running)
        return;
    errorText_ = *error;
    state_ = State::Failed;
}

void Repair::work()
{
    const auto description = recorder_.description();
    const auto end = Clock::now() + std::chrono::milliseconds(description->recoveryMilliseconds);
    const FileRecord file = table_->file(fileId_);
    const std::vector<uint64_t> counts = countFrames(file);
    waitUntil(end);
    requireGoingOn();
    const std::string error = recorder_.description()->recoveryError;
    if (!error.empty())
        raiseError(error);

    // A job that changes the file can't be cancelled any more.
    std::lock_guard guard(mutex_);
    if (state_ != State::Running)
        throw Cancellation();
    for (size_t i = 0; i < counts.size(); ++i)
        table_->closeStream(fileId_, file.streams[i].id, counts[i]);
    state_ = State::Succeeded;
}

std::vector<uint64_t> Repair::countFrames(const FileRecord &file)
{
    std::vector<uint64_t> counts;
    for (const StreamRecord &stream : file.streams) {
        uint64_t count = 0;
        while (holdsFrame(table_->space(), fileId_, stream, count)) {
            requireGoingOn();
            ++count;
        }
        counts.push_back(count);
    }
    return counts;
}

void Repair::waitUntil(Clock::time_point end)
{
    // Whether the recorder is still connected is asked every so often.
    constexpr auto pause = std::chrono::milliseconds(20);
    std::unique_lock lock(mutex_);
    while (Clock::now() < end && state_ == State::Running && recorder_.isConnected())
        changed_.wait_until(lock, std::min(end, Clock::now() + pause));
}

void Repair::requireGoingOn()
{
    if (state() != State::Running)
        throw Cancellation();
    recorder_.requireConnected();
}

Repair::State Repair::state()
{
    std::lock_guard guard(mutex_);
    return state_;
}

bool Repair::isIn(State state, Operation operation)
{
    return recorder_.begin(operation, Numbered{"file", fileId_}) && this->state() == state;
}

void Repair::cancel()
{
    if (!recorder_.begin("Recovery::cancel", Numbered{"file", fileId_}))
        return;
    std::lock_guard guard(mutex_);
    if (state_ != State::Running)
        return;
    state_ = State::Cancelled;
    changed_.notify_all();
}

bool Repair::isFinished()
{
    return recorder_.begin("Recovery::isFinished", Numbered{"file", fileId_}) &&
           state() != State::Running;
}

bool Repair::isCancelled()
{
    return isIn(State::Cancelled, "Recovery::isCancelled");
}

bool Repair::isSuccessful()
{
    return isIn(State::Succeeded, "Recovery::isSuccessful");
}

Quillon::String Repair::errorText()
{
    if (!recorder_.begin("Recovery::errorText", Numbered{"file", fileId_}))
        return "";
    std::lock_guard guard(mutex_);
    return errorText_.c_str();
}

} // namespace simulator
