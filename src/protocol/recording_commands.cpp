#include "protocol/handlers.h"

namespace tavu {

namespace {

constexpr Handler startRecording()
{
    Handler handler = pass<Command::StartRecording, &ITavuDevice::startRecording>();
    handler.echoesFailure = true;
    return handler;
}

constexpr Handler kHandlers[] = {
    startRecording(),
    pass<Command::StopRecording, &ITavuDevice::stopRecording>(),
    pass<Command::SoftwareTrigger, &ITavuDevice::softwareTrigger>(),
    pass<Command::IsRecordingDone, &ITavuDevice::isRecordingDone>(),
    pass<Command::RecordingFile, &ITavuDevice::recordingFile>(),
    pass<Command::RecordingProgress, &ITavuDevice::recordingProgress>(),
};

} // namespace

std::span<const Handler> recordingCommands()
{
    return kHandlers;
}

} // namespace tavu
