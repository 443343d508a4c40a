#pragma once

#include "hardware/library/common.h"

#include <cstdint>

namespace Quillon {

class DriveSet;

/// The frames of a stream, read by number.
class FrameSequence
{
public:
    virtual boost::shared_ptr<Common::DataType> dataType() = 0;
    virtual std::uint64_t frameCount() = 0;
    /// \a frame is empty when there is no such frame.
    virtual void readFrames(boost::shared_ptr<Common::Frame> &frame, const std::uint64_t &index,
                            std::uint32_t count) = 0;

protected:
    ~FrameSequence() = default;
};

/// What one port recorded.
class RecordedStream
{
public:
    virtual String portName() = 0;
    virtual boost::shared_ptr<FrameSequence> frames(std::uint64_t first, std::uint64_t second,
                                                    bool third, bool fourth) = 0;

protected:
    ~RecordedStream() = default;
};

struct DriveFileInfo
{
    std::uint32_t clusterBytes; ///< of one block on one drive
};

/// One file of a drive set. Blocks of named files are read and written in sequence; a block is
/// DriveFileInfo::clusterBytes times the number of drives.
class DriveFile
{
public:
    virtual boost::shared_ptr<DriveSet> driveSet(bool flag) = 0;
    virtual boost::shared_ptr<DriveFileInfo> info() = 0;
    /// The block last stored by writeMetadata().
    virtual boost::shared_ptr<Common::Buffer> readMetadata() = 0;
    virtual void writeMetadata(const boost::shared_ptr<Common::Buffer> &block) = 0;
    /// Size in bytes of that block.
    virtual std::uint32_t metadataCapacity() = 0;
    virtual void readBlock(const boost::shared_ptr<Common::Buffer> &block, std::uint32_t flags) = 0;
    virtual void writeBlock(const boost::shared_ptr<Common::Buffer> &block) = 0;
    virtual std::uint32_t streamCount() = 0;
    virtual boost::shared_ptr<RecordedStream> streamByIndex(std::uint32_t index) = 0;
    virtual std::uint32_t streamIdByIndex(std::uint32_t index) = 0;
    virtual boost::shared_ptr<RecordedStream> streamById(std::uint32_t streamId) = 0;

protected:
    ~DriveFile() = default;
};

} // namespace Quillon
