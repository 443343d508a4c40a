#pragma once

#include "encoding/stream.h"

#include <functional>
#include <string>

namespace tavu {

/// Replaces the file at \a path by what \a write puts onto the stream, whole or not at all: the new
/// file is written beside the old one and renamed over it. Raises std::runtime_error "Failed to
/// open file: <path>" when any step fails, and what \a write raises; the old file is then
/// untouched.
void replaceRecordFile(const std::string &path, const std::function<void(Stream &)> &write);

} // namespace tavu
