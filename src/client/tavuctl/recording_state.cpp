#include "client/tavuctl/recording_state.h"

namespace tavu::ctl {

namespace {

/// What recordingFile() names where nothing has been recorded since the service started.
constexpr uint32_t kNoFile = 0xFFFFFFFF;

} // namespace

RecordingState recordingState(client::Connection &service, uint32_t device)
{
    if (!service.hasIncompleteFile(device))
        return RecordingState::Nothing;
    const bool done = service.isRecordingDone(device);
    if (service.hardwareType(device) != client::kEmulatedDevice)
        return done ? RecordingState::EndedOrCutOff : RecordingState::UnderWay;
    // It says "not done" before its first recording, too. Its stop makes a recording of the file,
    // so what is there after one has ended is that one.
    if (done)
        return RecordingState::Ended;
    return service.recordingFile(device, 0).fileId == kNoFile ? RecordingState::CutOff
                                                              : RecordingState::UnderWay;
}

} // namespace tavu::ctl
