#pragma once

#include "hardware/library/port.h"
#include "hardware/library/record.h"
#include "hardware/library/storage.h"
#include "hardware/library/trigger.h"

#include <cstdint>

namespace Quillon {

struct HardwareInfo
{
    std::uint32_t deviceType; ///< the recorder model's type number
};

/// One recorder.
class Device
{
public:
    /// 1 marks a virtual device, which can neither record nor be configured.
    virtual std::uint32_t kind() = 0;
    virtual String name() = 0;
    virtual String altName() = 0;
    /// 0 means connected.
    virtual std::uint32_t connectionState() = 0;
    virtual boost::shared_ptr<HardwareInfo> hardwareInfo(std::uint32_t flags) = 0;
    virtual boost::shared_ptr<Storage> storage(std::uint32_t flags) = 0;
    virtual std::uint32_t portCount() = 0;
    virtual boost::shared_ptr<Port> port(std::uint32_t index) = 0;
    virtual boost::shared_ptr<TriggerBank> triggerBank() = 0;
    /// Always the same controller for a recorder.
    virtual boost::shared_ptr<Record> record() = 0;

protected:
    ~Device() = default;
};

} // namespace Quillon
