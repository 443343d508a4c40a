#include "protocol/commands.h"

#include <iterator>

namespace tavu {

namespace {

// clang-format off
constexpr Command kCommands[] = {
    /*  0 */ {"createEventQueue", commands::createEventQueue},
    /*  1 */ {"destroyEventQueue", commands::destroyEventQueue},
    /*  2 */ {"readEvent", commands::readEvent},
    /*  3 */ {"tryReadEvent", commands::tryReadEvent},
    /*  4 */ {"deviceCount", commands::deviceCount},
    /*  5 */ {"deviceName", commands::deviceName},
    /*  6 */ {"deviceConnected", commands::deviceConnected},
    /*  7 */ {"hasIncompleteFile", commands::hasIncompleteFile},
    /*  8 */ {"discardIncompleteFile", commands::discardIncompleteFile},
    /*  9 */ {"startRecovery", commands::startRecovery},
    /* 10 */ {"cancelRecovery", commands::cancelRecovery},
    /* 11 */ {"recoveryStatus", commands::recoveryStatus},
    /* 12 */ {"recoveryError", commands::recoveryError},
    /* 13 */ {"finishRecovery", commands::finishRecovery},
    /* 14 */ {"serialOpen", commands::serialOpen},
    /* 15 */ {"serialGetBaudRate", commands::serialGetBaudRate},
    /* 16 */ {"serialSetBaudRate", commands::serialSetBaudRate},
    /* 17 */ {"serialRead", commands::serialRead},
    /* 18 */ {"serialWrite", commands::serialWrite},
    /* 19 */ {"serialClear", commands::serialClear},
    /* 20 */ {"serialClose", commands::serialClose},
    /* 21 */ {"registerRead", commands::registerRead},
    /* 22 */ {"registerWrite", commands::registerWrite},
    /* 23 */ {"isCxp", commands::isCxp},
    /* 24 */ {"portCount", commands::portCount},
    /* 25 */ {"portName", commands::portName},
    /* 26 */ {"listFiles", commands::listFiles},
    /* 27 */ {"openFile", commands::openFile},
    /* 28 */ {"fileInfo", commands::fileInfo},
    /* 29 */ {"closeFile", commands::closeFile},
    /* 30 */ {"readFrame", commands::readFrame},
    /* 31 */ {"removeFile", commands::removeFile},
    /* 32 */ {"fileIdentity", commands::fileIdentity},
    /* 33 */ {"setup", commands::setup},
    /* 34 */ {"pairPort", commands::pairPort},
    /* 35 */ {"pairedTo", commands::pairedTo},
    /* 36 */ {"repairPort", commands::repairPort},
    /* 37 */ {"unpairPort", commands::unpairPort},
    /* 38 */ {"portIdentity", commands::portIdentity},
    /* 39 */ {"framesPerPacket", commands::framesPerPacket},
    /* 40 */ {"getPortConfig", commands::getPortConfig},
    /* 41 */ {"setPortConfig", commands::setPortConfig},
    /* 42 */ {"startRecording", commands::startRecording, true},
    /* 43 */ {"stopRecording", commands::stopRecording},
    /* 44 */ {"softwareTrigger", commands::softwareTrigger},
    /* 45 */ {"isRecordingDone", commands::isRecordingDone},
    /* 46 */ {"recordingFile", commands::recordingFile},
    /* 47 */ {"recordingProgress", commands::recordingProgress},
    /* 48 */ {"renameFile", commands::renameFile},
    /* 49 */ {"setFileInfo", commands::setFileInfo},
    /* 50 */ {"notifyFilesChanged", commands::notifyFilesChanged},
    /* 51 */ {"percentUsed", commands::percentUsed},
    /* 52 */ {"startLive", commands::startLive},
    /* 53 */ {"stopLive", commands::stopLive},
    /* 54 */ {"liveFrame", commands::liveFrame},
    /* 55 */ {"lockGlobal", commands::lockGlobal},
    /* 56 */ {"unlockGlobal", commands::unlockGlobal},
    /* 57 */ {"hardwareType", commands::hardwareType},
};
// clang-format on

static_assert(std::size(kCommands) == 58);

} // namespace

const Command *findCommand(uint64_t ordinal)
{
    return ordinal < std::size(kCommands) ? &kCommands[ordinal] : nullptr;
}

} // namespace tavu
