#include "client/commands.h"

#include <algorithm>
#include <array>

namespace tavu::client {

namespace {

// By ordinal.
constexpr std::array<std::string_view, kCommandCount> kNames = {
    "createEventQueue",
    "destroyEventQueue",
    "readEvent",
    "tryReadEvent",
    "deviceCount",
    "deviceName",
    "deviceConnected",
    "hasIncompleteFile",
    "discardIncompleteFile",
    "startRecovery",
    "cancelRecovery",
    "recoveryStatus",
    "recoveryError",
    "finishRecovery",
    "serialOpen",
    "serialGetBaudRate",
    "serialSetBaudRate",
    "serialRead",
    "serialWrite",
    "serialClear",
    "serialClose",
    "registerRead",
    "registerWrite",
    "isCxp",
    "portCount",
    "portName",
    "listFiles",
    "openFile",
    "fileInfo",
    "closeFile",
    "readFrame",
    "removeFile",
    "fileIdentity",
    "setup",
    "pairPort",
    "pairedTo",
    "repairPort",
    "unpairPort",
    "portIdentity",
    "framesPerPacket",
    "getPortConfig",
    "setPortConfig",
    "startRecording",
    "stopRecording",
    "softwareTrigger",
    "isRecordingDone",
    "recordingFile",
    "recordingProgress",
    "renameFile",
    "setFileInfo",
    "notifyFilesChanged",
    "percentUsed",
    "startLive",
    "stopLive",
    "liveFrame",
    "lockGlobal",
    "unlockGlobal",
    "hardwareType",
};

} // namespace

std::string_view commandName(uint32_t ordinal)
{
    return ordinal < kNames.size() ? kNames[ordinal] : std::string_view();
}

std::optional<uint32_t> commandOrdinal(std::string_view name)
{
    const auto found = std::find(kNames.begin(), kNames.end(), name);
    if (found == kNames.end())
        return std::nullopt;
    return static_cast<uint32_t>(found - kNames.begin());
}

} // namespace tavu::client
