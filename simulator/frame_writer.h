#pragma once

#include "storage/file_table.h"

#include <cstdint>
#include <memory>

namespace simulator {

/// Draws the frames of one stream and writes them to the drives. For one thread; operations raise
/// Common::GeneralException.
class FrameWriter
{
public:
    /// Without a \a table the frames are only counted.
    FrameWriter(std::shared_ptr<FileTable> table, uint32_t fileId, const StreamRecord &stream);

    uint32_t fileId() const { return fileId_; }

    /// Writes the next frame, with \a time in 100 ns units since 1601. False when the drives are
    /// full.
    bool write(uint64_t time);
    /// Marks the stream as complete.
    void close();
    /// To be called when nothing more will be written. Raises nothing.
    void release();

private:
    bool makeRoom();

    std::shared_ptr<FileTable> table_; ///< until released
    const uint32_t fileId_;
    StreamRecord stream_;
    std::vector<uint8_t> header_;
    std::vector<uint16_t> pixels_;
};

} // namespace simulator
