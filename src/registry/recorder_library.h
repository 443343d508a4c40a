#pragma once

#include "registry/tavu_device.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tavu {

// What the device manager needs of the recorder maker's library, and no more. Every operation may
// raise. Operations are called by the thread that starts and stops the manager and by its update
// thread, never by both at once.

/// A device that stands for one recorder of the library. Unlike the operations of ITavuDevice,
/// those added here are for the device list update alone.
class RecorderDevice : public ITavuDevice
{
public:
    /// Collection index of a device that was never identified.
    static constexpr uint32_t kNoIndex = 0xFFFFFFFF;

    /// The recorder's index in the library's collection, a different number than the device index
    /// that clients use. Takes no lock and doesn't raise, so that finding one device never waits
    /// for the others.
    virtual uint32_t collectionIndex() = 0;

    /// Stores index and name. This is all that a recorder found disconnected gets: it has no ports
    /// until it is reconnected.
    virtual void identify(uint32_t collectionIndex, const std::string &name) = 0;

    /// First connection of an identified device: builds ports and catalogue.
    virtual void connect() = 0;

    /// Connects a device that isn't connected, keeping ports it has; otherwise does nothing.
    virtual void reconnect() = 0;

    /// Empties the catalogue; ports, open files and live views stay.
    virtual void markDisconnected() = 0;
};

/// The library's list of recorders. Only grows; an index stays with its recorder.
class RecorderCollection
{
public:
    static constexpr uint32_t kDisconnected = 1;

    virtual ~RecorderCollection() = default;

    virtual uint64_t count() = 0;
    /// Known for a disconnected recorder too.
    virtual std::string deviceName(uint32_t index) = 0;
    virtual uint32_t deviceState(uint32_t index) = 0;
    virtual std::string alternativeName(uint32_t index) = 0;

    /// \a callback is called on a thread of the library whenever recorders come or go, until
    /// unregisterChangeCallback() was given the returned number.
    virtual uint32_t registerChangeCallback(std::function<void()> callback) = 0;
    virtual void unregisterChangeCallback(uint32_t id) = 0;

    /// Makes a device that is bound to no recorder yet, without talking to the library. The device
    /// shares what it needs of the collection, so that it can outlive this object. Never null.
    virtual std::unique_ptr<RecorderDevice> createDevice() = 0;
};

/// The started library.
class RecorderInstance
{
public:
    virtual ~RecorderInstance() = default;

    /// Major, minor, third and fourth number.
    virtual std::array<uint32_t, 4> version() = 0;
    /// An empty handle means that there are no recorders.
    virtual std::shared_ptr<RecorderCollection> deviceCollection(uint32_t hostInterfaceSet,
                                                                 bool flag) = 0;
};

/// The way into the library.
class RecorderLibrary
{
public:
    virtual ~RecorderLibrary() = default;

    /// Starts the library. Never returns an empty handle.
    virtual std::shared_ptr<RecorderInstance> initialize(const std::string &applicationName,
                                                         bool flag, uint32_t scope) = 0;
};

} // namespace tavu
