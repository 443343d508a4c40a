#include "client/tavuctl/advice.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/json_values.h"
#include "client/tavuctl/recording_state.h"
#include "client/tavuctl/text.h"
#include "service/transport/local_socket.h"

#include <array>

namespace tavu::ctl {

namespace {

/// A value that the service has, or the reason why it hasn't.
template <typename Value>
struct Answer
{
    std::optional<Value> value;
    std::string error;

    std::string text(auto format) const
    {
        return value ? format(*value) : "unknown (" + error + ")";
    }
    Json json() const { return value ? Json(*value) : Json(); }
};

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

struct PortStatus
{
    uint8_t number = 0;
    Answer<std::string> name;
    Answer<std::string> pairedTo;
    Answer<uint16_t> framesPerPacket;
    Answer<client::PortConfig> config;
};

struct DeviceStatus
{
    uint32_t number = 0;
    std::string name;
    bool connected = false;
    Answer<uint8_t> hardwareType;
    Answer<bool> isCxp;
    Answer<uint8_t> percentUsed;
    Answer<bool> incomplete;
    Answer<RecordingState> state;
    Answer<uint64_t> fileCount;
    std::vector<PortStatus> ports;
};

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

std::string typeText(uint8_t type)
{
    static constexpr std::array<const char *, 4> kTypes = {
        "recorder of an unknown model", "emulated device", "recorder of the first family",
        "recorder of the second family"};
    return type < kTypes.size() ? kTypes[type] : "recorder of family " + std::to_string(type);
}

/// What an incomplete file means, and what to do about it. Nothing when there is none.
std::string incompleteText(const DeviceStatus &status)
{
    const std::string device = optionText("--device", status.number);
    switch (status.state.value.value_or(RecordingState::Nothing)) {
    case RecordingState::Nothing:
        break;
    case RecordingState::UnderWay:
        return "a recording is under way";
    case RecordingState::Ended:
        return "a recording has come to its end (`tavuctl stop" + device + "`)";
    case RecordingState::CutOff:
        return "a recording was cut off (`tavuctl recover discard" + device + "`)";
    case RecordingState::EndedOrCutOff:
        return "a recording was cut off (`tavuctl recover start" + device +
               "`), or has come to its end (`tavuctl stop" + device + "`)";
    }
    return {};
}

std::string yesNo(bool value)
{
    return value ? "yes" : "no";
}

std::string portText(const PortStatus &port)
{
    const std::string pairing = port.pairedTo.text([](const std::string &camera) {
        return camera.empty() ? "unpaired" : "paired with " + inQuotes(camera);
    });
    const std::string config = port.config.text([](const client::PortConfig &c) {
        if (!c.hasFrameSize())
            return std::string("not configured");
        return frameSizeText(c.width, c.height) + ", pixel format " +
               std::to_string(c.pixelFormat) + ", tap geometry " + std::to_string(c.tapGeometry);
    });
    return port.name.text(printable) + ": " + pairing + "; " + config;
}

std::string deviceText(const DeviceStatus &status)
{
    std::vector<std::vector<std::string>> rows;
    const auto percent = [](uint8_t used) { return std::to_string(used) + "% used"; };
    const auto files = [](uint64_t count) { return counted(count, "recording"); };
    rows.push_back({"  type", status.hardwareType.text(typeText)});
    if (status.hardwareType.value != client::kEmulatedDevice)
        rows.push_back({"  CoaXPress", status.isCxp.text(yesNo)});
    rows.push_back({"  connected", yesNo(status.connected)});
    const bool prepared = status.percentUsed.error != "No drive set.";
    rows.push_back(
        {"  storage",
         prepared ? status.percentUsed.text(percent) + ", " + status.fileCount.text(files)
                  : "not prepared (`tavuctl setup" + optionText("--device", status.number) + "`)"});
    if (const std::string incomplete = incompleteText(status); !incomplete.empty())
        rows.push_back({"  incomplete", incomplete});
    for (const PortStatus &port : status.ports)
        rows.push_back({"  port " + std::to_string(port.number), portText(port)});
    return "device " + std::to_string(status.number) + ": " + printable(status.name) + "\n" +
           table(rows);
}

Json toJson(const PortStatus &port)
{
    return {{"port", port.number},
            {"name", port.name.json()},
            {"pairedTo", port.pairedTo.json()},
            {"framesPerPacket", port.framesPerPacket.json()},
            {"config", port.config.value ? ctl::toJson(*port.config.value) : Json()}};
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

int showStatus(Session &session, std::optional<uint32_t> only)
{
    client::Connection &service = session.service();
    std::vector<DeviceStatus> devices;
    if (only) {
        devices.push_back(askDevice(service, *only));
    } else {
        const uint32_t count = service.deviceCount();
        for (uint32_t device = 0; device < count; ++device)
            devices.push_back(askDevice(service, device));
    }

    if (session.json) {
        Json list = Json::array();
        for (const DeviceStatus &device : devices)
            list.push_back(toJson(device));
        printJson({{"service", localSocketAddress(kPipeName)}, {"devices", std::move(list)}});
        return kSuccess;
    }
    printLine("service at " + localSocketAddress(kPipeName) + ", " +
              counted(devices.size(), "device"));
    for (const DeviceStatus &device : devices)
        print(deviceText(device));
    if (devices.empty())
        note("connect a recorder, or start the service with TAVUSRV_ENABLE_EMULATOR=1 for the "
             "emulated device");
    return kSuccess;
}

/// A recorder's ports lose their drives with the old drive set, and get the new ones when they are
/// configured. The recorder ignores a configuration that it already has, so another one comes
/// first.
void attachPorts(Session &session)
{
    client::Connection &service = session.service();
    if (service.hardwareType(session.device) == client::kEmulatedDevice)
        return;
    const uint8_t count = service.portCount(session.device);
    for (uint8_t port = 0; port < count; ++port) {
        const client::PortConfig config = service.getPortConfig(session.device, port);
        if (!config.hasFrameSize())
            continue;
        client::PortConfig detour = config;
        detour.pixelFormat ^= 1;
        service.setPortConfig(session.device, port, detour);
        service.setPortConfig(session.device, port, config);
    }
}

int prepareStorage(Session &session, bool confirmed)
{
    client::Connection &service = session.service();
    const std::string name = printable(service.deviceName(session.device));
    const std::string which = "device " + std::to_string(session.device) + " (" + name + ")";
    const std::string what = counted(service.listFiles(session.device).size(), "recording");
    if (!confirmed)
        confirm("This removes the " + what + " of " + which + " for good.");
    service.setup(session.device);
    attachPorts(session);
    printLine(which + " is ready to record");
    const size_t listed = service.listFiles(session.device).size();
    if (listed > 0)
        note("the list still shows " + counted(listed, "recording") +
             " that can't be opened any more, and new ones may get their numbers: start the "
             "service\nanew before you record");
    return kSuccess;
}

} // namespace

void addDeviceCommands(CLI::App &app, Session &session)
{
    CLI::App *status = app.add_subcommand(
        "status", "Show the devices, their ports, and what is paired and configured");
    const auto only = std::make_shared<std::optional<uint32_t>>();
    status->add_option("-d,--device", *only, "Show only this device")->type_name("N");
    addJsonOption(*status, session);
    addExamples(*status, {"status", "status --json"});
    setAction(*status, session, [&session, only] { return showStatus(session, *only); });

    CLI::App *setup =
        app.add_subcommand("setup", "Prepare a device's storage; its recordings are lost");
    const auto yes = std::make_shared<bool>(false);
    addDeviceOption(*setup, session);
    setup->add_flag("-y,--yes", *yes, "Don't ask");
    addExamples(*setup, {"setup", "setup --device 1 --yes"});
    setAction(*setup, session, [&session, yes] { return prepareStorage(session, *yes); });
}

} // namespace tavu::ctl
