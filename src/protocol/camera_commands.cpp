#include "protocol/handlers.h"

namespace tavu {

namespace {

/// A buffer for the device to fill. Not cleared: only what the device wrote is sent.
OwnedBytes allocateBytes(uint32_t size)
{
    return {std::unique_ptr<uint8_t[]>(new uint8_t[size]), size};
}

uint32_t sizeOf(BytesView bytes)
{
    return static_cast<uint32_t>(bytes.size());
}

/// The answer holds as many bytes as the device delivered.
Reply serialRead(const Call<Command::SerialRead> &call)
{
    const auto &[device, port, size] = call.params();
    OwnedBytes data = allocateBytes(size);
    data.size = call.onDevice(&ITavuDevice::serialRead, port, data.bytes.get(), size);
    return call.reply(std::move(data));
}

Reply serialWrite(const Call<Command::SerialWrite> &call)
{
    const auto &[device, port, data] = call.params();
    return call.reply(call.onDevice(&ITavuDevice::serialWrite, port, data.data(), sizeOf(data)));
}

/// The answer always holds all of the bytes that were asked for.
Reply registerRead(const Call<Command::RegisterRead> &call)
{
    const auto &[device, port, addr, size] = call.params();
    OwnedBytes data = allocateBytes(size);
    call.onDevice(&ITavuDevice::registerRead, port, addr, data.bytes.get(), size);
    return call.reply(std::move(data));
}

Reply registerWrite(const Call<Command::RegisterWrite> &call)
{
    const auto &[device, port, addr, data] = call.params();
    call.onDevice(&ITavuDevice::registerWrite, port, addr, data.data(), sizeOf(data));
    return call.reply();
}

constexpr Handler kHandlers[] = {
    pass<Command::SerialOpen, &ITavuDevice::serialOpen>(),
    pass<Command::SerialGetBaudRate, &ITavuDevice::serialGetBaudRate>(),
    pass<Command::SerialSetBaudRate, &ITavuDevice::serialSetBaudRate>(),
    handle<serialRead>(),
    handle<serialWrite>(),
    pass<Command::SerialClear, &ITavuDevice::serialClear>(),
    pass<Command::SerialClose, &ITavuDevice::serialClose>(),
    handle<registerRead>(),
    handle<registerWrite>(),
};

} // namespace

std::span<const Handler> cameraCommands()
{
    return kHandlers;
}

} // namespace tavu
