#pragma once

#include "client/values.h"

namespace tavu::bench {

using client::FileEntry;

/// Calls back with each key and value in the order of the wire, so that all who write an entry
/// write the same.
template <typename Pair>
void forEachPair(const FileEntry &file, Pair &&pair)
{
    pair("name", file.name);
    pair("port", file.port);
    pair("camera", file.camera);
    pair("fileId", uint64_t(file.fileId));
    pair("streamId", uint64_t(file.streamId));
    pair("width", uint64_t(file.width));
    pair("height", uint64_t(file.height));
    pair("numFrames", file.numFrames);
    pair("numDroppedFrames", file.numDroppedFrames);
    pair("size", file.size);
    pair("timestamp", file.timestamp);
    pair("duration", file.duration);
    pair("startTime", file.startTime);
    pair("endTime", file.endTime);
}

inline constexpr uint32_t kPairsPerFile = 14;

} // namespace tavu::bench
