#pragma once

#include "encoding/stream.h"

#include <functional>
#include <string>
#include <vector>

namespace tavu {

/// Replaces the file at \a path by what \a write puts onto the stream, whole or not at all: the new
/// file is written beside the old one and renamed over it. Raises std::runtime_error "Failed to
/// open file: <path>" when any step fails, and what \a write raises; the old file is then
/// untouched.
void replaceRecordFile(const std::string &path, const std::function<void(Stream &)> &write);

/// A buffer to read records through, which many readings can share: a start reads thousands of
/// small records, and the C library's own buffering costs more time than the reading. An empty one
/// gets a size.
using RecordBuffer = std::vector<unsigned char>;

/// Has \a read take in the record at \a path. A file that isn't there and one that holds no such
/// record are passed over. Raises "Failed to open file: <path>" when the file is there and its
/// bytes can't be had: what it holds is unknown then, and it had better not be replaced.
void readRecordFile(const std::string &path, RecordBuffer &buffer,
                    const std::function<void(Stream &)> &read);

} // namespace tavu
