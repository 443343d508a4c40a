#pragma once

#include "encoding/stream.h"
#include "hardware/library/storage.h"

#include <cstdint>
#include <stdexcept>

namespace tavu {

/// A named file of a drive set as a Stream. The recorder library moves whole blocks in sequence;
/// the stream keeps one of them. A file is read or written from its first block; what lies behind
/// the last block written stays there. What the library raises passes through.
class QuillonFileStream final : public Stream
{
public:
    /// Passes on the size of a drive set's blocks; raises std::runtime_error when it is 0.
    static uint64_t requireBlocks(uint64_t blockBytes)
    {
        if (blockBytes == 0)
            throw std::runtime_error("The drive set has no blocks.");
        return blockBytes;
    }

    /// Raises as requireBlocks() does.
    QuillonFileStream(boost::shared_ptr<Quillon::DriveFile> file, bool forWriting);
    QuillonFileStream(const QuillonFileStream &) = delete;
    QuillonFileStream &operator=(const QuillonFileStream &) = delete;
    /// Flushes if need be, and then swallows a failure: call flush() to learn of it.
    ~QuillonFileStream() override;

    /// Never delivers a short count; the library raises at the end of the file.
    uint64_t read(void *target, uint64_t byteCount) override;
    uint64_t write(const void *source, uint64_t byteCount) override;

    /// Writes the block begun, if there is one, whole.
    void flush();

private:
    const boost::shared_ptr<Quillon::DriveFile> file_;
    uint32_t blockBytes_;
    uint32_t position_; ///< of the next byte in the buffer
    boost::shared_ptr<Common::Buffer> buffer_;
    bool dirty_ = false;
};

} // namespace tavu
