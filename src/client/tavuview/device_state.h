#pragma once

#include "client/tavuview/board.h"
#include "client/tavuview/recording_jobs.h"
#include "client/tavuview/service_link.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace tavu::view {

/// Keeps the board up to date with one device: topics "device/N", "files/N", while it records or
/// recovers "progress/N", and "notice/N", which tells once of a recording that was stored. Carries
/// the device's recording job on.
///
/// By a thread and a connection of its own, so that a device that takes its time to answer (it
/// makes a drive set, or stops) holds up no other.
class DeviceState
{
public:
    DeviceState(Service &service, Board &board, RecordingJobs &jobs, uint32_t device);
    DeviceState(const DeviceState &) = delete;
    DeviceState &operator=(const DeviceState &) = delete;
    /// The service must have been stopped before, or the device may let us wait.
    ~DeviceState();

    // From any thread.

    /// Something of it has changed: asks for all of it.
    void touch();
    /// After a restart of the service there may be fewer devices than before: it goes off the
    /// board, until it is touched.
    void remove();

private:
    enum class Wish
    {
        Nothing,
        Ask,
        Remove,
    };

    std::string topic(const char *name) const;
    void run();
    Wish awaitWish();
    void catchUp(client::Connection &service, bool touched);
    void leaveBoard();
    void showDevice(client::Connection &service);
    void showFiles(client::Connection &service);
    bool showProgress(client::Connection &service);
    void finishJob(client::Connection &service);

    Service &service_;
    Board &board_;
    RecordingJobs &jobs_;
    const uint32_t device_;

    std::mutex mutex_;
    std::condition_variable changed_;
    Wish wish_ = Wish::Nothing;

    // Of the thread.
    bool present_ = false;
    bool stale_ = false; ///< something has changed that the board doesn't have yet
    bool emulated_ = false;
    bool busy_ = false;      ///< records or recovers
    bool recording_ = false; ///< was seen to record
    RecordingJob::Clock::time_point nextRefresh_{};

    std::jthread thread_;
};

} // namespace tavu::view
