#include "client/connection_ask.h"

namespace tavu::client {

void Connection::startRecording(uint32_t device, const RecordingSettings &settings)
{
    ask<Command::StartRecording>(device, settings.portMask, settings.externalTrigger,
                                 static_cast<uint8_t>(settings.stopCondition), settings.count,
                                 settings.usePretrigger, settings.pretriggerCount);
}

void Connection::stopRecording(uint32_t device)
{
    ask<Command::StopRecording>(device);
}

void Connection::softwareTrigger(uint32_t device)
{
    ask<Command::SoftwareTrigger>(device);
}

bool Connection::isRecordingDone(uint32_t device)
{
    return ask<Command::IsRecordingDone>(device);
}

RecordingTarget Connection::recordingFile(uint32_t device, uint8_t port)
{
    return gather<RecordingTarget>(ask<Command::RecordingFile>(device, port));
}

RecordingProgress Connection::recordingProgress(uint32_t device, uint8_t port)
{
    return gather<RecordingProgress>(ask<Command::RecordingProgress>(device, port));
}

bool Connection::hasIncompleteFile(uint32_t device)
{
    return ask<Command::HasIncompleteFile>(device);
}

void Connection::discardIncompleteFile(uint32_t device)
{
    ask<Command::DiscardIncompleteFile>(device);
}

void Connection::startRecovery(uint32_t device)
{
    ask<Command::StartRecovery>(device);
}

void Connection::cancelRecovery(uint32_t device)
{
    ask<Command::CancelRecovery>(device);
}

RecoveryStatus Connection::recoveryStatus(uint32_t device)
{
    return static_cast<RecoveryStatus>(ask<Command::RecoveryStatus>(device));
}

std::string Connection::recoveryError(uint32_t device)
{
    return ask<Command::RecoveryError>(device);
}

void Connection::finishRecovery(uint32_t device)
{
    ask<Command::FinishRecovery>(device);
}

} // namespace tavu::client
