#pragma once

#include "hardware/library/device.h"

#include <cstdint>
#include <functional>

namespace Quillon {

struct VersionInfo
{
    std::uint32_t majorNumber;
    std::uint32_t minorNumber;
    std::uint32_t thirdNumber;
    std::uint32_t fourthNumber;
};

enum class Scope : std::uint32_t
{
};
enum class HostInterfaceType : std::uint32_t
{
};

/// The recorders that the library has seen. Only grows; an index stays with its recorder.
class DeviceCollection
{
public:
    /// Called on a thread of the library.
    using ChangeCallback = std::function<void(std::uint32_t change)>;

    virtual std::uint64_t count() = 0;
    /// Usable for a disconnected recorder too.
    virtual String deviceName(std::uint32_t index) = 0;
    /// 1 means disconnected.
    virtual std::uint32_t deviceState(std::uint32_t index) = 0;
    virtual boost::shared_ptr<Device> device(std::uint32_t index) = 0;
    virtual std::uint32_t registerChangeCallback(const ChangeCallback &callback) = 0;
    /// No call of the callback is under way when this returns.
    virtual void unregisterChangeCallback(std::uint32_t id) = 0;

protected:
    ~DeviceCollection() = default;
};

/// The started library.
class Instance
{
public:
    QUILLON_API static boost::shared_ptr<Instance> initialize(const String &applicationName,
                                                              bool flag, Scope scope);
    QUILLON_API boost::shared_ptr<DeviceCollection> deviceCollection(HostInterfaceType interfaces,
                                                                     bool flag);
    QUILLON_API VersionInfo version();

protected:
    ~Instance() = default;
};

} // namespace Quillon
