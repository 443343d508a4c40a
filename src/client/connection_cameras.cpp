#include "client/connection.h"

namespace tavu::client {

void Connection::pairPort(uint32_t device, uint8_t port, const Pairing &pairing)
{
    execute(Command::PairPort, {{"deviceId", device},
                                {"port", port},
                                {"identity", pairing.identity},
                                {"info", pairing.info},
                                {"numFramesPerPacket", pairing.framesPerPacket}});
}

void Connection::repairPort(uint32_t device, uint8_t port, const Pairing &pairing)
{
    execute(Command::RepairPort, {{"deviceId", device},
                                  {"port", port},
                                  {"identity", pairing.identity},
                                  {"info", pairing.info},
                                  {"numFramesPerPacket", pairing.framesPerPacket}});
}

void Connection::unpairPort(uint32_t device, uint8_t port)
{
    execute(Command::UnpairPort, {{"deviceId", device}, {"port", port}});
}

std::string Connection::pairedTo(uint32_t device, uint8_t port)
{
    return execute(Command::PairedTo, {{"deviceId", device}, {"port", port}}).text("pairedTo");
}

Bytes Connection::portIdentity(uint32_t device, uint8_t port)
{
    return execute(Command::PortIdentity, {{"deviceId", device}, {"port", port}}).bytes("data");
}

uint16_t Connection::framesPerPacket(uint32_t device, uint8_t port)
{
    return execute(Command::FramesPerPacket, {{"deviceId", device}, {"port", port}})
        .u16("numFramesPerPacket");
}

PortConfig Connection::getPortConfig(uint32_t device, uint8_t port)
{
    const Reply reply = execute(Command::GetPortConfig, {{"deviceId", device}, {"port", port}});
    return {reply.u16("width"), reply.u16("height"), reply.u32("pixelFormat"),
            reply.u32("tapGeometry")};
}

void Connection::setPortConfig(uint32_t device, uint8_t port, const PortConfig &config)
{
    execute(Command::SetPortConfig, {{"deviceId", device},
                                     {"port", port},
                                     {"width", config.width},
                                     {"height", config.height},
                                     {"pixelFormat", config.pixelFormat},
                                     {"tapGeometry", config.tapGeometry}});
}

void Connection::serialOpen(uint32_t device, uint8_t port, const SerialSettings &settings)
{
    execute(Command::SerialOpen, {{"deviceId", device},
                                  {"port", port},
                                  {"baudRate", settings.baudRate},
                                  {"parity", settings.parity},
                                  {"stopBits", settings.stopBits}});
}

uint32_t Connection::serialGetBaudRate(uint32_t device, uint8_t port)
{
    return execute(Command::SerialGetBaudRate, {{"deviceId", device}, {"port", port}})
        .u32("baudRate");
}

void Connection::serialSetBaudRate(uint32_t device, uint8_t port, uint32_t baudRate)
{
    execute(Command::SerialSetBaudRate,
            {{"deviceId", device}, {"port", port}, {"baudRate", baudRate}});
}

Bytes Connection::serialRead(uint32_t device, uint8_t port, uint32_t size)
{
    return execute(Command::SerialRead, {{"deviceId", device}, {"port", port}, {"size", size}})
        .bytes("data");
}

uint32_t Connection::serialWrite(uint32_t device, uint8_t port, std::span<const uint8_t> data)
{
    return execute(Command::SerialWrite, {{"deviceId", device}, {"port", port}, {"data", data}})
        .u32("size");
}

void Connection::serialClear(uint32_t device, uint8_t port)
{
    execute(Command::SerialClear, {{"deviceId", device}, {"port", port}});
}

void Connection::serialClose(uint32_t device, uint8_t port)
{
    execute(Command::SerialClose, {{"deviceId", device}, {"port", port}});
}

Bytes Connection::registerRead(uint32_t device, uint8_t port, uint32_t addr, uint32_t size)
{
    return execute(Command::RegisterRead,
                   {{"deviceId", device}, {"port", port}, {"addr", addr}, {"size", size}})
        .bytes("data");
}

void Connection::registerWrite(uint32_t device, uint8_t port, uint32_t addr,
                               std::span<const uint8_t> data)
{
    execute(Command::RegisterWrite,
            {{"deviceId", device}, {"port", port}, {"addr", addr}, {"data", data}});
}

} // namespace tavu::client
