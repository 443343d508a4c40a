#include "client/tools/advice.h"

#include <algorithm>
#include <array>

namespace tavu::tools {

namespace {

struct Row
{
    std::string_view serviceText; ///< one that ends with a blank is the beginning of a text
    std::string_view inShell;
    std::string_view inViewer; ///< empty when it is the same
};

constexpr std::string_view kNoFrameSize =
    "the port has no frame size, or the system has no shared memory left";

constexpr std::array<Row, 38> kRows = {{
    {"Invalid device index.", "`tavuctl status` lists the devices",
     "the device is gone, or was never there"},
    {"Invalid port", "`tavuctl status` lists the ports of each device",
     "the device has no such port"},
    {"Invalid port index.", "`tavuctl status` lists the ports of each device",
     "the device has no such port"},
    {"Invalid port mask", "`tavuctl status` lists the ports of each device",
     "choose at least one port that the device has"},
    {"Invalid port mask.", "`tavuctl status` lists the ports of each device",
     "choose at least one port that the device has"},
    {"Invalid fileId",
     "`tavuctl files{device}` lists the recordings; those that were there before "
     "a setup can't be opened",
     "the recording is gone; those that were there before a setup can't be opened"},
    {"File not found.", "`tavuctl files{device}` lists the recordings", "the recording is gone"},
    {"File is open", "somebody plays this recording: try again when that has ended", {}},
    {"Can't remove file, file is open.",
     "somebody plays this recording: try again when that has ended",
     {}},
    {"Can't setup tavu while files are open.",
     "somebody plays a recording of this device: try again when that has ended",
     {}},
    {"Failed to open file", "the recording's file is gone or can't be read by the service", {}},
    {"Already recording",
     "`tavuctl stop{device}` ends the recording that is under way, or that "
     "has come to its end and waits to be stored",
     "stop the recording that is under way, or that has come to its end and waits to be stored"},
    {"Too many recordings.", "the device can't list any more: `tavuctl remove{device}` makes room",
     "the device can't list any more: remove some recordings"},
    {"Failed to rename file: ",
     "the recording is still there: `tavuctl stop{device}` tries again "
     "once the cause is gone",
     "the recording is still there: stopping tries again once the cause is gone"},
    {"Not recording", "nothing is being recorded on this device", {}},
    {"Not paired to this camera.", "`tavuctl status` tells which camera the port is paired with",
     "the port is paired with another camera"},
    {"Not paried to this camera", "`tavuctl status` tells which camera the port is paired with",
     "the port is paired with another camera"},
    {"Live alrady started", "another program watches this port: try again when it has ended", {}},
    {"Live already started", "another program watches this port: try again when it has ended", {}},
    {"Failed to create memory mapping",
     "the port has no frame size (`tavuctl configure 1280x1024{device}{port}`), or the system has "
     "no shared memory left",
     kNoFrameSize},
    {"Failed to create shared memory mapping",
     "the port has no frame size (`tavuctl configure 1280x1024{device}{port}`), or the system has "
     "no shared memory left",
     kNoFrameSize},
    {"Failed to create shared memory mapping.",
     "the port has no frame size (`tavuctl configure 1280x1024{device}{port}`), or the system has "
     "no shared memory left",
     kNoFrameSize},
    {"no drive set.", "`tavuctl setup{device}` prepares the recorder's drives",
     "set up the recorder's storage first"},
    {"No drive set.", "`tavuctl setup{device}` prepares the recorder's drives",
     "set up the recorder's storage first"},
    {"not supported", "the emulated device has no camera to talk to", {}},
    {"no file to recover", "`tavuctl recover status{device}` tells whether a recording was cut off",
     "there is no recording that was cut off"},
    {"no incomplete file.", "`tavuctl recover start{device}` does all of it",
     "there is no recording that was cut off"},
    {"Recovery already in progress.",
     "`tavuctl recover status{device}` tells how it goes, `recover cancel{device}` ends it",
     "wait for its end, or cancel it"},
    {"Recovery not in progress.", "`tavuctl recover status{device}` tells what was recovered",
     "it has ended; the page shows how"},
    {"Failed to grab frame.",
     "the camera sends nothing, or a recording took the port: try again, and look at the camera",
     {}},
    {"Serial port not open.",
     "`tavuctl serial open{device}{port}` opens it; `serial ask` does "
     "so by itself",
     "asking opens the channel by itself"},
    {"Serial port already open.",
     "it can be used as it is; `tavuctl serial close{device}{port}` "
     "closes it",
     "it can be used as it is"},
    {"Serial port recieve failed.",
     "the camera sent nothing, or fewer bytes than were asked for",
     {}},
    {"camera not detected", "no camera is connected to the port", {}},
    {"Failed to read file.", "the recording has no such frame", {}},
    {"eof",
     "on a recorder, the file's metadata block has no room for that; the emulated device can't "
     "finish\na recovery: `tavuctl recover discard{device}` removes what was cut off",
     "on a recorder, the file's metadata block has no room for that; the emulated device can't "
     "finish a recovery: discard what was cut off"},
    {"Unrecognized function.", "commands have the numbers 0 to 57",
     "the service is of another version"},
    {"delayload failure", "the recorder's library isn't installed", {}},
}};

} // namespace

Advice adviceFor(std::string_view serviceText)
{
    const auto found = std::find_if(kRows.begin(), kRows.end(), [&](const Row &row) {
        return row.serviceText.ends_with(' ') ? serviceText.starts_with(row.serviceText)
                                              : serviceText == row.serviceText;
    });
    if (found == kRows.end())
        return {};
    return {found->inShell, found->inViewer.empty() ? found->inShell : found->inViewer};
}

} // namespace tavu::tools
