#include "protocol/handlers.h"

namespace tavu {

namespace {

Reply deviceCount(const Call<Command::DeviceCount> &call)
{
    return call.reply(call.devices().deviceCount());
}

/// Passes any number on, whether such a device exists or not.
Reply notifyFilesChanged(const Call<Command::NotifyFilesChanged> &call)
{
    call.devices().broadcast(*call.announcement());
    return call.reply();
}

Reply lockGlobal(const Call<Command::LockGlobal> &call)
{
    call.devices().lockGlobal();
    call.client().holdsGlobalLock = true;
    return call.reply();
}

Reply unlockGlobal(const Call<Command::UnlockGlobal> &call)
{
    call.devices().unlockGlobal();
    call.client().holdsGlobalLock = false;
    return call.reply();
}

constexpr Handler kHandlers[] = {
    handle<deviceCount>(),
    pass<Command::DeviceName, &ITavuDevice::name>(),
    pass<Command::DeviceConnected, &ITavuDevice::isConnected>(),
    pass<Command::IsCxp, &ITavuDevice::isCxp>(),
    pass<Command::PortCount, &ITavuDevice::portCount>(),
    pass<Command::PortName, &ITavuDevice::portName>(),
    pass<Command::PercentUsed, &ITavuDevice::percentUsed>(),
    pass<Command::HardwareType, &ITavuDevice::hardwareType>(),
    handle<notifyFilesChanged>(),
    handle<lockGlobal>(),
    handle<unlockGlobal>(),
};

} // namespace

std::span<const Handler> deviceCommands()
{
    return kHandlers;
}

} // namespace tavu
