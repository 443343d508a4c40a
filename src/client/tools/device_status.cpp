#include "client/tools/device_status.h"

#include "client/tools/text.h"

#include <array>

namespace tavu::tools {

namespace {

/// Part of a status may be out of reach, on a recorder without drives for instance; the rest is
/// still worth showing.
template <typename Ask>
auto tryToAsk(Ask ask)
{
    Answer<decltype(ask())> answer;
    try {
        answer.value = ask();
    } catch (const client::ServiceError &error) {
        answer.error = printable(error.what());
    }
    return answer;
}

PortStatus askPort(client::Connection &service, uint32_t device, uint8_t port)
{
    PortStatus status;
    status.number = port;
    status.name = tryToAsk([&] { return service.portName(device, port); });
    status.pairedTo = tryToAsk([&] { return service.pairedTo(device, port); });
    status.framesPerPacket = tryToAsk([&] { return service.framesPerPacket(device, port); });
    status.config = tryToAsk([&] { return service.getPortConfig(device, port); });
    return status;
}

Json toJson(const PortStatus &port)
{
    return {{"port", port.number},
            {"name", port.name.json()},
            {"pairedTo", port.pairedTo.json()},
            {"framesPerPacket", port.framesPerPacket.json()},
            {"config", port.config.value ? tools::toJson(*port.config.value) : Json()}};
}

/// A recorder's ports lose their drives with the old drive set, and get the new ones when they are
/// configured. The recorder ignores a configuration that it already has, so another one comes
/// first.
void attachPorts(client::Connection &service, uint32_t device)
{
    if (service.hardwareType(device) == client::kEmulatedDevice)
        return;
    const uint8_t count = service.portCount(device);
    for (uint8_t port = 0; port < count; ++port) {
        const client::PortConfig config = service.getPortConfig(device, port);
        if (!config.hasFrameSize())
            continue;
        client::PortConfig detour = config;
        detour.pixelFormat ^= 1;
        service.setPortConfig(device, port, detour);
        service.setPortConfig(device, port, config);
    }
}

} // namespace

DeviceStatus askDevice(client::Connection &service, uint32_t device)
{
    DeviceStatus status;
    status.number = device;
    status.name = service.deviceName(device);
    status.connected = service.deviceConnected(device);
    status.hardwareType = tryToAsk([&] { return service.hardwareType(device); });
    status.isCxp = tryToAsk([&] { return service.isCxp(device); });
    status.percentUsed = tryToAsk([&] { return service.percentUsed(device); });
    status.incomplete = tryToAsk([&] { return service.hasIncompleteFile(device); });
    status.state = tryToAsk([&] { return recordingState(service, device); });
    status.fileCount = tryToAsk([&] { return uint64_t(service.listFiles(device).size()); });
    const uint8_t ports = tryToAsk([&] { return service.portCount(device); }).value.value_or(0);
    for (unsigned port = 0; port < ports; ++port)
        status.ports.push_back(askPort(service, device, static_cast<uint8_t>(port)));
    return status;
}

std::string hardwareTypeText(uint8_t type)
{
    static constexpr std::array<const char *, 4> kTypes = {
        "recorder of an unknown model", "emulated device", "recorder of the first family",
        "recorder of the second family"};
    return type < kTypes.size() ? kTypes[type] : "recorder of family " + std::to_string(type);
}

Json toJson(const DeviceStatus &status)
{
    Json ports = Json::array();
    for (const PortStatus &port : status.ports)
        ports.push_back(toJson(port));
    return {{"device", status.number},          {"name", status.name},
            {"connected", status.connected},    {"hardwareType", status.hardwareType.json()},
            {"isCxp", status.isCxp.json()},     {"percentUsed", status.percentUsed.json()},
            {"files", status.fileCount.json()}, {"incomplete", status.incomplete.json()},
            {"ports", std::move(ports)}};
}

void prepareStorage(client::Connection &service, uint32_t device)
{
    service.setup(device);
    attachPorts(service, device);
}

} // namespace tavu::tools
