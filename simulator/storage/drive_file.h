#pragma once

#include "hardware/library/drive_file.h"
#include "storage/file_table.h"

#include <cstdint>
#include <memory>
#include <mutex>

namespace simulator {

class Recorder;

/// A handle of a file, with a position of its own for blocks. Any thread.
class DriveFile final : public Quillon::DriveFile
{
public:
    DriveFile(Recorder &recorder, std::shared_ptr<FileTable> table, uint32_t fileId);
    virtual ~DriveFile() = default;

    boost::shared_ptr<Quillon::DriveSet> driveSet(bool flag) override;
    boost::shared_ptr<Quillon::DriveFileInfo> info() override;
    boost::shared_ptr<Common::Buffer> readMetadata() override;
    void writeMetadata(const boost::shared_ptr<Common::Buffer> &block) override;
    uint32_t metadataCapacity() override;
    void readBlock(const boost::shared_ptr<Common::Buffer> &block, uint32_t flags) override;
    void writeBlock(const boost::shared_ptr<Common::Buffer> &block) override;
    uint32_t streamCount() override;
    boost::shared_ptr<Quillon::RecordedStream> streamByIndex(uint32_t index) override;
    uint32_t streamIdByIndex(uint32_t index) override;
    boost::shared_ptr<Quillon::RecordedStream> streamById(uint32_t streamId) override;

private:
    StreamRecord streamAt(uint32_t index) const;
    boost::shared_ptr<Quillon::RecordedStream> makeStream(const StreamRecord &stream) const;
    void requireBlock(const boost::shared_ptr<Common::Buffer> &block) const;

    Recorder &recorder_;
    const std::shared_ptr<FileTable> table_;
    const uint32_t fileId_;

    std::mutex mutex_;
    uint64_t nextBlock_ = 0;
};

} // namespace simulator
