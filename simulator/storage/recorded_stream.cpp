#include "storage/recorded_stream.h"

#include "frame.h"
#include "recorder.h"
#include "storage/frame_layout.h"

#include <boost/make_shared.hpp>

namespace simulator {

namespace {

constexpr uint32_t kBitDepth = 16;

/// Begins an operation on a stream.
template <typename... Arguments>
bool begin(const StreamPlace &place, Operation operation, const Arguments &...arguments)
{
    return place.recorder.begin(operation, Numbered{"file", place.fileId},
                                Numbered{"stream", place.streamId}, arguments...);
}

} // namespace

Quillon::String RecordedStream::portName()
{
    return begin(place_, "RecordedStream::portName") ? portName_.c_str() : "";
}

boost::shared_ptr<Quillon::FrameSequence> RecordedStream::frames(uint64_t first, uint64_t second,
                                                                 bool third, bool fourth)
{
    return begin(place_, "RecordedStream::frames", first, second, third, fourth)
               ? boost::make_shared<FrameSequence>(place_)
               : nullptr;
}

boost::shared_ptr<Common::DataType> FrameSequence::dataType()
{
    if (!begin(place_, "FrameSequence::dataType"))
        return {};
    const StreamRecord stream = place_.record();
    return makeDataType(stream.width, stream.height, kBitDepth);
}

uint64_t FrameSequence::frameCount()
{
    return begin(place_, "FrameSequence::frameCount") ? place_.record().frames : 0;
}

void FrameSequence::readFrames(boost::shared_ptr<Common::Frame> &frame, const uint64_t &index,
                               uint32_t count)
{
    frame.reset();
    if (!begin(place_, "FrameSequence::readFrames", index, count))
        return;
    const StreamRecord stream = place_.record();
    if (index >= stream.frames)
        return;
    const StripeSpace &space = place_.table->space();
    const uint64_t bytes = pixelBytes(stream);
    const auto buffer = Common::Buffer::create(nullptr, bytes);
    space.read(stream.extents, index * frameStride(stream) + kFrameHeaderBytes, buffer->data(),
               bytes);
    // Meanwhile the file can have been removed and its place taken by another one.
    place_.table->requireFile(place_.fileId);
    frame = makeFrame(stream.width, stream.height, kBitDepth, buffer);
}

} // namespace simulator
