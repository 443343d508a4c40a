#include "client/tavuview/device_watch.h"

#include "client/tools/device_status.h"
#include "client/tools/file_text.h"
#include "client/tools/text.h"
#include "platform/clock.h"
#include "platform/thread_name.h"
#include "service/transport/local_socket.h"

#include <algorithm>
#include <exception>

namespace tavu::view {

namespace {

using namespace std::chrono_literals;
using tools::Json;

constexpr auto kProgressPause = 200ms; ///< between looks at a device that records or recovers
constexpr auto kRefreshPause = 5s;     ///< what no event tells of is asked for as often
constexpr auto kRetryPause = 500ms;    ///< between attempts to reach the service

std::string topic(const char *name, uint32_t device)
{
    return std::string(name) + "/" + std::to_string(device);
}

std::string text(const Json &json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// The recovery's state; nothing where the device has none.
Json recoveryJson(client::Connection &service, uint32_t device)
{
    try {
        const client::RecoveryStatus status = service.recoveryStatus(device);
        Json json = {{"status", static_cast<uint32_t>(status)}};
        if (status == client::RecoveryStatus::Failed)
            json["error"] = tools::printable(service.recoveryError(device));
        return json;
    } catch (const client::ServiceError &) {
        return {};
    }
}

} // namespace

DeviceWatch::DeviceWatch(Service &service, Board &board, RecordingJobs &jobs, WorkerPool &pool)
    : service_(service), board_(board), jobs_(jobs), pool_(pool)
{
    events_ = std::jthread([this] {
        nameThisThread("view-events");
        readEvents();
    });
    state_ = std::jthread([this] {
        nameThisThread("view-state");
        keepUp();
    });
}

DeviceWatch::~DeviceWatch()
{
    // The service was stopped before, so that both threads end.
    changed_.notify_all();
}

void DeviceWatch::touch(uint32_t device)
{
    {
        const std::lock_guard lock(mutex_);
        touched_.insert(device);
    }
    changed_.notify_all();
}

void DeviceWatch::readEvents()
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
    {
        const std::lock_guard lock(mutex_);
        touchedAll_ = true;
    }
    changed_.notify_all();
    while (!service_.stopped()) {
        const client::Event event = service.readEvent(queue);
        if (event.type == EventType::QueueClosed)
            return;
        if (event.type == EventType::NoEvent)
            continue;
        {
            const std::lock_guard lock(mutex_);
            if (event.type == EventType::DevicesChanged)
                touchedAll_ = true;
            else
                touched_.insert(event.device);
        }
        changed_.notify_all();
    }
}

void DeviceWatch::showLoss(const std::string &reason)
{
    if (service_.stopped())
        return;
    std::string line = reason;
    std::replace(line.begin(), line.end(), '\n', ' ');
    board_.put("service", text({{"topic", "service"},
                                {"connected", false},
                                {"address", localSocketAddress(kPipeName)},
                                {"error", tools::printable(line)}}));
}

void DeviceWatch::keepUp()
{
    const std::shared_ptr<ServiceLink> link = service_.link();
    while (!service_.stopped()) {
        try {
            catchUp(link->get());
        } catch (const client::ServiceError &) {
            // A device that has gone meanwhile; its event comes, or came.
        } catch (const std::exception &) {
            // The thread that reads events tells of it, and has everything asked for anew.
            jobs_.forgetAll();
            for (const uint32_t device : busy_)
                board_.put(topic("progress", device), {});
            busy_.clear();
            recording_.clear();
            link->drop();
        }
        pause();
    }
}

void DeviceWatch::pause()
{
    std::unique_lock lock(mutex_);
    const auto limit = busy_.empty() ? std::chrono::milliseconds(kRetryPause)
                                     : std::chrono::milliseconds(kProgressPause);
    changed_.wait_for(lock, limit,
                      [this] { return touchedAll_ || !touched_.empty() || service_.stopped(); });
}

void DeviceWatch::catchUp(client::Connection &service)
{
    std::set<uint32_t> touched;
    bool all = false;
    {
        const std::lock_guard lock(mutex_);
        all = std::exchange(touchedAll_, false);
        touched.swap(touched_);
    }
    const auto now = RecordingJob::Clock::now();
    try {
        if (all)
            askAll(service);
        for (const uint32_t device : touched) {
            if (all || device >= deviceCount_)
                continue;
            showDevice(service, device);
            showFiles(service, device);
        }
        if (now >= nextRefresh_) {
            nextRefresh_ = now + kRefreshPause;
            for (uint32_t device = 0; device < deviceCount_; ++device)
                showDevice(service, device);
        }
    } catch (...) {
        // Nothing may be left out for good.
        const std::lock_guard lock(mutex_);
        touchedAll_ |= all;
        touched_.merge(touched);
        throw;
    }
    for (const uint32_t device : std::set(busy_)) {
        if (showProgress(service, device))
            continue;
        busy_.erase(device);
        showDevice(service, device);
    }
}

void DeviceWatch::askAll(client::Connection &service)
{
    const uint32_t former = std::exchange(deviceCount_, service.deviceCount());
    for (uint32_t device = 0; device < deviceCount_; ++device) {
        showDevice(service, device);
        showFiles(service, device);
    }
    // After a restart of the service there may be fewer.
    for (uint32_t device = deviceCount_; device < former; ++device) {
        for (const char *name : {"device", "files", "progress"})
            board_.put(topic(name, device), {});
    }
    board_.put("service", text({{"topic", "service"},
                                {"connected", true},
                                {"address", localSocketAddress(kPipeName)},
                                {"devices", deviceCount_}}));
}

void DeviceWatch::showDevice(client::Connection &service, uint32_t device)
{
    const tools::DeviceStatus status = tools::askDevice(service, device);
    Json json = tools::toJson(status);
    json["topic"] = "device";
    json.erase("files"); // their number comes with them
    json["type"] = status.hardwareType.text(tools::hardwareTypeText);
    json["emulated"] = status.hardwareType.value == client::kEmulatedDevice;
    json["prepared"] = status.percentUsed.error != "No drive set.";
    json["storageError"] = status.percentUsed.error;
    // The emulated device has no recovery to tell of.
    if (status.hardwareType.value.value_or(client::kEmulatedDevice) == client::kEmulatedDevice)
        emulated_.insert(device);
    else
        emulated_.erase(device);
    const Json recovery = emulated_.contains(device) ? Json() : recoveryJson(service, device);
    const bool runs = status.state.value == tools::RecordingState::UnderWay;
    const bool recovers =
        !recovery.is_null() &&
        recovery["status"] == static_cast<uint32_t>(client::RecoveryStatus::Running);
    json["recording"] = runs;
    json["recovery"] = recovery;
    // One that we saw running waits to be stored; any other was cut off, or is somebody else's.
    json["ended"] = !runs && status.incomplete.value.value_or(false) && recording_.contains(device);
    board_.put(topic("device", device), text(json));
    if (runs || recovers || jobs_.find(device))
        busy_.insert(device);
    if (!status.incomplete.value.value_or(false) && !runs)
        recording_.erase(device);
}

void DeviceWatch::showFiles(client::Connection &service, uint32_t device)
{
    Json json = {{"topic", "files"}, {"device", device}, {"files", Json::array()}};
    try {
        json["files"] = tools::toJson(service.listFiles(device));
    } catch (const client::ServiceError &error) {
        json["error"] = tools::printable(error.what());
    }
    board_.put(topic("files", device), text(json));
}

bool DeviceWatch::isDone(client::Connection &service, uint32_t device) const
{
    if (service.isRecordingDone(device))
        return true;
    // The emulated device doesn't say so before its first recording.
    return emulated_.contains(device) && !service.hasIncompleteFile(device);
}

bool DeviceWatch::showProgress(client::Connection &service, uint32_t device)
{
    const bool done = isDone(service, device);
    if (!done)
        recording_.insert(device);
    const std::optional<RecordingJob> job = jobs_.find(device);
    Json json = {{"topic", "progress"}, {"device", device}, {"recording", !done}};
    json["recovery"] = emulated_.contains(device) ? Json() : recoveryJson(service, device);
    json["ports"] = Json::array();
    const uint8_t ports = service.portCount(device);
    for (uint8_t port = 0; port < ports && port < 32; ++port) {
        if (job && std::find(job->plan.ports.begin(), job->plan.ports.end(), port) ==
                       job->plan.ports.end())
            continue;
        try {
            const client::RecordingProgress state = service.recordingProgress(device, port);
            json["ports"].push_back(
                {{"port", port}, {"frames", state.numFrames}, {"waiting", state.inPretrigger}});
        } catch (const client::ServiceError &) {
            // The port isn't part of the recording.
        }
    }
    if (job) {
        const auto passed = RecordingJob::Clock::now() - job->start;
        json["job"] = {
            {"name", job->name},
            {"frames", job->plan.frames ? Json(*job->plan.frames) : Json()},
            {"time", job->plan.time ? Json(*job->plan.time) : Json()},
            {"pretrigger", job->plan.pretrigger.has_value()},
            {"passed", std::chrono::duration_cast<std::chrono::microseconds>(passed).count()}};
        if (!done && jobs_.takeTrigger(device))
            service.softwareTrigger(device);
        if (done)
            finishJob(device);
    }
    const bool recovers =
        !json["recovery"].is_null() &&
        json["recovery"]["status"] == static_cast<uint32_t>(client::RecoveryStatus::Running);
    const bool goesOn = !done || recovers || job;
    board_.put(topic("progress", device), goesOn ? text(json) : std::string());
    return goesOn;
}

void DeviceWatch::finishJob(uint32_t device)
{
    const std::optional<RecordingJob> job = jobs_.take(device);
    if (!job)
        return;
    pool_.post([this, device, job] {
        Json json = {{"topic", "notice"}, {"device", device}};
        try {
            const std::shared_ptr<ServiceLink> link = service_.link();
            json["lines"] = Json::array();
            for (const client::FileEntry &file : RecordingJobs::finish(link->get(), device, *job))
                json["lines"].push_back("Recorded " + tools::fileSummary(file));
        } catch (const std::exception &error) {
            json["error"] = tools::printable(error.what());
        }
        // Two recordings alike are two notices.
        json["at"] = utcTimestamp();
        board_.put(topic("notice", device), text(json));
        touch(device);
    });
}

} // namespace tavu::view
