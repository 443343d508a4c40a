// What the files of a drive set hold: metadata blocks, named files' blocks, streams.

#include "storage/file_table.h"

#include "errors.h"
#include "storage/frame_layout.h"
#include "storage/whole_file.h"

#include <algorithm>
#include <cstring>

namespace simulator {

boost::shared_ptr<Common::Buffer> FileTable::readMetadata(uint32_t fileId) const
{
    auto block = Common::Buffer::create(nullptr, set_.metadataBytes);
    std::lock_guard guard(mutex_);
    uint64_t stored = 0;
    if (at(fileId).hasMetadata)
        stored = readWholeFile(filePath(fileId, ".meta"), block->data(), block->size());
    std::memset(block->ptr(stored), 0, block->size() - stored);
    return block;
}

void FileTable::writeMetadata(uint32_t fileId, const void *data, uint64_t size)
{
    if (size > set_.metadataBytes)
        raiseError("A metadata block has " + std::to_string(set_.metadataBytes) + " bytes.");
    std::string block(static_cast<const char *>(data), size);
    block.resize(set_.metadataBytes);
    std::lock_guard guard(mutex_);
    File &file = at(fileId);
    replaceFile(filePath(fileId, ".meta"), block);
    file.hasMetadata = true;
}

void FileTable::readBlock(uint32_t fileId, uint64_t block, void *target) const
{
    std::lock_guard guard(mutex_);
    const FileRecord &record = at(fileId).record;
    if (block >= record.writtenBlocks)
        raiseError("Block " + std::to_string(block) + " of file " + std::to_string(fileId) +
                   " was never written.");
    space_.read(record.extents, block * space_.stripeBytes(), target, space_.stripeBytes());
}

void FileTable::writeBlock(uint32_t fileId, uint64_t block, const void *source)
{
    std::lock_guard guard(mutex_);
    FileRecord &record = at(fileId).record;
    if (block >= stripesOf(record.extents))
        raiseError("File " + std::to_string(fileId) + " ends before block " +
                   std::to_string(block) + ".");
    space_.write(record.extents, block * space_.stripeBytes(), source, space_.stripeBytes());
    if (block < record.writtenBlocks)
        return;
    FileRecord changed = record;
    changed.writtenBlocks = block + 1;
    save(changed);
    record = std::move(changed);
}

uint32_t FileTable::createRecording(uint64_t created, const std::vector<StreamRecord> &streams)
{
    std::lock_guard guard(mutex_);
    requireSet();
    File file;
    file.record.created = created;
    file.record.streams = streams;
    file.recordedStreams = static_cast<uint32_t>(streams.size());
    return addFile(std::move(file));
}

Extents FileTable::growStream(uint32_t fileId, uint32_t streamId, uint64_t stripes)
{
    std::lock_guard guard(mutex_);
    FileRecord &record = at(fileId).record;
    StreamRecord &stream = record.stream(streamId);
    const Extents former = stream.extents;
    const Extents more = allocator_.allocate(stripes);
    append(stream.extents, more);
    try {
        save(record);
    } catch (...) {
        stream.extents = former;
        allocator_.release(more);
        throw;
    }
    return stream.extents;
}

void FileTable::countFrames(uint32_t fileId, uint32_t streamId, uint64_t frames)
{
    std::lock_guard guard(mutex_);
    at(fileId).record.stream(streamId).frames = frames;
}

void FileTable::closeStream(uint32_t fileId, uint32_t streamId, uint64_t frames)
{
    std::lock_guard guard(mutex_);
    FileRecord &record = at(fileId).record;
    StreamRecord &stream = record.stream(streamId);
    const uint64_t bytes = frames * frameStride(stream);
    const uint64_t stripeBytes = space_.stripeBytes();
    stream.frames = frames;
    stream.closed = true;
    const Extents unneeded = cutOff(stream.extents, (bytes + stripeBytes - 1) / stripeBytes);
    save(record);
    allocator_.release(unneeded);
}

void FileTable::releaseStream(uint32_t fileId)
{
    std::lock_guard guard(mutex_);
    File &file = at(fileId);
    if (file.recordedStreams > 0)
        --file.recordedStreams;
}

} // namespace simulator
