#include "client/connection.h"

namespace tavu::client {

void Connection::startRecording(uint32_t device, const RecordingSettings &settings)
{
    execute(Command::StartRecording, {{"deviceId", device},
                                      {"portMask", settings.portMask},
                                      {"externalTrigger", settings.externalTrigger},
                                      {"type", static_cast<uint8_t>(settings.stopCondition)},
                                      {"count", settings.count},
                                      {"usePretrigger", settings.usePretrigger},
                                      {"pretriggerCount", settings.pretriggerCount}});
}

void Connection::stopRecording(uint32_t device)
{
    execute(Command::StopRecording, {{"deviceId", device}});
}

void Connection::softwareTrigger(uint32_t device)
{
    execute(Command::SoftwareTrigger, {{"deviceId", device}});
}

bool Connection::isRecordingDone(uint32_t device)
{
    return execute(Command::IsRecordingDone, {{"deviceId", device}}).boolean("done");
}

RecordingTarget Connection::recordingFile(uint32_t device, uint8_t port)
{
    const Reply reply = execute(Command::RecordingFile, {{"deviceId", device}, {"port", port}});
    return {reply.u32("fileId"), reply.u32("streamId")};
}

RecordingProgress Connection::recordingProgress(uint32_t device, uint8_t port)
{
    const Reply reply = execute(Command::RecordingProgress, {{"deviceId", device}, {"port", port}});
    return {reply.u64("numFrames"), reply.boolean("inPretrigger")};
}

bool Connection::hasIncompleteFile(uint32_t device)
{
    return execute(Command::HasIncompleteFile, {{"deviceId", device}}).boolean("hasIncompleteFile");
}

void Connection::discardIncompleteFile(uint32_t device)
{
    execute(Command::DiscardIncompleteFile, {{"deviceId", device}});
}

void Connection::startRecovery(uint32_t device)
{
    execute(Command::StartRecovery, {{"deviceId", device}});
}

void Connection::cancelRecovery(uint32_t device)
{
    execute(Command::CancelRecovery, {{"deviceId", device}});
}

RecoveryStatus Connection::recoveryStatus(uint32_t device)
{
    const uint32_t status = execute(Command::RecoveryStatus, {{"deviceId", device}}).u32("status");
    return static_cast<RecoveryStatus>(status);
}

std::string Connection::recoveryError(uint32_t device)
{
    return execute(Command::RecoveryError, {{"deviceId", device}}).text("error");
}

void Connection::finishRecovery(uint32_t device)
{
    execute(Command::FinishRecovery, {{"deviceId", device}});
}

} // namespace tavu::client
