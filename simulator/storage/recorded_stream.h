#pragma once

#include "hardware/library/drive_file.h"
#include "storage/file_table.h"

namespace simulator {

class Recorder;

/// A handle of a stream.
class RecordedStream final : public Quillon::RecordedStream
{
public:
    RecordedStream(Recorder &recorder, std::shared_ptr<FileTable> table, uint32_t fileId,
                   const StreamRecord &stream);
    virtual ~RecordedStream() = default;

    Quillon::String portName() override;
    boost::shared_ptr<Quillon::FrameSequence> frames(uint64_t first, uint64_t second, bool third,
                                                     bool fourth) override;

private:
    Recorder &recorder_;
    const std::shared_ptr<FileTable> table_;
    const uint32_t fileId_;
    const uint32_t streamId_;
    const std::string portName_;
};

/// The frames of a stream, read straight from the drives. Any thread.
class FrameSequence final : public Quillon::FrameSequence
{
public:
    FrameSequence(Recorder &recorder, std::shared_ptr<FileTable> table, uint32_t fileId,
                  uint32_t streamId);
    virtual ~FrameSequence() = default;

    boost::shared_ptr<Common::DataType> dataType() override;
    uint64_t frameCount() override;
    void readFrames(boost::shared_ptr<Common::Frame> &frame, const uint64_t &index,
                    uint32_t count) override;

private:
    Recorder &recorder_;
    const std::shared_ptr<FileTable> table_;
    const uint32_t fileId_;
    const uint32_t streamId_;
};

} // namespace simulator
