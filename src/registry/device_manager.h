#pragma once

#include "platform/owned_mutex.h"
#include "registry/event_queue.h"
#include "registry/name_filter.h"
#include "registry/recorder_library.h"
#include "registry/tavu_device.h"
#include "wire/events.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace tavu {

/// Where devices come from.
struct DeviceSources
{
    std::unique_ptr<RecorderLibrary> recorders; ///< never null
    /// Called once, where the environment asks for the emulated device.
    std::function<std::unique_ptr<ITavuDevice>()> makeEmulatedDevice;
};

/// The registry of devices: keeps the list that clients index, follows recorders that come and go,
/// and tells every client's event queue what happened.
///
/// A device keeps its index and its object until the manager is destroyed; one that goes away is
/// marked disconnected. Locks are taken in the order lock_, a device's mutex, a queue's mutex.
/// start() and stop() belong to one thread; everything else may be called from any.
class DeviceManager
{
public:
    explicit DeviceManager(DeviceSources sources);
    DeviceManager(const DeviceManager &) = delete;
    DeviceManager &operator=(const DeviceManager &) = delete;
    /// Stops, then destroys queues and devices. Nobody may wait in readEvent() any more.
    ~DeviceManager();

    /// Starts the library, builds the device list and begins to follow its changes. To be called
    /// once. A library that is absent, fails to start, has another version or tells of no changes
    /// only means that there are no recorders. Raises what the emulated device's constructor and
    /// the start of the update thread raise.
    void start();

    /// Ends the update thread and lets go of the library; devices and queues stay. A second call
    /// does nothing. Raises std::errc::resource_deadlock_would_occur on the update thread itself.
    void stop();

    /// Waits for a running update of the list.
    uint32_t deviceCount();

    /// The lock that clients hold across requests; nothing in the service takes it for itself.
    /// Waits without limit. Raises std::system_error when the calling thread holds it already.
    void lockGlobal();
    /// Raises std::system_error when the calling thread doesn't hold the lock.
    void unlockGlobal();

    // Event queues. The operations on a queue raise std::runtime_error for an id that is not in
    // use.

    /// Returns the id of a new queue: the lowest one whose slot is free and empty.
    uint32_t createQueue();
    /// Frees a queue. Unless \a silent, a QueueClosed event is left in its slot; it frees a reader
    /// that waits in readEvent(). With no such reader it stays, and the slot is never used again.
    void destroyQueue(uint32_t queueId, bool silent);
    /// Waits for the next event as EventQueue::pop() does, without holding a lock of the manager.
    void readEvent(uint32_t queueId, DeviceEvent &event);
    /// As EventQueue::tryPop().
    bool tryReadEvent(uint32_t queueId, DeviceEvent &event);
    /// Puts a copy of \a event in every queue in use; all queues see events in the same order.
    void broadcast(const DeviceEvent &event);

    /// Calls \a operation, one of ITavuDevice's, on the device at \a index, and returns what it
    /// returns. The index is looked at first: "Invalid device index.". While the device works, no
    /// lock of the manager is held. \a announcement, if there is one, is posted to all queues once
    /// the device has succeeded, and so before anybody can be told of the success; what the device
    /// raises passes through, and nothing is posted.
    template <typename Operation, typename... Arguments>
    auto call(uint32_t index, const std::optional<DeviceEvent> &announcement, Operation operation,
              Arguments &&...arguments)
    {
        ITavuDevice &device = deviceAt(index);
        if constexpr (std::is_void_v<
                          std::invoke_result_t<Operation, ITavuDevice &, Arguments...>>) {
            std::invoke(operation, device, std::forward<Arguments>(arguments)...);
            announce(announcement);
        } else {
            auto result = std::invoke(operation, device, std::forward<Arguments>(arguments)...);
            announce(announcement);
            return result;
        }
    }

    /// RecorderLibrary::failureText().
    const char *failureText() noexcept { return recorders_->failureText(); }

private:
    struct QueueSlot
    {
        bool inUse = false;
        EventQueue queue;
    };

    void startLibrary(uint32_t hostInterfaceSet);
    ITavuDevice &deviceAt(uint32_t index);
    void announce(const std::optional<DeviceEvent> &announcement)
    {
        if (announcement)
            broadcast(*announcement);
    }
    QueueSlot &slotInUse(uint32_t queueId);

    void registerForChanges();
    void followChanges();
    template <typename Step>
    void logFailure(const Step &step);
    void tryUpdateDeviceList();
    void updateDeviceList();
    void updateKnownDevice(uint32_t collectionIndex);
    void addDevice(uint32_t collectionIndex, const NameFilter &names,
                   const NameFilter &alternativeNames);
    bool admitsAlternativeName(uint32_t collectionIndex, const NameFilter &filter);
    RecorderDevice *findRecorder(uint32_t collectionIndex);

    const std::unique_ptr<RecorderLibrary> recorders_;
    const std::function<std::unique_ptr<ITavuDevice>()> makeEmulatedDevice_;
    std::mutex lock_; ///< guards devices_, queueSlots_, knownDeviceCount_, undecidedRecorders_
    std::vector<std::unique_ptr<ITavuDevice>> devices_;
    std::deque<QueueSlot> queueSlots_; ///< a slot never moves: readers wait in it without lock_
    std::optional<uint32_t> changeCallbackId_;
    std::thread updateThread_;
    /// Shared with the callback, which the library may still be running while we go.
    const std::shared_ptr<EventQueue> updateQueue_ = std::make_shared<EventQueue>();
    OwnedMutex globalLock_;
    uint64_t knownDeviceCount_ = 0;
    /// Recorders of the collection that are neither in the list nor kept out of it by the filters:
    /// what that takes failed so far.
    std::set<uint32_t> undecidedRecorders_;
};

} // namespace tavu
