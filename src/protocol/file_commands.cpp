#include "protocol/commands.h"
#include "protocol/parameters.h"
#include "protocol/simple_commands.h"

#include <algorithm>
#include <stdexcept>

namespace tavu::commands {

namespace {

/// The recording that a command names.
struct Recording
{
    explicit Recording(const Parameters &params)
        : device(params.deviceId()), fileId(params.u32("fileId")), streamId(params.u32("streamId"))
    {
    }
    // In the order in which they are read.
    uint32_t device;
    uint32_t fileId;
    uint32_t streamId;
};

OpenFileRef readOpenFileRef(const Parameters &params)
{
    const uint32_t device = params.deviceId();
    const uint32_t openFileId = params.u32("openFileId");
    return {openFileId, device};
}

/// A connection can't touch a playback of another, even if it knows the number.
void requireOpenedHere(const Session &session, const OpenFileRef &file)
{
    const auto &openFiles = session.connection.openFiles;
    if (std::find(openFiles.begin(), openFiles.end(), file) == openFiles.end())
        throw std::runtime_error("File not opened by this connection.");
}

} // namespace

Reply listFiles(Session &session, const ObjectValue &request)
{
    return askDevice(session, request, "files", &DeviceManager::listFiles);
}

Reply openFile(Session &session, const ObjectValue &request)
{
    const Recording recording{Parameters(request)};
    auto &openFiles = session.connection.openFiles;
    makeRoom(openFiles);
    uint32_t openFileId = 0;
    std::string mapping;
    session.devices.openFile(recording.device, openFileId, mapping, recording.fileId,
                             recording.streamId);
    openFiles.push_back({openFileId, recording.device});
    return Reply().add("openFileId", openFileId).add("mapping", std::move(mapping));
}

Reply fileInfo(Session &session, const ObjectValue &request)
{
    const OpenFileRef file = readOpenFileRef(Parameters(request));
    requireOpenedHere(session, file);
    uint16_t width = 0;
    uint16_t height = 0;
    uint32_t imageSize = 0;
    uint64_t numFrames = 0;
    uint64_t size = 0;
    session.devices.fileInfo(file.device, file.openFileId, width, height, imageSize, numFrames,
                             size);
    return Reply()
        .add("width", width)
        .add("height", height)
        .add("imageSize", imageSize)
        .add("numFrames", numFrames)
        .add("size", size);
}

Reply closeFile(Session &session, const ObjectValue &request)
{
    const OpenFileRef file = readOpenFileRef(Parameters(request));
    requireOpenedHere(session, file);
    session.devices.closeFile(file.device, file.openFileId);
    std::erase(session.connection.openFiles, file);
    return Reply();
}

Reply readFrame(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const OpenFileRef file = readOpenFileRef(params);
    const uint64_t frame = params.u64("frame");
    requireOpenedHere(session, file);
    session.devices.readFrame(file.device, file.openFileId, frame);
    return Reply();
}

Reply removeFile(Session &session, const ObjectValue &request)
{
    const Recording recording{Parameters(request)};
    session.devices.removeFile(recording.device, recording.fileId, recording.streamId);
    return Reply();
}

Reply fileIdentity(Session &session, const ObjectValue &request)
{
    const Recording recording{Parameters(request)};
    ByteBlock data;
    session.devices.fileIdentity(recording.device, recording.fileId, recording.streamId, data);
    return Reply().add("data", std::move(data));
}

Reply renameFile(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const Recording recording{params};
    const std::string name = params.text("name");
    const bool notify = params.flag("notify");
    session.devices.renameFile(recording.device, recording.fileId, recording.streamId, name,
                               notify);
    return Reply();
}

Reply setFileInfo(Session &session, const ObjectValue &request)
{
    const Parameters params(request);
    const Recording recording{params};
    const std::string name = params.text("name");
    const uint16_t width = params.u16("width");
    const uint16_t height = params.u16("height");
    const uint64_t numImages = params.u64("numImages");
    const uint64_t numDroppedFrames = params.u64("numDroppedFrames");
    const uint64_t startTime = params.optionalU64("startTime");
    const uint64_t endTime = params.optionalU64("endTime");
    const uint64_t duration = params.u64("duration");
    const bool notify = params.flag("notify");
    return Reply().add("name", session.devices.setFileInfo(recording.device, recording.fileId,
                                                           recording.streamId, name, width, height,
                                                           numImages, numDroppedFrames, startTime,
                                                           endTime, duration, notify));
}

} // namespace tavu::commands
