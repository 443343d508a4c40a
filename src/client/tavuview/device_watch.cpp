#include "client/tavuview/device_watch.h"

#include "client/tools/json_values.h"
#include "client/tools/text.h"
#include "platform/thread_name.h"
#include "service/transport/local_socket.h"

#include <algorithm>
#include <chrono>
#include <exception>

namespace tavu::view {

namespace {

using tools::Json;

constexpr std::chrono::milliseconds kRetryPause(500); ///< between attempts to reach the service

} // namespace

DeviceWatch::DeviceWatch(Service &service, Board &board, RecordingJobs &jobs)
    : service_(service), board_(board), jobs_(jobs)
{
    thread_ = std::jthread([this] {
        nameThisThread("view-events");
        run();
    });
}

DeviceWatch::~DeviceWatch()
{
    const std::lock_guard lock(mutex_);
    changed_.notify_all();
}

void DeviceWatch::touch(uint32_t device)
{
    const std::lock_guard lock(mutex_);
    if (device < deviceCount_)
        devices_[device]->touch();
}

void DeviceWatch::run()
{
    const std::shared_ptr<ServiceLink> link = service_.link();
    while (!service_.stopped()) {
        try {
            takeEvents(link->get());
        } catch (const client::ServiceError &error) {
            showLoss(error.what());
        } catch (const std::exception &error) {
            service_.lost();
            showLoss(error.what());
        }
        link->drop();
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, kRetryPause, [this] { return service_.stopped(); });
    }
}

void DeviceWatch::takeEvents(client::Connection &service)
{
    const uint32_t queue = service.createEventQueue();
    // What happened before the queue was there is asked for now.
    touchAll(service.deviceCount());
    while (!service_.stopped()) {
        const client::Event event = service.readEvent(queue);
        if (event.type == EventType::QueueClosed)
            return;
        if (event.type == EventType::DevicesChanged)
            touchAll(service.deviceCount());
        else if (event.type != EventType::NoEvent)
            touch(event.device);
    }
}

void DeviceWatch::touchAll(uint32_t deviceCount)
{
    const std::lock_guard lock(mutex_);
    while (devices_.size() < deviceCount)
        devices_.push_back(std::make_unique<DeviceState>(service_, board_, jobs_,
                                                         static_cast<uint32_t>(devices_.size())));
    deviceCount_ = deviceCount;
    for (uint32_t device = 0; device < devices_.size(); ++device) {
        if (device < deviceCount)
            devices_[device]->touch();
        else
            devices_[device]->remove();
    }
    const Json json = {{"topic", "service"},
                       {"connected", true},
                       {"address", localSocketAddress(kPipeName)},
                       {"devices", deviceCount}};
    board_.put("service", json.dump());
}

void DeviceWatch::showLoss(const std::string &reason)
{
    if (service_.stopped())
        return;
    std::string line = reason;
    std::replace(line.begin(), line.end(), '\n', ' ');
    const Json json = {{"topic", "service"},
                       {"connected", false},
                       {"address", localSocketAddress(kPipeName)},
                       {"error", tools::printable(line)}};
    board_.put("service", json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

} // namespace tavu::view
