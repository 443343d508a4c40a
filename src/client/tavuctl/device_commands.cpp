#include "client/tavuctl/advice.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/groups.h"
#include "client/tools/device_status.h"
#include "client/tools/json_values.h"
#include "client/tools/recording_state.h"
#include "client/tools/text.h"
#include "service/transport/local_socket.h"

namespace tavu::ctl {

namespace {

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
    rows.push_back({"  type", status.hardwareType.text(hardwareTypeText)});
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

int setUp(Session &session, bool confirmed)
{
    client::Connection &service = session.service();
    const std::string name = printable(service.deviceName(session.device));
    const std::string which = "device " + std::to_string(session.device) + " (" + name + ")";
    const std::string what = counted(service.listFiles(session.device).size(), "recording");
    if (!confirmed)
        confirm("This removes the " + what + " of " + which + " for good.");
    prepareStorage(service, session.device);
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
    setAction(*setup, session, [&session, yes] { return setUp(session, *yes); });
}

} // namespace tavu::ctl
