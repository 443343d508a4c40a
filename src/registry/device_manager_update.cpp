#include "registry/device_manager.h"

#include "platform/diagnostics.h"
#include "platform/environment.h"
#include "platform/thread_name.h"

namespace tavu {

/// Does one step of an update. Its failure is logged, if it has a text, and ends this step alone.
template <typename Step>
void DeviceManager::logFailure(const Step &step)
{
    try {
        step();
    } catch (...) {
        if (const char *text = failureText())
            printLine(stdout, "Caught exception: %s\n", text);
    }
}

// Every change that the library reports causes one update and one event, however they bunch up.
void DeviceManager::followChanges()
{
    nameThisThread("tavu-update");
    for (;;) {
        const EventType type = updateQueue_->pop().type;
        if (type == EventType::NoEvent)
            continue;
        if (type != EventType::DevicesChanged)
            return;
        tryUpdateDeviceList();
        logFailure([this] { broadcast(DeviceEvent{EventType::DevicesChanged, 0, 0}); });
    }
}

void DeviceManager::tryUpdateDeviceList()
{
    logFailure([this] { updateDeviceList(); });
}

void DeviceManager::updateDeviceList()
{
    std::lock_guard guard(lock_);
    if (!recorders_->hasCollection())
        return;
    const NameFilter names{environmentVariable("TAVUSRV_DEVICE_NAME_WHITELIST"),
                           environmentVariable("TAVUSRV_DEVICE_NAME_BLACKLIST")};
    const NameFilter alternativeNames{environmentVariable("TAVUSRV_DEVICE_ALT_NAME_WHITELIST"),
                                      environmentVariable("TAVUSRV_DEVICE_ALT_NAME_BLACKLIST")};
    printLine(stdout, "Updating device list.\n");
    const uint64_t oldCount = knownDeviceCount_;
    knownDeviceCount_ = recorders_->count();
    for (uint32_t i = 0; i < oldCount; ++i)
        logFailure([&] { updateKnownDevice(i); });
    // A recorder that the filters keep out here is never looked at again.
    for (auto i = static_cast<uint32_t>(oldCount); i < knownDeviceCount_; ++i)
        undecidedRecorders_.insert(i);
    const std::set<uint32_t> candidates = undecidedRecorders_;
    for (const uint32_t i : candidates)
        logFailure([&] { addDevice(i, names, alternativeNames); });
    printLine(stdout, "Done updating device list.\n");
}

void DeviceManager::updateKnownDevice(uint32_t collectionIndex)
{
    RecorderDevice *device = findRecorder(collectionIndex);
    if (!device)
        return; // was filtered out
    if (recorders_->isDisconnected(collectionIndex)) {
        printLine(stdout, "Found device: %s (existing, disconnected)\n",
                  recorders_->deviceName(collectionIndex).c_str());
        device->markDisconnected();
    } else {
        printLine(stdout, "Found device: %s (existing)\n",
                  recorders_->deviceName(collectionIndex).c_str());
        device->reconnect();
    }
}

void DeviceManager::addDevice(uint32_t collectionIndex, const NameFilter &names,
                              const NameFilter &alternativeNames)
{
    const std::string name = recorders_->deviceName(collectionIndex);
    if (!names.admits(name) || !admitsAlternativeName(collectionIndex, alternativeNames)) {
        undecidedRecorders_.erase(collectionIndex);
        return;
    }
    std::unique_ptr<RecorderDevice> created = recorders_->createDevice();
    RecorderDevice &device = *created;
    // The device has its place, and can be found again, before anything more can fail.
    device.identify(collectionIndex, name);
    devices_.push_back(std::move(created));
    undecidedRecorders_.erase(collectionIndex);
    if (recorders_->isDisconnected(collectionIndex)) {
        printLine(stdout, "Found device: %s (disconnected)\n", name.c_str());
    } else {
        printLine(stdout, "Found device: %s\n", name.c_str());
        device.connect();
    }
}

// The recorder is only asked when a filter wants to know; one that doesn't answer stays out.
bool DeviceManager::admitsAlternativeName(uint32_t collectionIndex, const NameFilter &filter)
{
    if (!filter.isPresent())
        return true;
    try {
        return filter.admits(recorders_->alternativeName(collectionIndex));
    } catch (...) {
        return false;
    }
}

RecorderDevice *DeviceManager::findRecorder(uint32_t collectionIndex)
{
    for (const auto &device : devices_) {
        auto *recorder = dynamic_cast<RecorderDevice *>(device.get());
        if (recorder && recorder->collectionIndex() == collectionIndex)
            return recorder;
    }
    return nullptr;
}

} // namespace tavu
