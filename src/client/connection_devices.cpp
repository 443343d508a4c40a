#include "client/connection.h"

namespace tavu::client {

namespace {

Event eventOf(const Reply &event)
{
    return {static_cast<EventType>(event.u32("type")), event.u32("device"), event.u32("port")};
}

} // namespace

uint32_t Connection::createEventQueue()
{
    return execute(Command::CreateEventQueue, {}).u32("queueId");
}

void Connection::destroyEventQueue(uint32_t queueId)
{
    execute(Command::DestroyEventQueue, {{"queueId", queueId}});
}

Event Connection::readEvent(uint32_t queueId)
{
    return eventOf(execute(Command::ReadEvent, {{"queueId", queueId}}).inner("event"));
}

std::optional<Event> Connection::tryReadEvent(uint32_t queueId)
{
    const Reply reply = execute(Command::TryReadEvent, {{"queueId", queueId}});
    if (!reply.boolean("ok"))
        return std::nullopt;
    return eventOf(reply.inner("event"));
}

void Connection::notifyFilesChanged(uint32_t device)
{
    execute(Command::NotifyFilesChanged, {{"deviceId", device}});
}

uint32_t Connection::deviceCount()
{
    return execute(Command::DeviceCount, {}).u32("count");
}

std::string Connection::deviceName(uint32_t device)
{
    return execute(Command::DeviceName, {{"deviceId", device}}).text("name");
}

bool Connection::deviceConnected(uint32_t device)
{
    return execute(Command::DeviceConnected, {{"deviceId", device}}).boolean("connected");
}

bool Connection::isCxp(uint32_t device)
{
    return execute(Command::IsCxp, {{"deviceId", device}}).boolean("isCxp");
}

uint8_t Connection::portCount(uint32_t device)
{
    return execute(Command::PortCount, {{"deviceId", device}}).u8("count");
}

std::string Connection::portName(uint32_t device, uint8_t port)
{
    return execute(Command::PortName, {{"deviceId", device}, {"port", port}}).text("name");
}

uint8_t Connection::percentUsed(uint32_t device)
{
    return execute(Command::PercentUsed, {{"deviceId", device}}).u8("percent");
}

uint8_t Connection::hardwareType(uint32_t device)
{
    return execute(Command::HardwareType, {{"deviceId", device}}).u8("hardwareType");
}

void Connection::setup(uint32_t device)
{
    execute(Command::Setup, {{"deviceId", device}});
}

void Connection::lockGlobal()
{
    execute(Command::LockGlobal, {});
}

void Connection::unlockGlobal()
{
    execute(Command::UnlockGlobal, {});
}

} // namespace tavu::client
