#pragma once

#include "hardware/library/storage.h"
#include "operation.h"
#include "storage/file_table.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace simulator {

class Recorder;

/// The job that counts the frames of an incomplete file. It has a thread of its own, and goes on
/// when nobody holds the handle any more. Any thread.
class Repair final : public Quillon::Recovery
{
public:
    Repair(Recorder &recorder, std::shared_ptr<FileTable> table, uint32_t fileId);
    virtual ~Repair() = default;

    /// Raises Common::GeneralException when no thread can be had.
    static void start(const boost::shared_ptr<Repair> &repair);

    void cancel() override;
    bool isFinished() override;
    bool isCancelled() override;
    bool isSuccessful() override;
    Quillon::String errorText() override;

private:
    enum class State
    {
        Running,
        Cancelled,
        Succeeded,
        Failed
    };

    void run();
    void work();
    std::vector<uint64_t> countFrames(const FileRecord &file);
    void waitUntil(std::chrono::steady_clock::time_point end);
    void requireGoingOn();
    State state();
    bool isIn(State state, Operation operation);

    Recorder &recorder_;
    const std::shared_ptr<FileTable> table_;
    const uint32_t fileId_;

    std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::Running;
    std::string errorText_;
};

} // namespace simulator
