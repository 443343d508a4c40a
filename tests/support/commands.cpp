#include "support/commands.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace tavu::test {

namespace {

constexpr std::string_view kDevice = "D", kPort = "D port=1", kQueue = "queueId=7";
constexpr std::string_view kFile = "D fileId=4294967295 streamId=3", kOpenFile = "D openFileId=2";
constexpr std::string_view kPairing = "D port=1 identity='cam' info=#0506 numFramesPerPacket=65535";

constexpr Command kCommands[] = {
    {"createEventQueue", ""},
    {"destroyEventQueue", kQueue},
    {"readEvent", kQueue},
    {"tryReadEvent", kQueue},
    {"deviceCount", ""},
    {"deviceName", kDevice},
    {"deviceConnected", kDevice},
    {"hasIncompleteFile", kDevice},
    {"discardIncompleteFile", kDevice},
    {"startRecovery", kDevice},
    {"cancelRecovery", kDevice},
    {"recoveryStatus", kDevice},
    {"recoveryError", kDevice},
    {"finishRecovery", kDevice},
    {"serialOpen", "D port=1 baudRate=4000000000 parity=3 stopBits=255"},
    {"serialGetBaudRate", kPort},
    {"serialSetBaudRate", "D port=1 baudRate=4000000000"},
    {"serialRead", "D port=1 size=3"},
    {"serialWrite", "D port=1 data=#0D0A"},
    {"serialClear", kPort},
    {"serialClose", kPort},
    {"registerRead", "D port=1 addr=4294967295 size=3"},
    {"registerWrite", "D port=1 addr=4294967295 data=#"},
    {"isCxp", kDevice},
    {"portCount", kDevice},
    {"portName", kPort},
    {"listFiles", kDevice},
    {"openFile", kFile},
    {"fileInfo", kOpenFile},
    {"closeFile", kOpenFile},
    {"readFrame", "D openFileId=2 frame=18446744073709551615"},
    {"removeFile", kFile},
    {"fileIdentity", kFile},
    {"setup", kDevice},
    {"pairPort", kPairing},
    {"pairedTo", kPort},
    {"repairPort", kPairing},
    {"unpairPort", kPort},
    {"portIdentity", kPort},
    {"framesPerPacket", kPort},
    {"getPortConfig", kPort},
    {"setPortConfig", "D port=1 width=65535 height=4 pixelFormat=4294967295 tapGeometry=6"},
    {"startRecording", "D portMask=4294967295 externalTrigger=33 type=2 count=5000000000 "
                       "usePretrigger=true pretriggerCount=6000000000"},
    {"stopRecording", kDevice},
    {"softwareTrigger", kDevice},
    {"isRecordingDone", kDevice},
    {"recordingFile", kPort},
    {"recordingProgress", kPort},
    {"renameFile", "D fileId=4294967295 streamId=3 name='x' notify=false"},
    {"setFileInfo", "D fileId=4294967295 streamId=3 name='x' width=65535 height=5 numImages=6 "
                    "numDroppedFrames=7 startTime=8 endTime=9 duration=10 notify=true"},
    {"notifyFilesChanged", kDevice},
    {"percentUsed", kDevice},
    {"startLive", kPort},
    {"stopLive", kPort},
    {"liveFrame", kPort},
    {"lockGlobal", ""},
    {"unlockGlobal", ""},
    {"hardwareType", kDevice}};

} // namespace

std::span<const Command> commands()
{
    return kCommands;
}

uint64_t ordinalOf(std::string_view command)
{
    if (command.find_first_not_of("0123456789") == std::string_view::npos)
        return std::stoull(std::string(command));
    const auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                    [&](const Command &row) { return row.name == command; });
    if (found == std::end(kCommands))
        throw std::out_of_range("no command is called " + std::string(command));
    return static_cast<uint64_t>(found - std::begin(kCommands));
}

} // namespace tavu::test
