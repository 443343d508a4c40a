#include "storage/drive_file.h"

#include "errors.h"
#include "recorder.h"
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
    return recorder_.begin("DriveFile::driveSet", Numbered{"file", fileId_}, flag)
               ? boost::make_shared<DriveSet>(recorder_, table_)
               : nullptr;
}

boost::shared_ptr<Quillon::DriveFileInfo> DriveFile::info()
{
    if (!recorder_.begin("DriveFile::info", Numbered{"file", fileId_}))
        return {};
    auto info = boost::make_shared<Quillon::DriveFileInfo>();
    info->clusterBytes = table_->clusterBytes();
    return info;
}

boost::shared_ptr<Common::Buffer> DriveFile::readMetadata()
{
    return recorder_.begin("DriveFile::readMetadata", Numbered{"file", fileId_})
               ? table_->readMetadata(fileId_)
               : nullptr;
}

void DriveFile::writeMetadata(const boost::shared_ptr<Common::Buffer> &block)
{
    if (!recorder_.begin("DriveFile::writeMetadata", Numbered{"file", fileId_}, Content{block}))
        return;
    Common::Buffer &bytes = required(block, "There is no block to write.");
    table_->writeMetadata(fileId_, bytes.data(), bytes.size());
}

uint32_t DriveFile::metadataCapacity()
{
    return recorder_.begin("DriveFile::metadataCapacity", Numbered{"file", fileId_})
               ? table_->metadataBytes()
               : 0;
}

void DriveFile::readBlock(const boost::shared_ptr<Common::Buffer> &block, uint32_t flags)
{
    if (!recorder_.begin("DriveFile::readBlock", Numbered{"file", fileId_}, block, flags))
        return;
    requireBlock(block);
    std::lock_guard guard(mutex_);
    table_->readBlock(fileId_, nextBlock_, block->data());
    ++nextBlock_;
}

void DriveFile::writeBlock(const boost::shared_ptr<Common::Buffer> &block)
{
    if (!recorder_.begin("DriveFile::writeBlock", Numbered{"file", fileId_}, Content{block}))
        return;
    requireBlock(block);
    std::lock_guard guard(mutex_);
    table_->writeBlock(fileId_, nextBlock_, block->data());
    ++nextBlock_;
}

void DriveFile::requireBlock(const boost::shared_ptr<Common::Buffer> &block) const
{
    const uint64_t bytes = table_->space().stripeBytes();
    if (!block || block->size() != bytes)
        raiseError("A block of this file has " + std::to_string(bytes) + " bytes.");
}

uint32_t DriveFile::streamCount()
{
    return recorder_.begin("DriveFile::streamCount", Numbered{"file", fileId_})
               ? static_cast<uint32_t>(table_->file(fileId_).streams.size())
               : 0;
}

boost::shared_ptr<Quillon::RecordedStream> DriveFile::streamByIndex(uint32_t index)
{
    return recorder_.begin("DriveFile::streamByIndex", Numbered{"file", fileId_}, index)
               ? makeStream(streamAt(index))
               : nullptr;
}

uint32_t DriveFile::streamIdByIndex(uint32_t index)
{
    return recorder_.begin("DriveFile::streamIdByIndex", Numbered{"file", fileId_}, index)
               ? streamAt(index).id
               : 0;
}

boost::shared_ptr<Quillon::RecordedStream> DriveFile::streamById(uint32_t streamId)
{
    return recorder_.begin("DriveFile::streamById", Numbered{"file", fileId_}, streamId)
               ? makeStream(table_->stream(fileId_, streamId))
               : nullptr;
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
    return boost::make_shared<RecordedStream>(StreamPlace{recorder_, table_, fileId_, stream.id},
                                              stream.portName);
}

} // namespace simulator
