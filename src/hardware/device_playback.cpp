#include "hardware/stavu_device.h"

#include "hardware/binding/handles.h"
#include "hardware/drive_file_guard.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace tavu {

/// Holds one count of an open stream's handle, unless a slot has taken it over.
class STavuDevice::StreamGuard
{
public:
    StreamGuard(STavuDevice &device, OpenStreamHandle *handle) : device_(device), handle_(handle) {}
    StreamGuard(const StreamGuard &) = delete;
    StreamGuard &operator=(const StreamGuard &) = delete;
    ~StreamGuard() { device_.releaseOpenStream(handle_); }

    OpenStreamHandle *operator->() const { return handle_; }
    OpenStreamHandle *release() { return std::exchange(handle_, nullptr); }

private:
    STavuDevice &device_;
    OpenStreamHandle *handle_;
};

// Whether the file and the stream exist is for the library to say, not for the catalogue.
void STavuDevice::openFile(uint32_t &openFileId, std::string &mapping, uint32_t fileId,
                           uint32_t streamId)
{
    std::lock_guard guard(lock_);
    const DriveFileGuard file(*this, acquireDriveFile(fileId));
    StreamGuard stream(*this, acquireStream(file.get(), streamId));

    const auto free = std::find_if(openFiles_.begin(), openFiles_.end(),
                                   [](const OpenFileSlot &slot) { return !slot.inUse; });
    openFileId = static_cast<uint32_t>(free - openFiles_.begin());
    OpenFileSlot &slot = free == openFiles_.end() ? openFiles_.emplace_back() : *free;
    slot.id = openFileId;
    slot.inUse = true;
    slot.fileId = fileId;
    slot.streamId = streamId;

    // When something from here on fails, the slot stays taken, without a stream.
    const auto type = given(stream->frames->dataType(), "FrameSequence::dataType");
    slot.width = static_cast<uint16_t>(Common::DataType::width(type));
    slot.height = static_cast<uint16_t>(Common::DataType::height(type));
    slot.numFrames = stream->frames->frameCount();
    slot.imageSize = uint32_t(slot.height) * slot.width * 2;
    slot.size = slot.numFrames * slot.imageSize;
    if (!slot.region.createUnique("orek_tavu", slot.imageSize, false))
        throw std::runtime_error("Failed to create shared memory mapping");
    slot.stream = stream.release();
    mapping = slot.region.mappingName();
}

OpenStreamHandle *STavuDevice::acquireStream(DriveFileHandle *file, uint32_t streamId)
{
    const auto known =
        std::find_if(openStreams_.begin(), openStreams_.end(), [=](const OpenStreamHandle &handle) {
            return handle.fileHandle == file && handle.streamId == streamId;
        });
    if (known != openStreams_.end()) {
        ++known->refCount;
        return &*known;
    }
    std::lock_guard guard(file->mutex);
    const auto stream = given(file->file->streamById(streamId), "DriveFile::streamById");
    const auto frames = given(stream->frames(0, 0, false, false), "RecordedStream::frames");
    openStreams_.push_back(OpenStreamHandle{1, file, streamId, stream, frames});
    ++file->refCount;
    return &openStreams_.back();
}

void STavuDevice::releaseOpenStream(OpenStreamHandle *handle)
{
    const auto known =
        std::find_if(openStreams_.begin(), openStreams_.end(),
                     [handle](const OpenStreamHandle &entry) { return &entry == handle; });
    if (known == openStreams_.end() || --known->refCount > 0)
        return;
    DriveFileHandle *const file = known->fileHandle;
    {
        std::lock_guard guard(file->mutex);
        openStreams_.erase(known);
    }
    releaseDriveFile(file);
}

OpenFileSlot &STavuDevice::openSlot(uint32_t openFileId)
{
    if (openFileId >= openFiles_.size() || !openFiles_[openFileId].inUse)
        throw std::runtime_error("Invalid file id.");
    return openFiles_[openFileId];
}

void STavuDevice::fileInfo(uint32_t openFileId, uint16_t &width, uint16_t &height,
                           uint32_t &imageSize, uint64_t &numFrames, uint64_t &size)
{
    std::lock_guard guard(lock_);
    const OpenFileSlot &slot = openSlot(openFileId);
    width = slot.width;
    height = slot.height;
    imageSize = slot.imageSize;
    numFrames = slot.numFrames;
    size = slot.size;
}

void STavuDevice::closeFile(uint32_t openFileId)
{
    std::lock_guard guard(lock_);
    OpenFileSlot &slot = openSlot(openFileId);
    releaseOpenStream(slot.stream);
    slot = OpenFileSlot();
    slot.id = openFileId;
}

void STavuDevice::readFrame(uint32_t openFileId, uint64_t frame)
{
    std::lock_guard guard(lock_);
    OpenFileSlot &slot = openSlot(openFileId);
    boost::shared_ptr<Common::Frame> picture;
    if (slot.stream)
        slot.stream->frames->readFrames(picture, frame, 1);
    if (!picture)
        throw std::runtime_error("Failed to read file.");
    const auto buffer = given(picture->buffer(), "Frame::buffer");
    if (buffer->size() < slot.imageSize)
        throw std::runtime_error("Buffer size doesn't match expected size.");
    std::memcpy(slot.region.view(), buffer->data(), slot.imageSize);
}

} // namespace tavu
