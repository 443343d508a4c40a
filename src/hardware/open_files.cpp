#include "hardware/open_files.h"

#include "hardware/binding/handles.h"
#include "wire/names.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tavu {

DriveFileHandle::~DriveFileHandle()
{
    std::lock_guard guard(mutex);
    file.reset();
}

OpenStreamHandle::OpenStreamHandle(std::shared_ptr<DriveFileHandle> file, uint32_t streamId)
    : fileHandle(std::move(file))
{
    std::lock_guard guard(fileHandle->mutex);
    stream = requireHandle(fileHandle->file->streamById(streamId), "DriveFile::streamById");
    frames = allFrames(*stream);
}

OpenStreamHandle::~OpenStreamHandle()
{
    std::lock_guard guard(fileHandle->mutex);
    frames.reset();
    stream.reset();
}

void OpenFiles::open(uint32_t &openFileId, std::string &mapping, uint32_t fileId, uint32_t streamId)
{
    const auto file = acquireDriveFile(fileId);
    auto stream = acquireStream(file, streamId);

    const auto free = std::find_if(slots_.begin(), slots_.end(),
                                   [](const OpenFileSlot &slot) { return !slot.inUse; });
    openFileId = static_cast<uint32_t>(free - slots_.begin());
    OpenFileSlot &slot = free == slots_.end() ? slots_.emplace_back() : *free;
    slot.inUse = true;
    slot.fileId = fileId;
    slot.streamId = streamId;

    // When something from here on fails, the slot stays taken, without a stream.
    const auto type = requireHandle(stream->frames->dataType(), "FrameSequence::dataType");
    slot.width = static_cast<uint16_t>(Common::DataType::width(type));
    slot.height = static_cast<uint16_t>(Common::DataType::height(type));
    slot.numFrames = stream->frames->frameCount();
    slot.imageSize = uint32_t(slot.height) * slot.width * 2;
    slot.size = slot.numFrames * slot.imageSize;
    if (!slot.region.createUnique(kRegionBaseName, slot.imageSize, false))
        throw std::runtime_error("Failed to create shared memory mapping");
    slot.stream = std::move(stream);
    mapping = slot.region.mappingName();
}

const OpenFileSlot &OpenFiles::slot(uint32_t openFileId) const
{
    if (openFileId >= slots_.size() || !slots_[openFileId].inUse)
        throw std::runtime_error("Invalid file id.");
    return slots_[openFileId];
}

void OpenFiles::close(uint32_t openFileId)
{
    slot(openFileId);
    slots_[openFileId].stream.reset();
    slots_[openFileId] = OpenFileSlot();
}

void OpenFiles::readFrame(uint32_t openFileId, uint64_t frame)
{
    const OpenFileSlot &open = slot(openFileId);
    boost::shared_ptr<Common::Frame> picture;
    if (open.stream)
        open.stream->frames->readFrames(picture, frame, 1);
    if (!picture)
        throw std::runtime_error("Failed to read file.");
    const auto buffer = requireHandle(picture->buffer(), "Frame::buffer");
    if (buffer->size() < open.imageSize)
        throw std::runtime_error("Buffer size doesn't match expected size.");
    std::memcpy(open.region.view(), buffer->data(), open.imageSize);
}

// A closed slot holds 0 and 0, which is no file.
bool OpenFiles::isOpen(uint32_t fileId, uint32_t streamId) const
{
    return std::any_of(slots_.begin(), slots_.end(), [=](const OpenFileSlot &slot) {
        return slot.fileId == fileId && slot.streamId == streamId;
    });
}

bool OpenFiles::anyOpen() const
{
    return std::any_of(slots_.begin(), slots_.end(),
                       [](const OpenFileSlot &slot) { return slot.inUse; });
}

std::shared_ptr<DriveFileHandle> OpenFiles::findDriveFile(uint32_t fileId) const
{
    const auto open = std::find_if(slots_.begin(), slots_.end(), [=](const OpenFileSlot &slot) {
        return slot.stream && slot.fileId == fileId;
    });
    return open == slots_.end() ? nullptr : open->stream->fileHandle;
}

std::shared_ptr<DriveFileHandle> OpenFiles::acquireDriveFile(uint32_t fileId) const
{
    if (auto open = findDriveFile(fileId))
        return open;
    return std::make_shared<DriveFileHandle>(openDriveFile(*library_.firstDriveSet(), fileId));
}

std::shared_ptr<OpenStreamHandle>
OpenFiles::acquireStream(const std::shared_ptr<DriveFileHandle> &file, uint32_t streamId) const
{
    const auto open = std::find_if(slots_.begin(), slots_.end(), [&](const OpenFileSlot &slot) {
        return slot.stream && slot.stream->fileHandle == file && slot.streamId == streamId;
    });
    return open == slots_.end() ? std::make_shared<OpenStreamHandle>(file, streamId) : open->stream;
}

boost::shared_ptr<Common::Buffer> OpenFiles::readMetadata(uint32_t fileId) const
{
    const auto open = findDriveFile(fileId);
    if (!open)
        return nullptr;
    std::lock_guard guard(open->mutex);
    return open->file->readMetadata();
}

} // namespace tavu
