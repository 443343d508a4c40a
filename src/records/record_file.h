#pragma once

#include "encoding/stream.h"
#include "platform/files.h"

#include <functional>
#include <string>
#include <vector>

namespace tavu {

/// Replaces the file at \a path by what \a write puts onto the stream, whole or not at all: the new
/// file is written beside the old one and renamed over it. Raises std::runtime_error "Failed to
/// open file: <path>" when any step fails, and what \a write raises; the old file is then
/// untouched.
void replaceRecordFile(const std::string &path, const std::function<void(Stream &)> &write);

/// A record file being read. It goes through a buffer of the caller's, which many files can share:
/// a start reads thousands of small records, and the C library's own buffering costs more time than
/// the reading.
class RecordFileReader final : public Stream
{
public:
    using Buffer = std::vector<unsigned char>;

    /// Raises std::runtime_error "Failed to open file: <path>". An empty \a buffer gets a size.
    RecordFileReader(const std::string &path, Buffer &buffer);

    /// Delivers a short count at the end of the file.
    uint64_t read(void *target, uint64_t byteCount) override;
    /// Accepts nothing.
    uint64_t write(const void *source, uint64_t byteCount) override;

private:
    bool refill();

    InputFile file_;
    Buffer &buffer_;
    uint64_t offset_ = 0; ///< of the bytes behind the buffered ones
    size_t position_ = 0;
    size_t end_ = 0;
    bool atEnd_ = false;
};

} // namespace tavu
