#include "protocol/handlers.h"

#include <algorithm>
#include <stdexcept>

namespace tavu {

namespace {

/// A connection can't touch a playback of another, even if it knows the number.
OpenFileRef requireOpenedHere(const ClientState &client, uint32_t device, uint32_t openFileId)
{
    const OpenFileRef file{openFileId, device};
    if (std::find(client.openFiles.begin(), client.openFiles.end(), file) == client.openFiles.end())
        throw std::runtime_error("File not opened by this connection.");
    return file;
}

Reply openFile(const Call<Command::OpenFile> &call)
{
    const auto &[device, fileId, streamId] = call.params();
    auto &openFiles = call.client().openFiles;
    makeRoom(openFiles);
    uint32_t openFileId = 0;
    std::string mapping;
    call.onDevice(&ITavuDevice::openFile, openFileId, mapping, fileId, streamId);
    openFiles.push_back({openFileId, device});
    return call.reply(openFileId, std::move(mapping));
}

Reply fileInfo(const Call<Command::FileInfo> &call)
{
    const auto &[device, openFileId] = call.params();
    requireOpenedHere(call.client(), device, openFileId);
    return passOn(call, &ITavuDevice::fileInfo);
}

Reply closeFile(const Call<Command::CloseFile> &call)
{
    const auto &[device, openFileId] = call.params();
    const OpenFileRef file = requireOpenedHere(call.client(), device, openFileId);
    Reply reply = passOn(call, &ITavuDevice::closeFile);
    std::erase(call.client().openFiles, file);
    return reply;
}

Reply readFrame(const Call<Command::ReadFrame> &call)
{
    const auto &[device, openFileId, frame] = call.params();
    requireOpenedHere(call.client(), device, openFileId);
    return passOn(call, &ITavuDevice::readFrame);
}

Reply setFileInfo(const Call<Command::SetFileInfo> &call)
{
    const auto &[device, fileId, streamId, name, width, height, numImages, numDroppedFrames,
                 startTime, endTime, duration, notify] = call.params();
    const FileUpdate update{.name = name,
                            .width = width,
                            .height = height,
                            .numFrames = numImages,
                            .numDroppedFrames = numDroppedFrames,
                            .startTime = startTime,
                            .endTime = endTime,
                            .duration = duration};
    return call.reply(call.onDevice(&ITavuDevice::setFileInfo, fileId, streamId, update));
}

constexpr Handler kHandlers[] = {
    pass<Command::ListFiles, &ITavuDevice::listFiles>(),
    handle<openFile>(),
    handle<fileInfo>(),
    handle<closeFile>(),
    handle<readFrame>(),
    pass<Command::RemoveFile, &ITavuDevice::removeFile>(),
    pass<Command::FileIdentity, &ITavuDevice::fileIdentity>(),
    pass<Command::RenameFile, &ITavuDevice::renameFile>(),
    handle<setFileInfo>(),
};

} // namespace

std::span<const Handler> fileCommands()
{
    return kHandlers;
}

} // namespace tavu
