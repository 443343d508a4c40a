#include "protocol/handlers.h"

#include <stdexcept>

namespace tavu {

namespace {

Reply createEventQueue(const Call<Command::CreateEventQueue> &call)
{
    ClientState &client = call.client();
    if (client.eventQueueId != kNoEventQueue)
        throw std::runtime_error("A connection can only have one event queue.");
    const uint32_t queueId = call.devices().createQueue();
    client.eventQueueId = queueId;
    return call.reply(queueId);
}

/// Any connection may destroy any queue; the owner finds its own id reset.
Reply destroyEventQueue(const Call<Command::DestroyEventQueue> &call)
{
    const auto &[queueId] = call.params();
    call.devices().destroyQueue(queueId, false);
    call.session().forgetQueue(queueId);
    return call.reply();
}

void requireOwnQueue(const ClientState &client, uint32_t queueId)
{
    if (queueId != client.eventQueueId)
        throw std::runtime_error("A connection can only read from an event queue that it created.");
}

Reply readEvent(const Call<Command::ReadEvent> &call)
{
    const auto &[queueId] = call.params();
    requireOwnQueue(call.client(), queueId);
    DeviceEvent event;
    call.devices().readEvent(queueId, event);
    return call.reply(event);
}

Reply tryReadEvent(const Call<Command::TryReadEvent> &call)
{
    const auto &[queueId] = call.params();
    requireOwnQueue(call.client(), queueId);
    DeviceEvent event;
    if (!call.devices().tryReadEvent(queueId, event))
        return call.reply(false);
    return call.reply(true, event);
}

constexpr Handler kHandlers[] = {
    handle<createEventQueue>(),
    handle<destroyEventQueue>(),
    handle<readEvent>(),
    handle<tryReadEvent>(),
};

} // namespace

std::span<const Handler> queueCommands()
{
    return kHandlers;
}

} // namespace tavu
