#include "client/tools/recording_state.h"

namespace tavu::tools {

namespace {

/// What recordingFile() names where nothing has been recorded since the service started.
constexpr uint32_t kNoFile = 0xFFFFFFFF;

} // namespace

RecordingState recordingState(client::Connection &service, uint32_t device)
{
    const bool done = service.isRecordingDone(device);
    if (service.hardwareType(device) != client::kEmulatedDevice) {
        // A recording isn't incomplete before its first frames are on the drives.
        if (!done)
            return RecordingState::UnderWay;
        return service.hasIncompleteFile(device) ? RecordingState::EndedOrCutOff
                                                 : RecordingState::Nothing;
    }
    if (!service.hasIncompleteFile(device))
        return RecordingState::Nothing;
    // It says "not done" before its first recording, too. Its stop makes a recording of the file,
    // so what is there after one has ended is that one.
    if (done)
        return RecordingState::Ended;
    return service.recordingFile(device, 0).fileId == kNoFile ? RecordingState::CutOff
                                                              : RecordingState::UnderWay;
}

} // namespace tavu::tools
