#include "client/tavuctl/advice.h"

#include "client/tavuctl/console.h"
#include "client/tavuctl/text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace tavu::ctl {

namespace {

struct Advice
{
    std::string_view serviceText; ///< one that ends with a blank is the beginning of a text
    /// "{device}" and "{port}" stand for the options that lead to the same place.
    std::string_view text;
};

constexpr std::array<Advice, 38> kAdvice = {{
    {"Invalid device index.", "`tavuctl status` lists the devices"},
    {"Invalid port", "`tavuctl status` lists the ports of each device"},
    {"Invalid port index.", "`tavuctl status` lists the ports of each device"},
    {"Invalid port mask", "`tavuctl status` lists the ports of each device"},
    {"Invalid port mask.", "`tavuctl status` lists the ports of each device"},
    {"Invalid fileId", "`tavuctl files{device}` lists the recordings; those that were there before "
                       "a setup can't be opened"},
    {"File not found.", "`tavuctl files{device}` lists the recordings"},
    {"File is open", "somebody plays this recording: try again when that has ended"},
    {"Can't remove file, file is open.",
     "somebody plays this recording: try again when that has ended"},
    {"Can't setup tavu while files are open.",
     "somebody plays a recording of this device: try again when that has ended"},
    {"Failed to open file", "the recording's file is gone or can't be read by the service"},
    {"Already recording", "`tavuctl stop{device}` ends the recording that is under way, or that "
                          "has come to its end and waits to be stored"},
    {"Too many recordings.", "the device can't list any more: `tavuctl remove{device}` makes room"},
    {"Failed to rename file: ", "the recording is still there: `tavuctl stop{device}` tries again "
                                "once the cause is gone"},
    {"Not recording", "nothing is being recorded on this device"},
    {"Not paired to this camera.", "`tavuctl status` tells which camera the port is paired with"},
    {"Not paried to this camera", "`tavuctl status` tells which camera the port is paired with"},
    {"Live alrady started", "another program watches this port: try again when it has ended"},
    {"Live already started", "another program watches this port: try again when it has ended"},
    {"Failed to create memory mapping",
     "the port has no frame size (`tavuctl configure 1280x1024{device}{port}`), or the system has "
     "no shared memory left"},
    {"Failed to create shared memory mapping",
     "the port has no frame size (`tavuctl configure 1280x1024{device}{port}`), or the system has "
     "no shared memory left"},
    {"Failed to create shared memory mapping.",
     "the port has no frame size (`tavuctl configure 1280x1024{device}{port}`), or the system has "
     "no shared memory left"},
    {"no drive set.", "`tavuctl setup{device}` prepares the recorder's drives"},
    {"No drive set.", "`tavuctl setup{device}` prepares the recorder's drives"},
    {"not supported", "the emulated device has no camera to talk to"},
    {"no file to recover",
     "`tavuctl recover status{device}` tells whether a recording was cut off"},
    {"no incomplete file.", "`tavuctl recover start{device}` does all of it"},
    {"Recovery already in progress.",
     "`tavuctl recover status{device}` tells how it goes, `recover cancel{device}` ends it"},
    {"Recovery not in progress.", "`tavuctl recover status{device}` tells what was recovered"},
    {"Failed to grab frame.",
     "the camera sends nothing, or a recording took the port: try again, and look at the camera"},
    {"Serial port not open.", "`tavuctl serial open{device}{port}` opens it; `serial ask` does "
                              "so by itself"},
    {"Serial port already open.", "it can be used as it is; `tavuctl serial close{device}{port}` "
                                  "closes it"},
    {"Serial port recieve failed.", "the camera sent nothing, or fewer bytes than were asked for"},
    {"camera not detected", "no camera is connected to the port"},
    {"Failed to read file.", "the recording has no such frame"},
    {"eof",
     "on a recorder, the file's metadata block has no room for that; the emulated device can't "
     "finish\na recovery: `tavuctl recover discard{device}` removes what was cut off"},
    {"Unrecognized function.", "commands have the numbers 0 to 57"},
    {"delayload failure", "the recorder's library isn't installed"},
}};

void replaceAll(std::string &text, std::string_view what, const std::string &by)
{
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at))
        text.replace(at, what.size(), by);
}

} // namespace

std::string adviceFor(const std::string &serviceText, Session &session)
{
    if (serviceText == "Invalid device index." && session.service().deviceCount() == 0)
        return "the service has no device: connect a recorder, or start the service with\n"
               "TAVUSRV_ENABLE_EMULATOR=1 in its environment for the emulated device";
    const auto found = std::find_if(kAdvice.begin(), kAdvice.end(), [&](const Advice &advice) {
        return advice.serviceText.ends_with(' ') ? serviceText.starts_with(advice.serviceText)
                                                 : serviceText == advice.serviceText;
    });
    if (found == kAdvice.end())
        return {};
    std::string text(found->text);
    replaceAll(text, "{device}", session.deviceOption());
    replaceAll(text, "{port}", session.portOption());
    return text;
}

std::string adviceForUnreadyPort(Session &session, uint8_t port)
{
    client::Connection &service = session.service();
    const std::string number = std::to_string(port);
    const std::string place = session.deviceOption() + optionText("--port", port);
    const client::PortConfig config = service.getPortConfig(session.device, port);
    std::string text;
    if (service.pairedTo(session.device, port).empty())
        text +=
            "port " + number + " isn't paired with a camera: `tavuctl pair CAMERA" + place + "`\n";
    if (!config.hasFrameSize())
        text +=
            "port " + number + " has no frame size: `tavuctl configure 1280x1024" + place + "`\n";
    if (!text.empty())
        text.pop_back();
    return text;
}

void confirm(const std::string &question)
{
    if (!isConsole(stdin))
        throw UsageError(question + " Say so with --yes");
    const std::string shown = consolesShowUtf8() ? question : plainText(question);
    std::fprintf(stderr, "%s [y/N] ", shown.c_str());
    std::fflush(stderr);
    std::array<char, 16> answer{};
    if (!std::fgets(answer.data(), answer.size(), stdin) || (answer[0] != 'y' && answer[0] != 'Y'))
        throw Failure("nothing was done");
}

} // namespace tavu::ctl
