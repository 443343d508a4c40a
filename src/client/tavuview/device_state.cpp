#include "client/tavuview/device_state.h"

#include "client/tools/device_status.h"
#include "client/tools/file_text.h"
#include "client/tools/text.h"
#include "platform/clock.h"
#include "platform/thread_name.h"

#include <algorithm>
#include <chrono>
#include <exception>

namespace tavu::view {

namespace {

using namespace std::chrono_literals;
using tools::Json;

constexpr auto kProgressPause = 200ms; ///< between looks at a device that records or recovers
constexpr auto kRefreshPause = 5s;     ///< what no event tells of is asked for as often
constexpr auto kRetryPause = 500ms;    ///< between attempts to reach the service

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

DeviceState::DeviceState(Service &service, Board &board, RecordingJobs &jobs, uint32_t device)
    : service_(service), board_(board), jobs_(jobs), device_(device)
{
    thread_ = std::jthread([this] {
        nameThisThread("view-device");
        run();
    });
}

DeviceState::~DeviceState()
{
    const std::lock_guard lock(mutex_);
    changed_.notify_all();
}

void DeviceState::touch()
{
    const std::lock_guard lock(mutex_);
    wish_ = Wish::Ask;
    changed_.notify_all();
}

void DeviceState::remove()
{
    const std::lock_guard lock(mutex_);
    wish_ = Wish::Remove;
    changed_.notify_all();
}

std::string DeviceState::topic(const char *name) const
{
    return std::string(name) + "/" + std::to_string(device_);
}

/// Waits until something is wished, or until it is time to look anyway.
DeviceState::Wish DeviceState::awaitWish()
{
    std::unique_lock lock(mutex_);
    const auto woken = [this] { return wish_ != Wish::Nothing || service_.stopped(); };
    if (!present_)
        changed_.wait(lock, woken);
    else
        changed_.wait_for(lock, busy_ ? kProgressPause : kRetryPause, woken);
    return std::exchange(wish_, Wish::Nothing);
}

void DeviceState::run()
{
    const std::shared_ptr<ServiceLink> link = service_.link();
    while (true) {
        const Wish wish = awaitWish();
        if (service_.stopped())
            return;
        if (wish == Wish::Remove) {
            leaveBoard();
            continue;
        }
        present_ = true;
        try {
            catchUp(link->get(), wish == Wish::Ask);
        } catch (const client::ServiceError &) {
            // It has gone meanwhile, or doesn't answer: it is asked again.
        } catch (const std::exception &) {
            // Whoever reads events tells of it, and has everything asked for anew.
            jobs_.take(device_);
            board_.put(topic("progress"), {});
            busy_ = recording_ = false;
            link->drop();
        }
    }
}

void DeviceState::catchUp(client::Connection &service, bool touched)
{
    const auto now = RecordingJob::Clock::now();
    stale_ |= touched;
    if (stale_ || now >= nextRefresh_) {
        showDevice(service);
        if (stale_)
            showFiles(service);
        stale_ = false;
        nextRefresh_ = now + kRefreshPause;
    }
    if (busy_ && !showProgress(service)) {
        busy_ = false;
        showDevice(service);
    }
}

void DeviceState::leaveBoard()
{
    present_ = busy_ = recording_ = false;
    jobs_.take(device_);
    for (const char *name : {"device", "files", "progress"})
        board_.put(topic(name), {});
}

void DeviceState::showDevice(client::Connection &service)
{
    const tools::DeviceStatus status = tools::askDevice(service, device_);
    Json json = tools::toJson(status);
    json["topic"] = "device";
    json.erase("files"); // their number comes with them
    json["type"] = status.hardwareType.text(tools::hardwareTypeText);
    json["emulated"] = status.hardwareType.value == client::kEmulatedDevice;
    json["prepared"] = status.percentUsed.error != "No drive set.";
    json["storageError"] = status.percentUsed.error;
    // The emulated device has no recovery to tell of.
    emulated_ =
        status.hardwareType.value.value_or(client::kEmulatedDevice) == client::kEmulatedDevice;
    const Json recovery = emulated_ ? Json() : recoveryJson(service, device_);
    const bool runs = status.state.value == tools::RecordingState::UnderWay;
    const bool recovers =
        !recovery.is_null() &&
        recovery["status"] == static_cast<uint32_t>(client::RecoveryStatus::Running);
    json["recording"] = runs;
    json["recovery"] = recovery;
    // One that we saw running waits to be stored; any other was cut off, or is somebody else's.
    json["ended"] = !runs && status.incomplete.value.value_or(false) && recording_;
    board_.put(topic("device"), text(json));
    busy_ = busy_ || runs || recovers || jobs_.find(device_);
    if (!status.incomplete.value.value_or(false) && !runs)
        recording_ = false;
}

void DeviceState::showFiles(client::Connection &service)
{
    Json json = {{"topic", "files"}, {"device", device_}, {"files", Json::array()}};
    try {
        json["files"] = tools::toJson(service.listFiles(device_));
    } catch (const client::ServiceError &error) {
        json["error"] = tools::printable(error.what());
    }
    board_.put(topic("files"), text(json));
}

bool DeviceState::showProgress(client::Connection &service)
{
    const bool done = tools::recordingState(service, device_) != tools::RecordingState::UnderWay;
    if (!done)
        recording_ = true;
    const std::optional<RecordingJob> job = jobs_.find(device_);
    Json json = {{"topic", "progress"}, {"device", device_}, {"recording", !done}};
    json["recovery"] = emulated_ ? Json() : recoveryJson(service, device_);
    json["ports"] = Json::array();
    const uint8_t ports = service.portCount(device_);
    for (uint8_t port = 0; port < ports && port < 32; ++port) {
        if (job && std::find(job->plan.ports.begin(), job->plan.ports.end(), port) ==
                       job->plan.ports.end())
            continue;
        try {
            const client::RecordingProgress state = service.recordingProgress(device_, port);
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
        if (!done && jobs_.takeTrigger(device_))
            service.softwareTrigger(device_);
        if (done)
            finishJob(service);
    }
    const bool recovers =
        !json["recovery"].is_null() &&
        json["recovery"]["status"] == static_cast<uint32_t>(client::RecoveryStatus::Running);
    const bool goesOn = !done || recovers || job;
    board_.put(topic("progress"), goesOn ? text(json) : std::string());
    return goesOn;
}

void DeviceState::finishJob(client::Connection &service)
{
    const std::optional<RecordingJob> job = jobs_.take(device_);
    if (!job)
        return;
    Json json = {{"topic", "notice"}, {"device", device_}};
    try {
        json["lines"] = Json::array();
        for (const client::FileEntry &file : RecordingJobs::finish(service, device_, *job))
            json["lines"].push_back("Recorded " + tools::fileSummary(file));
    } catch (const client::ServiceError &error) {
        json["error"] = tools::printable(error.what());
    }
    // Two recordings alike are two notices.
    json["at"] = utcTimestamp();
    board_.put(topic("notice"), text(json));
    touch();
}

} // namespace tavu::view
