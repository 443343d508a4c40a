#pragma once

#include "registry/tavu_device.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tavu {

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

/// What the device manager needs of the recorder maker's library, and no more: the library itself
/// and its collection of recorders, which only grows, so that an index stays with its recorder.
///
/// Every operation may raise. They are called by the thread that starts and stops the manager and
/// by its update thread, never by both at once.
class RecorderLibrary
{
public:
    virtual ~RecorderLibrary() = default;

    /// Starts the library and takes its collection of the recorders behind these host interfaces.
    /// Raises when the library is absent, fails or has another version than ours.
    virtual void start(uint32_t hostInterfaceSet) = 0;
    /// Lets go of the collection and the library, as far as they were had. Doesn't raise.
    virtual void release() = 0;

    /// False before start(), when that failed, and when the library has no collection. What follows
    /// needs one.
    virtual bool hasCollection() const = 0;

    virtual uint64_t count() = 0;
    /// Known for a disconnected recorder too.
    virtual std::string deviceName(uint32_t index) = 0;
    virtual bool isDisconnected(uint32_t index) = 0;
    virtual std::string alternativeName(uint32_t index) = 0;

    /// \a callback is called on a thread of the library whenever recorders come or go, until
    /// unregisterChangeCallback() was given the returned number.
    virtual uint32_t registerChangeCallback(std::function<void()> callback) = 0;
    virtual void unregisterChangeCallback(uint32_t id) = 0;

    /// Makes a device that is bound to no recorder yet, without talking to the library. The device
    /// shares what it needs of the collection, so that it can outlive it. Never null.
    virtual std::unique_ptr<RecorderDevice> createDevice() = 0;

    /// To be called while an exception is being handled, whoever raised it: its text, or null when
    /// it is of a kind that carries none. The text lives as long as the caller's handler runs.
    virtual const char *failureText() noexcept = 0;
};

} // namespace tavu
