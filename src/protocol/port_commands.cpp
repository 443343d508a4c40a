#include "protocol/handlers.h"

namespace tavu {

namespace {

/// Pairing and pairing anew take the same and differ in what the device does, and in the event.
template <Command command, auto operation>
Reply pair(const Call<command> &call)
{
    const auto &[device, port, identity, info, numFramesPerPacket] = call.params();
    call.onDevice(operation, port, identity, info.data(), static_cast<uint32_t>(info.size()),
                  numFramesPerPacket);
    return call.reply();
}

constexpr Handler kHandlers[] = {
    pass<Command::Setup, &ITavuDevice::setup>(),
    handle<pair<Command::PairPort, &ITavuDevice::pairPort>>(),
    pass<Command::PairedTo, &ITavuDevice::pairedTo>(),
    handle<pair<Command::RepairPort, &ITavuDevice::repairPort>>(),
    pass<Command::UnpairPort, &ITavuDevice::unpairPort>(),
    pass<Command::PortIdentity, &ITavuDevice::portIdentity>(),
    pass<Command::FramesPerPacket, &ITavuDevice::framesPerPacket>(),
    pass<Command::GetPortConfig, &ITavuDevice::getPortConfig>(),
    pass<Command::SetPortConfig, &ITavuDevice::setPortConfig>(),
};

} // namespace

std::span<const Handler> portCommands()
{
    return kHandlers;
}

} // namespace tavu
