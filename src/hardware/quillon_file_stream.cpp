#include "hardware/quillon_file_stream.h"

#include "encoding/bytes.h"
#include "hardware/binding/buffers.h"
#include "hardware/binding/handles.h"

#include <algorithm>
#include <utility>

namespace tavu {

QuillonFileStream::QuillonFileStream(boost::shared_ptr<Quillon::DriveFile> file, bool forWriting)
    : file_(std::move(file))
{
    const auto set = requireHandle(file_->driveSet(false), "DriveFile::driveSet");
    const auto driveCount = static_cast<uint32_t>(set->drives().size());
    const uint32_t clusterBytes = requireHandle(file_->info(), "DriveFile::info")->clusterBytes;
    blockBytes_ = driveCount * clusterBytes;
    requireBlocks(blockBytes_);
    position_ = forWriting ? 0 : blockBytes_;
    buffer_ = createBuffer(blockBytes_);
}

QuillonFileStream::~QuillonFileStream()
{
    try {
        flush();
    } catch (...) {
        // Writers call flush() themselves. Only after a failure, told already, is there more to do.
    }
}

uint64_t QuillonFileStream::read(void *target, uint64_t byteCount)
{
    auto *to = static_cast<unsigned char *>(target);
    for (uint64_t left = byteCount; left > 0;) {
        if (position_ >= blockBytes_) {
            file_->readBlock(buffer_, 0);
            position_ = 0;
        }
        const auto piece = static_cast<uint32_t>(std::min<uint64_t>(left, blockBytes_ - position_));
        copyBytes(to, buffer_->ptr(position_), piece);
        position_ += piece;
        to += piece;
        left -= piece;
    }
    return byteCount;
}

uint64_t QuillonFileStream::write(const void *source, uint64_t byteCount)
{
    auto *from = static_cast<const unsigned char *>(source);
    for (uint64_t left = byteCount; left > 0;) {
        const auto piece = static_cast<uint32_t>(std::min<uint64_t>(left, blockBytes_ - position_));
        copyBytes(buffer_->ptr(position_), from, piece);
        position_ += piece;
        dirty_ = true;
        from += piece;
        left -= piece;
        if (position_ >= blockBytes_) {
            file_->writeBlock(buffer_);
            position_ = 0;
            dirty_ = false;
        }
    }
    return byteCount;
}

void QuillonFileStream::flush()
{
    if (!dirty_)
        return;
    file_->writeBlock(buffer_);
    dirty_ = false;
}

} // namespace tavu
