#include "protocol/commands.h"
#include "protocol/parameters.h"

namespace tavu::commands {

Reply deviceCount(Session &session, const ObjectValue &)
{
    return Reply().add("count", session.devices.deviceCount());
}

Reply deviceName(Session &session, const ObjectValue &request)
{
    const uint32_t device = Parameters(request).deviceId();
    return Reply().add("name", session.devices.name(device));
}

Reply deviceConnected(Session &session, const ObjectValue &request)
{
    const uint32_t device = Parameters(request).deviceId();
    return Reply().add("connected", session.devices.isConnected(device));
}

Reply isCxp(Session &session, const ObjectValue &request)
{
    const uint32_t device = Parameters(request).deviceId();
    return Reply().add("isCxp", session.devices.isCxp(device));
}

Reply portCount(Session &session, const ObjectValue &request)
{
    const uint32_t device = Parameters(request).deviceId();
    return Reply().add("count", session.devices.portCount(device));
}

Reply portName(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    return Reply().add("name", session.devices.portName(device, port));
}

Reply percentUsed(Session &session, const ObjectValue &request)
{
    const uint32_t device = Parameters(request).deviceId();
    return Reply().add("percent", session.devices.percentUsed(device));
}

Reply hardwareType(Session &session, const ObjectValue &request)
{
    const uint32_t device = Parameters(request).deviceId();
    return Reply().add("hardwareType", session.devices.hardwareType(device));
}

/// Passes any number on, whether such a device exists or not.
Reply notifyFilesChanged(Session &session, const ObjectValue &request)
{
    session.devices.notifyFilesChanged(Parameters(request).deviceId());
    return Reply();
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
