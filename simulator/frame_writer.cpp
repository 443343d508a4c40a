#include "frame_writer.h"

#include "picture.h"
#include "storage/frame_layout.h"

#include <algorithm>
#include <memory>

namespace simulator {

/// The most that a file is given in advance.
constexpr uint64_t kLargestGrowthBytes = 64 << 20;

FrameWriter::FrameWriter(std::shared_ptr<FileTable> table, uint32_t fileId,
                         const StreamRecord &stream)
    : table_(std::move(table)), fileId_(fileId), stream_(stream), header_(kFrameHeaderBytes)
{
}

bool FrameWriter::write(uint64_t time)
{
    const uint64_t number = stream_.frames;
    if (!table_) {
        ++stream_.frames;
        return true;
    }
    if (!makeRoom())
        return false;
    pixels_.resize(pixelBytes(stream_) / sizeof(uint16_t));
    const uint64_t place = number * frameStride(stream_);
    drawPicture(pixels_.data(), stream_.width, stream_.height, stream_.port, number);
    writeFrameHeader(header_.data(), fileId_, stream_, number, time);
    // The header comes last, so that a frame with a header is complete.
    table_->space().write(stream_.extents, place + header_.size(), pixels_.data(),
                          pixels_.size() * sizeof(uint16_t));
    table_->space().write(stream_.extents, place, header_.data(), header_.size());
    table_->countFrames(fileId_, stream_.id, ++stream_.frames);
    return true;
}

bool FrameWriter::makeRoom()
{
    const uint64_t stripeBytes = table_->space().stripeBytes();
    const uint64_t bytes = (stream_.frames + 1) * frameStride(stream_);
    const uint64_t needed = (bytes + stripeBytes - 1) / stripeBytes;
    const uint64_t present = stripesOf(stream_.extents);
    if (needed <= present)
        return true;
    const uint64_t growth = std::min(present, kLargestGrowthBytes / stripeBytes);
    stream_.extents = table_->growStream(fileId_, stream_.id, std::max(needed - present, growth));
    return needed <= stripesOf(stream_.extents);
}

void FrameWriter::close()
{
    if (table_)
        table_->closeStream(fileId_, stream_.id, stream_.frames);
}

void FrameWriter::release()
{
    try {
        if (table_)
            table_->releaseStream(fileId_);
    } catch (const Common::GeneralException &) {
        // The set was removed, and the file with it.
    }
    table_.reset();
}

} // namespace simulator
