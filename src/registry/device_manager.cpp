#include "registry/device_manager.h"

#include "emulator/tavu_device_emulator.h"
#include "hardware/quillon_library.h"
#include "platform/diagnostics.h"
#include "platform/environment.h"
#include "registry/failure_text.h"

#include <stdexcept>
#include <system_error>
#include <utility>

namespace tavu {

namespace {

constexpr uint32_t kAllHostInterfaces = 7;
constexpr uint32_t kSataHostInterfaces = 3;
constexpr uint32_t kLibraryScope = 2;
constexpr std::array<uint32_t, 4> kLibraryVersion = {2, 1, 0, 38};

} // namespace

DeviceManager::DeviceManager() : DeviceManager(std::make_unique<QuillonLibrary>()) {}

DeviceManager::DeviceManager(std::unique_ptr<RecorderLibrary> library)
    : library_(std::move(library))
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
        devices_.push_back(std::make_unique<TavuDeviceEmulator>());
    }
    // Nobody can be connected yet, so nobody is told of this first update.
    tryUpdateDeviceList();
    updateThread_ = std::thread([this] { followChanges(); });
    registerForChanges();
}

// Without word of changes the list would be wrong before long, so there are no recorders then.
void DeviceManager::registerForChanges()
{
    if (!collection_)
        return;
    try {
        changeCallbackId_ = collection_->registerChangeCallback([queue = updateQueue_] {
            queue->push(DeviceEvent{EventType::DevicesChanged, 0, 0});
        });
    } catch (...) {
        const char *text = currentFailureText();
        printLine(stderr, "No recorders, as their changes can't be followed: %s\n",
                  text ? text : "unknown failure");
        std::lock_guard guard(lock_);
        std::erase_if(devices_, [](const std::unique_ptr<ITavuDevice> &device) {
            return dynamic_cast<RecorderDevice *>(device.get()) != nullptr;
        });
        collection_.reset();
        instance_.reset();
    }
}

// Without a working library of the right version the service runs on with no recorders, and says
// nothing: that is the ordinary case on a machine that only has the emulated device.
void DeviceManager::startLibrary(uint32_t hostInterfaceSet)
{
    try {
        instance_ = library_->initialize("OREK Pellam", false, kLibraryScope);
        if (instance_->version() != kLibraryVersion)
            throw std::runtime_error("Version mismatch");
        collection_ = instance_->deviceCollection(hostInterfaceSet, false);
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
            collection_->unregisterChangeCallback(*changeCallbackId_);
        } catch (...) {
            // The callback reaches nothing but its own share of the queue, so it may stay.
        }
        changeCallbackId_.reset();
    }
    collection_.reset();
    instance_.reset();
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
