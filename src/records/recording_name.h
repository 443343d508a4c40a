#pragma once

#include "registry/file_record.h"

#include <span>
#include <string>

namespace tavu {

/// \a wanted, or where a record of the list has that name, "wanted(n)" with the lowest n from 1
/// that no record has. Names are compared byte for byte.
std::string unusedRecordingName(std::span<const FileRecord> list, const std::string &wanted);

} // namespace tavu
