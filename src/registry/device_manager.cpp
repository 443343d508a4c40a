#include "registry/device_manager.h"

#include "platform/diagnostics.h"
#include "platform/environment.h"

#include <stdexcept>
#include <system_error>
#include <utility>

namespace tavu {

namespace {

constexpr uint32_t kAllHostInterfaces = 7;
constexpr uint32_t kSataHostInterfaces = 3;

} // namespace

DeviceManager::DeviceManager(DeviceSources sources)
    : recorders_(std::move(sources.recorders)),
      makeEmulatedDevice_(std::move(sources.makeEmulatedDevice))
{
}

DeviceManager::~DeviceManager()
{
    try {
        stop();
    } catch (...) {
        // Nobody is left to tell.
    }
}

void DeviceManager::start()
{
    startLibrary(environmentFlag("TAVUSRV_SATA_ONLY") ? kSataHostInterfaces : kAllHostInterfaces);
    if (environmentFlag("TAVUSRV_ENABLE_EMULATOR")) {
        std::lock_guard guard(lock_);
        devices_.push_back(makeEmulatedDevice_());
    }
    // Nobody can be connected yet, so nobody is told of this first update.
    tryUpdateDeviceList();
    updateThread_ = std::thread([this] { followChanges(); });
    registerForChanges();
}

// Without word of changes the list would be wrong before long, so there are no recorders then.
void DeviceManager::registerForChanges()
{
    if (!recorders_->hasCollection())
        return;
    try {
        changeCallbackId_ = recorders_->registerChangeCallback([queue = updateQueue_] {
            queue->push(DeviceEvent{EventType::DevicesChanged, 0, 0});
        });
    } catch (...) {
        const char *text = failureText();
        printLine(stderr, "No recorders, as their changes can't be followed: %s\n",
                  text ? text : "unknown failure");
        std::lock_guard guard(lock_);
        std::erase_if(devices_, [](const std::unique_ptr<ITavuDevice> &device) {
            return dynamic_cast<RecorderDevice *>(device.get()) != nullptr;
        });
        recorders_->release();
    }
}

// Without a working library of the right version the service runs on with no recorders, and says
// nothing: that is the ordinary case on a machine that only has the emulated device.
void DeviceManager::startLibrary(uint32_t hostInterfaceSet)
{
    try {
        recorders_->start(hostInterfaceSet);
    } catch (...) {
    }
}

void DeviceManager::stop()
{
    if (updateThread_.joinable()) {
        updateQueue_->push(DeviceEvent{EventType::QueueClosed, 0, 0});
        if (updateThread_.get_id() == std::this_thread::get_id())
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        updateThread_.join();
    }
    if (changeCallbackId_) {
        try {
            recorders_->unregisterChangeCallback(*changeCallbackId_);
        } catch (...) {
            // The callback reaches nothing but its own share of the queue, so it may stay.
        }
        changeCallbackId_.reset();
    }
    recorders_->release();
}

uint32_t DeviceManager::deviceCount()
{
    std::lock_guard guard(lock_);
    return static_cast<uint32_t>(devices_.size());
}

// The device outlives the lock: devices are destroyed with the manager only.
ITavuDevice &DeviceManager::deviceAt(uint32_t index)
{
    std::lock_guard guard(lock_);
    if (index >= devices_.size())
        throw std::runtime_error("Invalid device index.");
    return *devices_[index];
}

void DeviceManager::lockGlobal()
{
    globalLock_.lock();
}

void DeviceManager::unlockGlobal()
{
    globalLock_.unlock();
}

} // namespace tavu
