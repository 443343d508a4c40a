#pragma once

#include "client/tavuview/board.h"
#include "client/tavuview/recording_jobs.h"
#include "client/tavuview/service_link.h"
#include "client/tavuview/worker_pool.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace tavu::view {

/// Keeps the board up to date with what the service knows: topics "service", "device/N", "files/N",
/// of devices that record or recover "progress/N", and "notice/N", which tells once of a
/// recording that was stored. Carries recording jobs on.
///
/// One thread reads events, the other asks for what they touch; both try again for as long as the
/// service is away.
class DeviceWatch
{
public:
    DeviceWatch(Service &service, Board &board, RecordingJobs &jobs, WorkerPool &pool);
    DeviceWatch(const DeviceWatch &) = delete;
    DeviceWatch &operator=(const DeviceWatch &) = delete;
    ~DeviceWatch();

    /// A browser has changed something of a device.
    void touch(uint32_t device);

private:
    void readEvents();
    void takeEvents(client::Connection &service);
    void keepUp();
    void catchUp(client::Connection &service);
    void askAll(client::Connection &service);
    void showDevice(client::Connection &service, uint32_t device);
    void showFiles(client::Connection &service, uint32_t device);
    bool isDone(client::Connection &service, uint32_t device) const;
    bool showProgress(client::Connection &service, uint32_t device);
    void finishJob(uint32_t device);
    void showLoss(const std::string &reason);
    /// Waits until something was touched, or for some time.
    void pause();

    Service &service_;
    Board &board_;
    RecordingJobs &jobs_;
    WorkerPool &pool_;

    std::mutex mutex_;
    std::condition_variable changed_;
    bool touchedAll_ = true;
    std::set<uint32_t> touched_;

    // Of the thread that asks.
    uint32_t deviceCount_ = 0;
    std::set<uint32_t> emulated_;
    std::set<uint32_t> busy_;      ///< devices that record or recover
    std::set<uint32_t> recording_; ///< of these, those that were seen to record
    RecordingJob::Clock::time_point nextRefresh_{};

    std::jthread events_;
    std::jthread state_;
};

} // namespace tavu::view
