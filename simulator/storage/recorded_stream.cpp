#include "storage/recorded_stream.h"

#include "frame.h"
#include "operation.h"
#include "storage/frame_layout.h"

#include <boost/make_shared.hpp>

namespace simulator {

namespace {

const uint32_t kBitDepth = 16;

} // namespace

RecordedStream::RecordedStream(Recorder &recorder, std::shared_ptr<FileTable> table,
                               uint32_t fileId, const StreamRecord &stream)
    : recorder_(recorder), table_(std::move(table)), fileId_(fileId), streamId_(stream.id),
      portName_(stream.portName)
{
}

Quillon::String RecordedStream::portName()
{
    return isEmptied(recorder_, "RecordedStream::portName", Numbered{"file", fileId_},
                     Numbered{"stream", streamId_})
               ? ""
               : portName_.c_str();
}

boost::shared_ptr<Quillon::FrameSequence> RecordedStream::frames(uint64_t first, uint64_t second,
                                                                 bool third, bool fourth)
{
    if (isEmptied(recorder_, "RecordedStream::frames", Numbered{"file", fileId_},
                  Numbered{"stream", streamId_}, first, second, third, fourth))
        return {};
    return boost::make_shared<FrameSequence>(recorder_, table_, fileId_, streamId_);
}

FrameSequence::FrameSequence(Recorder &recorder, std::shared_ptr<FileTable> table, uint32_t fileId,
                             uint32_t streamId)
    : recorder_(recorder), table_(std::move(table)), fileId_(fileId), streamId_(streamId)
{
}

boost::shared_ptr<Common::DataType> FrameSequence::dataType()
{
    if (isEmptied(recorder_, "FrameSequence::dataType", Numbered{"file", fileId_},
                  Numbered{"stream", streamId_}))
        return {};
    const StreamRecord stream = table_->stream(fileId_, streamId_);
    return makeDataType(stream.width, stream.height, kBitDepth);
}

uint64_t FrameSequence::frameCount()
{
    if (isEmptied(recorder_, "FrameSequence::frameCount", Numbered{"file", fileId_},
                  Numbered{"stream", streamId_}))
        return 0;
    return table_->stream(fileId_, streamId_).frames;
}

void FrameSequence::readFrames(boost::shared_ptr<Common::Frame> &frame, const uint64_t &index,
                               uint32_t count)
{
    frame.reset();
    if (isEmptied(recorder_, "FrameSequence::readFrames", Numbered{"file", fileId_},
                  Numbered{"stream", streamId_}, index, count))
        return;
    const StreamRecord stream = table_->stream(fileId_, streamId_);
    if (index >= stream.frames)
        return;
    const uint64_t bytes = pixelBytes(stream);
    const auto buffer = Common::Buffer::create(nullptr, bytes);
    table_->space().read(stream.extents, index * frameStride(stream) + frameHeaderBytes,
                         buffer->data(), bytes);
    // Meanwhile the file can have gone, and another one can lie in its place.
    table_->requireFile(fileId_);
    frame = makeFrame(stream.width, stream.height, kBitDepth, buffer);
}

} // namespace simulator
