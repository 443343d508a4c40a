#pragma once

#include "encoding/stream.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace tavu {

/// Replaces the file at \a path by what \a write puts onto the stream, whole or not at all: the new
/// file is written beside the old one and renamed over it. Raises std::runtime_error "Failed to
/// open file: <path>" when any step fails, and what \a write raises; the old file is then
/// untouched.
void replaceRecordFile(const std::string &path, const std::function<void(Stream &)> &write);

/// A buffer that many readings share: a start reads thousands of small records. Its size, enough
/// for the longest list of recordings unless their texts are long, costs memory only as far as
/// bytes come.
class RecordBuffer
{
public:
    std::span<unsigned char> bytes() { return {bytes_.get(), kSize}; }

private:
    static constexpr size_t kSize = 16 << 20;
    std::unique_ptr<unsigned char[]> bytes_{new unsigned char[kSize]};
};

/// Reads the record at \a path with \a read, which is called again, from the start of the file,
/// when it raises std::runtime_error. A file that isn't there or holds no such record is passed
/// over. Raises "Failed to open file: <path>" when the file is there and can't be read: what
/// it holds is unknown then, and it mustn't be replaced.
void readRecordFile(const std::string &path, RecordBuffer &buffer,
                    const std::function<void(Stream &)> &read);

} // namespace tavu
