#include "protocol/commands.h"
#include "protocol/parameters.h"
#include "protocol/simple_commands.h"

namespace tavu::commands {

Reply startRecording(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint32_t portMask = params.u32("portMask");
    const uint8_t externalTrigger = params.u8("externalTrigger");
    const uint8_t type = params.u8("type");
    const uint64_t count = params.u64("count");
    const bool usePretrigger = params.flag("usePretrigger");
    const uint64_t pretriggerCount = params.u64("pretriggerCount");
    session.devices.startRecording(device, portMask, externalTrigger, type, count, usePretrigger,
                                   pretriggerCount);
    return Reply();
}

Reply stopRecording(Session &session, const ObjectValue &request)
{
    return onDevice(session, request, &DeviceManager::stopRecording);
}

Reply softwareTrigger(Session &session, const ObjectValue &request)
{
    return onDevice(session, request, &DeviceManager::softwareTrigger);
}

Reply isRecordingDone(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "done", &DeviceManager::isRecordingDone);
}

Reply recordingFile(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    uint32_t fileId = 0;
    uint32_t streamId = 0;
    session.devices.recordingFile(device, port, fileId, streamId);
    return Reply().add("fileId", fileId).add("streamId", streamId);
}

Reply recordingProgress(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const uint32_t device = params.deviceId();
    const uint8_t port = params.port();
    uint64_t numFrames = 0;
    bool inPretrigger = false;
    session.devices.recordingProgress(device, port, numFrames, inPretrigger);
    return Reply().add("numFrames", numFrames).add("inPretrigger", inPretrigger);
}

} // namespace tavu::commands
