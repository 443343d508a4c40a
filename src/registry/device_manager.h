#pragma once

#include "platform/owned_mutex.h"
#include "registry/device_event.h"
#include "registry/event_queue.h"
#include "registry/name_filter.h"
#include "registry/recorder_library.h"
#include "registry/tavu_device.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace tavu {

/// The registry of devices: keeps the list that clients index, follows recorders that come and go,
/// and tells every client's event queue what happened.
///
/// A device keeps its index and its object until the manager is destroyed; one that goes away is
/// marked disconnected. Locks are taken in the order lock_, a device's mutex, a queue's mutex.
/// start() and stop() belong to one thread; everything else may be called from any.
class DeviceManager
{
public:
    /// A manager that drives recorders through the maker's library, where there is one.
    DeviceManager();
    explicit DeviceManager(std::unique_ptr<RecorderLibrary> library);
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
    /// Posts FilesChanged for \a index, which need not exist.
    void notifyFilesChanged(uint32_t index);

    // One operation per device command: the ITavuDevice operation of that name on device \a index,
    // called without a lock of the manager. Each raises std::runtime_error "Invalid device index."
    // and whatever the device raises. An event is posted only once the device has succeeded.

    std::string name(uint32_t index);
    bool isConnected(uint32_t index);

    bool hasIncompleteFile(uint32_t index);
    void discardIncompleteFile(uint32_t index);
    void startRecovery(uint32_t index);
    void finishRecovery(uint32_t index);
    void cancelRecovery(uint32_t index);
    uint32_t recoveryStatus(uint32_t index);
    std::string recoveryError(uint32_t index);

    void serialOpen(uint32_t index, uint8_t port, uint32_t baudRate, uint8_t parity,
                    uint8_t stopBits);
    uint32_t serialGetBaudRate(uint32_t index, uint8_t port);
    void serialSetBaudRate(uint32_t index, uint8_t port, uint32_t baudRate);
    uint32_t serialRead(uint32_t index, uint8_t port, void *buffer, uint32_t size);
    uint32_t serialWrite(uint32_t index, uint8_t port, const void *buffer, uint32_t size);
    void serialClear(uint32_t index, uint8_t port);
    void serialClose(uint32_t index, uint8_t port);
    void registerRead(uint32_t index, uint8_t port, uint32_t addr, void *buffer, uint32_t size);
    void registerWrite(uint32_t index, uint8_t port, uint32_t addr, const void *buffer,
                       uint32_t size);

    uint8_t portCount(uint32_t index);
    std::string portName(uint32_t index, uint8_t port);
    bool isCxp(uint32_t index);

    std::vector<FileRecord> listFiles(uint32_t index);
    void openFile(uint32_t index, uint32_t &openFileId, std::string &mapping, uint32_t fileId,
                  uint32_t streamId);
    void fileInfo(uint32_t index, uint32_t openFileId, uint16_t &width, uint16_t &height,
                  uint32_t &imageSize, uint64_t &numFrames, uint64_t &size);
    void closeFile(uint32_t index, uint32_t openFileId);
    void readFrame(uint32_t index, uint32_t openFileId, uint64_t frame);
    /// Posts FilesChanged.
    void removeFile(uint32_t index, uint32_t fileId, uint32_t streamId);
    void fileIdentity(uint32_t index, uint32_t fileId, uint32_t streamId, ByteBlock &data);

    /// Posts PairingChanged with the port.
    void pairPort(uint32_t index, uint8_t port, const std::string &identity, const void *info,
                  uint32_t infoSize, uint16_t numFramesPerPacket);
    /// Posts nothing: the pairing stays with the same camera.
    void repairPort(uint32_t index, uint8_t port, const std::string &identity, const void *info,
                    uint32_t infoSize, uint16_t numFramesPerPacket);
    /// Posts PairingChanged with the port.
    void unpairPort(uint32_t index, uint8_t port);
    void portIdentity(uint32_t index, uint8_t port, ByteBlock &data);
    uint16_t framesPerPacket(uint32_t index, uint8_t port);
    std::string pairedTo(uint32_t index, uint8_t port);
    void getPortConfig(uint32_t index, uint8_t port, uint16_t &width, uint16_t &height,
                       uint32_t &pixelFormat, uint32_t &tapGeometry);
    void setPortConfig(uint32_t index, uint8_t port, uint16_t width, uint16_t height,
                       uint32_t pixelFormat, uint32_t tapGeometry);
    void setup(uint32_t index);

    /// Posts RecordingStarted with \a portMask in the place of the port.
    void startRecording(uint32_t index, uint32_t portMask, uint8_t externalTrigger, uint8_t type,
                        uint64_t count, bool usePretrigger, uint64_t pretriggerCount);
    /// Posts RecordingStopped.
    void stopRecording(uint32_t index);
    void softwareTrigger(uint32_t index);
    bool isRecordingDone(uint32_t index);
    void recordingFile(uint32_t index, uint8_t port, uint32_t &fileId, uint32_t &streamId);
    void recordingProgress(uint32_t index, uint8_t port, uint64_t &numFrames, bool &inPretrigger);

    /// Posts FilesChanged if \a notify is true.
    void renameFile(uint32_t index, uint32_t fileId, uint32_t streamId, const std::string &name,
                    bool notify);
    /// Posts FilesChanged if \a notify is true.
    std::string setFileInfo(uint32_t index, uint32_t fileId, uint32_t streamId,
                            const std::string &name, uint16_t width, uint16_t height,
                            uint64_t numImages, uint64_t numDroppedFrames, uint64_t startTime,
                            uint64_t endTime, uint64_t duration, bool notify);

    uint8_t percentUsed(uint32_t index);
    uint8_t hardwareType(uint32_t index);

    std::string startLive(uint32_t index, uint8_t port);
    void stopLive(uint32_t index, uint8_t port);
    void liveFrame(uint32_t index, uint8_t port, uint16_t &width, uint16_t &height,
                   uint32_t &imageSize);

private:
    struct QueueSlot
    {
        bool inUse = false;
        EventQueue queue;
    };

    void startLibrary(uint32_t hostInterfaceSet);
    ITavuDevice &deviceAt(uint32_t index);
    QueueSlot &slotInUse(uint32_t queueId);

    void registerForChanges();
    void followChanges();
    /// Logs a failure.
    void tryUpdateDeviceList();
    void updateDeviceList();
    void updateKnownDevice(uint32_t collectionIndex);
    void addDevice(uint32_t collectionIndex, const NameFilter &names,
                   const NameFilter &alternativeNames);
    bool admitsAlternativeName(uint32_t collectionIndex, const NameFilter &filter);
    RecorderDevice *findRecorder(uint32_t collectionIndex);

    const std::unique_ptr<RecorderLibrary> library_;
    std::mutex lock_; ///< guards devices_, queueSlots_, knownDeviceCount_, undecidedRecorders_
    std::shared_ptr<RecorderInstance> instance_;
    std::shared_ptr<RecorderCollection> collection_;
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
