#include "storage/drive_file.h"

#include "operation.h"
#include "raise.h"
#include "storage/drive_set.h"
#include "storage/recorded_stream.h"

#include <boost/make_shared.hpp>

namespace simulator {

DriveFile::DriveFile(Recorder &recorder, std::shared_ptr<FileTable> table, uint32_t fileId)
    : recorder_(recorder), table_(std::move(table)), fileId_(fileId)
{
}

boost::shared_ptr<Quillon::DriveSet> DriveFile::driveSet(bool flag)
{
    if (isEmptied(recorder_, "DriveFile::driveSet", Numbered{"file", fileId_}, flag))
        return {};
    return boost::make_shared<DriveSet>(recorder_, table_);
}

boost::shared_ptr<Quillon::DriveFileInfo> DriveFile::info()
{
    if (isEmptied(recorder_, "DriveFile::info", Numbered{"file", fileId_}))
        return {};
    auto info = boost::make_shared<Quillon::DriveFileInfo>();
    info->clusterBytes = table_->clusterBytes();
    return info;
}

boost::shared_ptr<Common::Buffer> DriveFile::readMetadata()
{
    if (isEmptied(recorder_, "DriveFile::readMetadata", Numbered{"file", fileId_}))
        return {};
    return table_->readMetadata(fileId_);
}

void DriveFile::writeMetadata(const boost::shared_ptr<Common::Buffer> &block)
{
    if (isEmptied(recorder_, "DriveFile::writeMetadata", Numbered{"file", fileId_}, Content{block}))
        return;
    if (!block)
        raiseError("There is no block to write.");
    table_->writeMetadata(fileId_, block->data(), block->size());
}

uint32_t DriveFile::metadataCapacity()
{
    return isEmptied(recorder_, "DriveFile::metadataCapacity", Numbered{"file", fileId_})
               ? 0
               : table_->metadataBytes();
}

void DriveFile::readBlock(const boost::shared_ptr<Common::Buffer> &block, uint32_t flags)
{
    if (isEmptied(recorder_, "DriveFile::readBlock", Numbered{"file", fileId_}, block, flags))
        return;
    requireBlock(block);
    const std::lock_guard lock(mutex_);
    table_->readBlock(fileId_, nextBlock_, block->data());
    nextBlock_++;
}

void DriveFile::writeBlock(const boost::shared_ptr<Common::Buffer> &block)
{
    if (isEmptied(recorder_, "DriveFile::writeBlock", Numbered{"file", fileId_}, Content{block}))
        return;
    requireBlock(block);
    const std::lock_guard lock(mutex_);
    table_->writeBlock(fileId_, nextBlock_, block->data());
    nextBlock_++;
}

void DriveFile::requireBlock(const boost::shared_ptr<Common::Buffer> &block) const
{
    const uint64_t bytes = table_->space().stripeBytes();
    if (!block || block->size() != bytes)
        raiseError("A block of this file has " + std::to_string(bytes) + " bytes.");
}

uint32_t DriveFile::streamCount()
{
    if (isEmptied(recorder_, "DriveFile::streamCount", Numbered{"file", fileId_}))
        return 0;
    return static_cast<uint32_t>(table_->file(fileId_).streams.size());
}

boost::shared_ptr<Quillon::RecordedStream> DriveFile::streamByIndex(uint32_t index)
{
    if (isEmptied(recorder_, "DriveFile::streamByIndex", Numbered{"file", fileId_}, index))
        return {};
    return makeStream(streamAt(index));
}

uint32_t DriveFile::streamIdByIndex(uint32_t index)
{
    return isEmptied(recorder_, "DriveFile::streamIdByIndex", Numbered{"file", fileId_}, index)
               ? 0
               : streamAt(index).id;
}

boost::shared_ptr<Quillon::RecordedStream> DriveFile::streamById(uint32_t streamId)
{
    if (isEmptied(recorder_, "DriveFile::streamById", Numbered{"file", fileId_}, streamId))
        return {};
    return makeStream(table_->stream(fileId_, streamId));
}

StreamRecord DriveFile::streamAt(uint32_t index) const
{
    const FileRecord file = table_->file(fileId_);
    if (index >= file.streams.size())
        raiseError("File " + std::to_string(fileId_) + " has no stream at index " +
                   std::to_string(index) + ".");
    return file.streams[index];
}

boost::shared_ptr<Quillon::RecordedStream> DriveFile::makeStream(const StreamRecord &stream) const
{
    return boost::make_shared<RecordedStream>(recorder_, table_, fileId_, stream);
}

} // namespace simulator
