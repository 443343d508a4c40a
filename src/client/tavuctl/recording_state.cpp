#include "client/tavuctl/recording_state.h"

#include "client/tavuctl/console.h"

namespace tavu::ctl {

namespace {

/// The emulated device says "not done" before its first recording too; but a recording has its
/// first frame at once, and a device that hasn't recorded yet has none.
bool hasFrames(client::Connection &service, uint32_t device)
{
    constexpr int kTries = 10;
    for (int i = 0; i < kTries; ++i) {
        if (service.recordingProgress(device, 0).numFrames > 0)
            return true;
        pauseFor(20);
    }
    return false;
}

} // namespace

RecordingState recordingState(client::Connection &service, uint32_t device)
{
    if (!service.hasIncompleteFile(device))
        return RecordingState::Nothing;
    const bool done = service.isRecordingDone(device);
    if (service.hardwareType(device) != client::kEmulatedDevice)
        return done ? RecordingState::EndedOrCutOff : RecordingState::UnderWay;
    // Its stop makes a recording of the file, so what is there after one has ended is that one.
    if (done)
        return RecordingState::Ended;
    return hasFrames(service, device) ? RecordingState::UnderWay : RecordingState::CutOff;
}

} // namespace tavu::ctl
