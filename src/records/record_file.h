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

/// A buffer that many readings share; an empty one gets a size. A start reads thousands of small
/// records, and the C library's own buffering would cost more time than the reading.
using RecordBuffer = std::vector<unsigned char>;

/// Reads the record at \a path with \a read. A file that isn't there or holds no such record is
/// passed over. Raises "Failed to open file: <path>" when the file is there and can't be read: what
/// it holds is unknown then, and it mustn't be replaced. With a \a folder, see InputFile.
void readRecordFile(const std::string &path, RecordBuffer &buffer,
                    const std::function<void(Stream &)> &read, const OpenFolder *folder = nullptr);

} // namespace tavu
