#pragma once

#include "hardware/library/drive_file.h"
#include "service/transport/shared_region.h"

#include <cstdint>
#include <mutex>

namespace tavu {

/// A drive file that the service holds open, shared by all who use it. Counted under the device's
/// mutex.
struct DriveFileHandle
{
    uint32_t refCount = 0;
    uint32_t fileId = 0;
    boost::shared_ptr<Quillon::DriveFile> file;
    std::mutex mutex; ///< orders metadata reads and the release of the file
};

/// An open stream of a drive file, with its reader; shared by all slots that play it.
struct OpenStreamHandle
{
    uint32_t refCount = 0;
    DriveFileHandle *fileHandle = nullptr; ///< counted there as one holder
    uint32_t streamId = 0;
    boost::shared_ptr<Quillon::RecordedStream> stream;
    boost::shared_ptr<Quillon::FrameSequence> frames;
};

/// One recording open for playback. Its place in the table is the number that clients hold.
struct OpenFileSlot
{
    uint32_t id = 0;
    bool inUse = false;
    uint32_t fileId = 0;   ///< 0 when closed
    uint32_t streamId = 0; ///< 0 when closed
    SharedRegion region;
    OpenStreamHandle *stream = nullptr; ///< counted there as one holder
    uint16_t width = 0;                 ///< pixels
    uint16_t height = 0;                ///< pixels
    uint64_t numFrames = 0;
    uint64_t size = 0;      ///< bytes of all frames
    uint32_t imageSize = 0; ///< bytes of one frame
};

} // namespace tavu
