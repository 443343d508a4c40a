#pragma once

#include "client/tavuview/board.h"
#include "client/tavuview/device_state.h"
#include "client/tavuview/recording_jobs.h"
#include "client/tavuview/service_link.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavu::view {

/// Keeps the board up to date with what the service knows: the topic "service", and those of each
/// device. A thread reads events and has the devices asked that they touch; it tries again for as
/// long as the service is away.
class DeviceWatch
{
public:
    DeviceWatch(Service &service, Board &board, RecordingJobs &jobs);
    DeviceWatch(const DeviceWatch &) = delete;
    DeviceWatch &operator=(const DeviceWatch &) = delete;
    /// The service must have been stopped before.
    ~DeviceWatch();

    /// Something of a device has changed.
    void touch(uint32_t device);

private:
    void run();
    void takeEvents(client::Connection &service);
    void touchAll(uint32_t deviceCount);
    void showLoss(const std::string &reason);

    Service &service_;
    Board &board_;
    RecordingJobs &jobs_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::unique_ptr<DeviceState>> devices_; ///< all that there ever were
    uint32_t deviceCount_ = 0;                          ///< the first of them are there now
    std::jthread thread_;
};

} // namespace tavu::view
