#include "protocol/commands.h"
#include "protocol/parameters.h"

#include <stdexcept>

namespace tavu::commands {

namespace {

/// The queue that a read names, which must be the connection's own.
uint32_t ownQueue(Session &session, const ObjectValue &request)
{
    const uint32_t queueId = Parameters(request).u32("queueId");
    if (queueId != session.connection.eventQueueId)
        throw std::runtime_error("A connection can only read from an event queue that it created.");
    return queueId;
}

} // namespace

Reply createEventQueue(Session &session, const ObjectValue &)
{
    ClientConnection &connection = session.connection;
    if (connection.eventQueueId != kNoEventQueue)
        throw std::runtime_error("A connection can only have one event queue.");
    const uint32_t queueId = session.devices.createQueue();
    connection.eventQueueId = queueId;
    return Reply().add("queueId", queueId);
}

/// Any connection may destroy any queue; the owner finds its own id reset.
Reply destroyEventQueue(Session &session, const ObjectValue &request)
{
    const uint32_t queueId = Parameters(request).u32("queueId");
    session.devices.destroyQueue(queueId, false);
    session.forgetQueue(queueId);
    return Reply();
}

Reply readEvent(Session &session, const ObjectValue &request)
{
    DeviceEvent event;
    session.devices.readEvent(ownQueue(session, request), event);
    return Reply().add("event", event);
}

Reply tryReadEvent(Session &session, const ObjectValue &request)
{
    DeviceEvent event;
    const bool ok = session.devices.tryReadEvent(ownQueue(session, request), event);
    Reply reply = Reply().add("ok", ok);
    return ok ? std::move(reply).add("event", event) : std::move(reply);
}

} // namespace tavu::commands
