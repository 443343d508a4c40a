#pragma once

#include "encoding/object_value.h"
#include "protocol/reply.h"
#include "protocol/session.h"

#include <cstdint>

namespace tavu {

/// Does a command's work and returns its answer; raises what the client gets as an error.
using CommandHandler = Reply (*)(Session &session, const ObjectValue &request);

/// One row of the command table; the row's position is the command's ordinal.
struct Command
{
    const char *name;
    CommandHandler handler;
    bool echoesFailure = false; ///< a failure is also printed on standard error
};

/// Null when there is no such command.
const Command *findCommand(uint64_t ordinal);

// The handlers, by the file in which they stand.

namespace commands {

// queue_commands.cpp
Reply createEventQueue(Session &session, const ObjectValue &request);
Reply destroyEventQueue(Session &session, const ObjectValue &request);
Reply readEvent(Session &session, const ObjectValue &request);
Reply tryReadEvent(Session &session, const ObjectValue &request);

// device_commands.cpp
Reply deviceCount(Session &session, const ObjectValue &request);
Reply deviceName(Session &session, const ObjectValue &request);
Reply deviceConnected(Session &session, const ObjectValue &request);
Reply isCxp(Session &session, const ObjectValue &request);
Reply portCount(Session &session, const ObjectValue &request);
Reply portName(Session &session, const ObjectValue &request);
Reply percentUsed(Session &session, const ObjectValue &request);
Reply hardwareType(Session &session, const ObjectValue &request);
Reply notifyFilesChanged(Session &session, const ObjectValue &request);
Reply lockGlobal(Session &session, const ObjectValue &request);
Reply unlockGlobal(Session &session, const ObjectValue &request);

// camera_commands.cpp
Reply serialOpen(Session &session, const ObjectValue &request);
Reply serialGetBaudRate(Session &session, const ObjectValue &request);
Reply serialSetBaudRate(Session &session, const ObjectValue &request);
Reply serialRead(Session &session, const ObjectValue &request);
Reply serialWrite(Session &session, const ObjectValue &request);
Reply serialClear(Session &session, const ObjectValue &request);
Reply serialClose(Session &session, const ObjectValue &request);
Reply registerRead(Session &session, const ObjectValue &request);
Reply registerWrite(Session &session, const ObjectValue &request);

// file_commands.cpp
Reply listFiles(Session &session, const ObjectValue &request);
Reply openFile(Session &session, const ObjectValue &request);
Reply fileInfo(Session &session, const ObjectValue &request);
Reply closeFile(Session &session, const ObjectValue &request);
Reply readFrame(Session &session, const ObjectValue &request);
Reply removeFile(Session &session, const ObjectValue &request);
Reply fileIdentity(Session &session, const ObjectValue &request);
Reply renameFile(Session &session, const ObjectValue &request);
Reply setFileInfo(Session &session, const ObjectValue &request);

// port_commands.cpp
Reply setup(Session &session, const ObjectValue &request);
Reply pairPort(Session &session, const ObjectValue &request);
Reply pairedTo(Session &session, const ObjectValue &request);
Reply repairPort(Session &session, const ObjectValue &request);
Reply unpairPort(Session &session, const ObjectValue &request);
Reply portIdentity(Session &session, const ObjectValue &request);
Reply framesPerPacket(Session &session, const ObjectValue &request);
Reply getPortConfig(Session &session, const ObjectValue &request);
Reply setPortConfig(Session &session, const ObjectValue &request);

// recording_commands.cpp
Reply startRecording(Session &session, const ObjectValue &request);
Reply stopRecording(Session &session, const ObjectValue &request);
Reply softwareTrigger(Session &session, const ObjectValue &request);
Reply isRecordingDone(Session &session, const ObjectValue &request);
Reply recordingFile(Session &session, const ObjectValue &request);
Reply recordingProgress(Session &session, const ObjectValue &request);

// recovery_commands.cpp
Reply hasIncompleteFile(Session &session, const ObjectValue &request);
Reply discardIncompleteFile(Session &session, const ObjectValue &request);
Reply startRecovery(Session &session, const ObjectValue &request);
Reply cancelRecovery(Session &session, const ObjectValue &request);
Reply recoveryStatus(Session &session, const ObjectValue &request);
Reply recoveryError(Session &session, const ObjectValue &request);
Reply finishRecovery(Session &session, const ObjectValue &request);

// live_commands.cpp
Reply startLive(Session &session, const ObjectValue &request);
Reply stopLive(Session &session, const ObjectValue &request);
Reply liveFrame(Session &session, const ObjectValue &request);

} // namespace commands

} // namespace tavu
