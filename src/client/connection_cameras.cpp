#include "client/connection_ask.h"

namespace tavu::client {

void Connection::pairPort(uint32_t device, uint8_t port, const Pairing &pairing)
{
    ask<Command::PairPort>(device, port, pairing.identity, pairing.info, pairing.framesPerPacket);
}

void Connection::repairPort(uint32_t device, uint8_t port, const Pairing &pairing)
{
    ask<Command::RepairPort>(device, port, pairing.identity, pairing.info, pairing.framesPerPacket);
}

void Connection::unpairPort(uint32_t device, uint8_t port)
{
    ask<Command::UnpairPort>(device, port);
}

std::string Connection::pairedTo(uint32_t device, uint8_t port)
{
    return ask<Command::PairedTo>(device, port);
}

Bytes Connection::portIdentity(uint32_t device, uint8_t port)
{
    return ask<Command::PortIdentity>(device, port);
}

uint16_t Connection::framesPerPacket(uint32_t device, uint8_t port)
{
    return ask<Command::FramesPerPacket>(device, port);
}

PortConfig Connection::getPortConfig(uint32_t device, uint8_t port)
{
    return gather<PortConfig>(ask<Command::GetPortConfig>(device, port));
}

void Connection::setPortConfig(uint32_t device, uint8_t port, const PortConfig &config)
{
    ask<Command::SetPortConfig>(device, port, config.width, config.height, config.pixelFormat,
                                config.tapGeometry);
}

void Connection::serialOpen(uint32_t device, uint8_t port, const SerialSettings &settings)
{
    ask<Command::SerialOpen>(device, port, settings.baudRate, settings.parity, settings.stopBits);
}

uint32_t Connection::serialGetBaudRate(uint32_t device, uint8_t port)
{
    return ask<Command::SerialGetBaudRate>(device, port);
}

void Connection::serialSetBaudRate(uint32_t device, uint8_t port, uint32_t baudRate)
{
    ask<Command::SerialSetBaudRate>(device, port, baudRate);
}

Bytes Connection::serialRead(uint32_t device, uint8_t port, uint32_t size)
{
    return ask<Command::SerialRead>(device, port, size);
}

uint32_t Connection::serialWrite(uint32_t device, uint8_t port, std::span<const uint8_t> data)
{
    return ask<Command::SerialWrite>(device, port, data);
}

void Connection::serialClear(uint32_t device, uint8_t port)
{
    ask<Command::SerialClear>(device, port);
}

void Connection::serialClose(uint32_t device, uint8_t port)
{
    ask<Command::SerialClose>(device, port);
}

Bytes Connection::registerRead(uint32_t device, uint8_t port, uint32_t addr, uint32_t size)
{
    return ask<Command::RegisterRead>(device, port, addr, size);
}

void Connection::registerWrite(uint32_t device, uint8_t port, uint32_t addr,
                               std::span<const uint8_t> data)
{
    ask<Command::RegisterWrite>(device, port, addr, data);
}

} // namespace tavu::client
