#include "protocol/commands.h"
#include "protocol/simple_commands.h"

namespace tavu::commands {

Reply hasIncompleteFile(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "hasIncompleteFile", &DeviceManager::hasIncompleteFile);
}

Reply discardIncompleteFile(Session &session, const ObjectValue &request)
{
    return onDevice(session, request, &DeviceManager::discardIncompleteFile);
}

Reply startRecovery(Session &session, const ObjectValue &request)
{
    return onDevice(session, request, &DeviceManager::startRecovery);
}

Reply cancelRecovery(Session &session, const ObjectValue &request)
{
    return onDevice(session, request, &DeviceManager::cancelRecovery);
}

Reply recoveryStatus(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "status", &DeviceManager::recoveryStatus);
}

/// A success that carries a key called "error", inside "result".
Reply recoveryError(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "error", &DeviceManager::recoveryError);
}

Reply finishRecovery(Session &session, const ObjectValue &request)
{
    return onDevice(session, request, &DeviceManager::finishRecovery);
}

} // namespace tavu::commands
