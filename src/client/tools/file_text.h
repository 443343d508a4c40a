#pragma once

#include "client/values.h"

#include <string>

namespace tavu::tools {

/// How people name a recording by number: "3", or "3:1" with the stream.
std::string fileNumber(const client::FileEntry &file);

/// "file 3:1 (Port 2): 90 frames, 2 dropped, of 640x480, 55.3 MB".
std::string fileSummary(const client::FileEntry &file);

} // namespace tavu::tools
