#include "protocol/commands.h"
#include "protocol/simple_commands.h"

namespace tavu::commands {

Reply deviceCount(Session &session, const ObjectValue &)
{
    return Reply().add("count", session.devices.deviceCount());
}

Reply deviceName(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "name", &DeviceManager::name);
}

Reply deviceConnected(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "connected", &DeviceManager::isConnected);
}

Reply isCxp(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "isCxp", &DeviceManager::isCxp);
}

Reply portCount(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "count", &DeviceManager::portCount);
}

Reply portName(Session &session, const ObjectValue &request)
{
    return askPort(session, request, "name", &DeviceManager::portName);
}

Reply percentUsed(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "percent", &DeviceManager::percentUsed);
}

Reply hardwareType(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "hardwareType", &DeviceManager::hardwareType);
}

/// Passes any number on, whether such a device exists or not.
Reply notifyFilesChanged(Session &session, const ObjectValue &request)
{
    return onDevice(session, request, &DeviceManager::notifyFilesChanged);
}

Reply lockGlobal(Session &session, const ObjectValue &)
{
    session.devices.lockGlobal();
    session.connection.holdsGlobalLock = true;
    return Reply();
}

Reply unlockGlobal(Session &session, const ObjectValue &)
{
    session.devices.unlockGlobal();
    session.connection.holdsGlobalLock = false;
    return Reply();
}

} // namespace tavu::commands
