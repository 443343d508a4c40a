#include "client/connection_ask.h"

namespace tavu::client {

uint32_t Connection::createEventQueue()
{
    return ask<Command::CreateEventQueue>();
}

void Connection::destroyEventQueue(uint32_t queueId)
{
    ask<Command::DestroyEventQueue>(queueId);
}

Event Connection::readEvent(uint32_t queueId)
{
    return ask<Command::ReadEvent>(queueId);
}

std::optional<Event> Connection::tryReadEvent(uint32_t queueId)
{
    const auto [ok, event] = ask<Command::TryReadEvent>(queueId);
    if (ok && !event)
        throw ProtocolError::unexpectedReply("tryReadEvent", "\"event\" is missing");
    return ok ? event : std::nullopt;
}

void Connection::notifyFilesChanged(uint32_t device)
{
    ask<Command::NotifyFilesChanged>(device);
}

uint32_t Connection::deviceCount()
{
    return ask<Command::DeviceCount>();
}

std::string Connection::deviceName(uint32_t device)
{
    return ask<Command::DeviceName>(device);
}

bool Connection::deviceConnected(uint32_t device)
{
    return ask<Command::DeviceConnected>(device);
}

bool Connection::isCxp(uint32_t device)
{
    return ask<Command::IsCxp>(device);
}

uint8_t Connection::portCount(uint32_t device)
{
    return ask<Command::PortCount>(device);
}

std::string Connection::portName(uint32_t device, uint8_t port)
{
    return ask<Command::PortName>(device, port);
}

uint8_t Connection::percentUsed(uint32_t device)
{
    return ask<Command::PercentUsed>(device);
}

uint8_t Connection::hardwareType(uint32_t device)
{
    return ask<Command::HardwareType>(device);
}

void Connection::setup(uint32_t device)
{
    ask<Command::Setup>(device);
}

void Connection::lockGlobal()
{
    ask<Command::LockGlobal>();
}

void Connection::unlockGlobal()
{
    ask<Command::UnlockGlobal>();
}

} // namespace tavu::client
