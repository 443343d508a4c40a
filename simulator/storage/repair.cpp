#include "storage/repair.h"

#include "operation.h"
#include "raise.h"
#include "storage/frame_layout.h"

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
    std::string failure;
    try {
        work();
        return;
    } catch (const Cancellation &) {
        return;
    } catch (const Common::GeneralException &exception) {
        failure = exception.what();
    } catch (const std::exception &exception) {
        failure = exception.what();
    }
    const std::lock_guard lock(mutex_);
    if (state_ != State::Running)
        return;
    errorText_ = failure;
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
    const std::lock_guard lock(mutex_);
    if (state_ != State::Running)
        throw Cancellation();
    for (size_t i = 0; i < counts.size(); i++)
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
            count++;
        }
        counts.push_back(count);
    }
    return counts;
}

void Repair::waitUntil(Clock::time_point end)
{
    // Now and then it looks whether the recorder is still there.
    const auto pause = std::chrono::milliseconds(20);
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
    const std::lock_guard lock(mutex_);
    return state_;
}

bool Repair::isIn(State state, const char *operation)
{
    return !isEmptied(recorder_, operation, Numbered{"file", fileId_}) && this->state() == state;
}

void Repair::cancel()
{
    if (isEmptied(recorder_, "Recovery::cancel", Numbered{"file", fileId_}))
        return;
    const std::lock_guard lock(mutex_);
    if (state_ != State::Running)
        return;
    state_ = State::Cancelled;
    changed_.notify_all();
}

bool Repair::isFinished()
{
    return !isEmptied(recorder_, "Recovery::isFinished", Numbered{"file", fileId_}) &&
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
    if (isEmptied(recorder_, "Recovery::errorText", Numbered{"file", fileId_}))
        return "";
    const std::lock_guard lock(mutex_);
    return errorText_.c_str();
}

} // namespace simulator
