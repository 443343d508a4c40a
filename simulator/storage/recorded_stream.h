#pragma once

#include "hardware/library/drive_file.h"
#include "storage/file_table.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace simulator {

class Recorder;

/// Where a stream is found.
struct StreamPlace
{
    Recorder &recorder;
    std::shared_ptr<FileTable> table;
    uint32_t fileId;
    uint32_t streamId;

    StreamRecord record() const { return table->stream(fileId, streamId); }
};

/// A handle of a stream.
class RecordedStream final : public Quillon::RecordedStream
{
public:
    RecordedStream(StreamPlace place, std::string portName)
        : place_(std::move(place)), portName_(std::move(portName))
    {
    }
    virtual ~RecordedStream() = default;

    Quillon::String portName() override;
    boost::shared_ptr<Quillon::FrameSequence> frames(uint64_t first, uint64_t second, bool third,
                                                     bool fourth) override;

private:
    const StreamPlace place_;
    const std::string portName_;
};

/// The frames of a stream, read straight from the drives. Any thread.
class FrameSequence final : public Quillon::FrameSequence
{
public:
    explicit FrameSequence(StreamPlace place) : place_(std::move(place)) {}
    virtual ~FrameSequence() = default;

    boost::shared_ptr<Common::DataType> dataType() override;
    uint64_t frameCount() override;
    void readFrames(boost::shared_ptr<Common::Frame> &frame, const uint64_t &index,
                    uint32_t count) override;

private:
    const StreamPlace place_;
};

} // namespace simulator
