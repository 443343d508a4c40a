#include "protocol/commands.h"
#include "protocol/parameters.h"
#include "protocol/simple_commands.h"

namespace tavu::commands {

namespace {

/// A buffer for the device to fill. Not cleared: only what the device wrote is sent.
OwnedBytes allocateBytes(uint32_t size)
{
    return {std::unique_ptr<uint8_t[]>(new uint8_t[size]), size};
}

} // namespace

Reply serialOpen(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    const uint32_t baudRate = params.u32("baudRate");
    const uint8_t parity = params.u8("parity");
    const uint8_t stopBits = params.u8("stopBits");
    session.devices.serialOpen(device, port, baudRate, parity, stopBits);
    return Reply();
}

Reply serialGetBaudRate(Session &session, const ObjectValue &request)
{
    return askPort(session, request, "baudRate", &DeviceManager::serialGetBaudRate);
}

Reply serialSetBaudRate(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    const uint32_t baudRate = params.u32("baudRate");
    session.devices.serialSetBaudRate(device, port, baudRate);
    return Reply();
}

/// The answer holds as many bytes as the device delivered.
Reply serialRead(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    const uint32_t size = params.u32("size");
    OwnedBytes data = allocateBytes(size);
    data.size = session.devices.serialRead(device, port, data.bytes.get(), size);
    return Reply().add("data", std::move(data));
}

Reply serialWrite(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    const BytesView data = params.blob("data");
    return Reply().add("size", session.devices.serialWrite(device, port, data.bytes, data.size));
}

Reply serialClear(Session &session, const ObjectValue &request)
{
    return onPort(session, request, &DeviceManager::serialClear);
}

Reply serialClose(Session &session, const ObjectValue &request)
{
    return onPort(session, request, &DeviceManager::serialClose);
}

/// The answer always holds all of the bytes that were asked for.
Reply registerRead(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    const uint32_t addr = params.u32("addr");
    const uint32_t size = params.u32("size");
    OwnedBytes data = allocateBytes(size);
    session.devices.registerRead(device, port, addr, data.bytes.get(), size);
    return Reply().add("data", std::move(data));
}

Reply registerWrite(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    const uint32_t addr = params.u32("addr");
    const BytesView data = params.blob("data");
    session.devices.registerWrite(device, port, addr, data.bytes, data.size);
    return Reply();
}

} // namespace tavu::commands
