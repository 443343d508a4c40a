#include "protocol/commands.h"
#include "protocol/parameters.h"

namespace tavu::commands {

Reply hasIncompleteFile(Session &session, const ObjectValue &request)
{
    const uint32_t device = Parameters(request).deviceId();
    return Reply().add("hasIncompleteFile", session.devices.hasIncompleteFile(device));
}

Reply discardIncompleteFile(Session &session, const ObjectValue &request)
{
    session.devices.discardIncompleteFile(Parameters(request).deviceId());
    return Reply();
}

Reply startRecovery(Session &session, const ObjectValue &request)
{
    session.devices.startRecovery(Parameters(request).deviceId());
    return Reply();
}

Reply cancelRecovery(Session &session, const ObjectValue &request)
{
    session.devices.cancelRecovery(Parameters(request).deviceId());
    return Reply();
}

Reply recoveryStatus(Session &session, const ObjectValue &request)
{
    const uint32_t device = Parameters(request).deviceId();
    return Reply().add("status", session.devices.recoveryStatus(device));
}

/// A success that carries a key called "error", inside "result".
Reply recoveryError(Session &session, const ObjectValue &request)
{
    const uint32_t device = Parameters(request).deviceId();
    return Reply().add("error", session.devices.recoveryError(device));
}

Reply finishRecovery(Session &session, const ObjectValue &request)
{
    session.devices.finishRecovery(Parameters(request).deviceId());
    return Reply();
}

} // namespace tavu::commands
