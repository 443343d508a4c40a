#pragma once

#include "client/connection.h"
#include "client/tools/recording.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace tavu::view {

/// A recording that a browser has asked for, and what is to be done in its course.
struct RecordingJob
{
    using Clock = std::chrono::steady_clock;

    tools::RecordingPlan plan;
    std::optional<uint64_t> triggerAfter; ///< microseconds
    std::string name;                     ///< of the recording; empty leaves the device's choice
    Clock::time_point start{};
    bool triggered = false;
};

/// The recordings that run for browsers, one a device. They go on when the browser has gone. From
/// any thread.
class RecordingJobs
{
public:
    /// Starts one. Raises what the service says.
    void start(client::Connection &service, uint32_t device, RecordingJob job);

    /// Stops the device's recording, whoever started it, and gives it its name. Returns what was
    /// recorded, as far as it is known.
    std::vector<client::FileEntry> finish(client::Connection &service, uint32_t device);

    std::optional<RecordingJob> find(uint32_t device) const;
    /// Whether the time for the trigger has come; true once.
    bool takeTrigger(uint32_t device);
    /// The job of a device, for finish(); empty when there is none, or somebody has taken it.
    std::optional<RecordingJob> take(uint32_t device);
    /// Finishes a recording whose job was taken.
    static std::vector<client::FileEntry> finish(client::Connection &service, uint32_t device,
                                                 const RecordingJob &job);

private:
    mutable std::mutex mutex_;
    std::map<uint32_t, RecordingJob> jobs_;
};

} // namespace tavu::view
