#pragma once

#include "hardware/library_access.h"
#include "service/transport/shared_region.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tavu {

struct DriveFileHandle
{
    explicit DriveFileHandle(boost::shared_ptr<Quillon::DriveFile> opened) : file(std::move(opened))
    {
    }
    ~DriveFileHandle();

    boost::shared_ptr<Quillon::DriveFile> file;
    std::mutex mutex; ///< orders metadata reads and the release of the file
};

/// An open stream of a drive file, with its reader.
struct OpenStreamHandle
{
    OpenStreamHandle(std::shared_ptr<DriveFileHandle> file, uint32_t streamId);
    ~OpenStreamHandle();

    const std::shared_ptr<DriveFileHandle> fileHandle;
    boost::shared_ptr<Quillon::RecordedStream> stream;
    boost::shared_ptr<Quillon::FrameSequence> frames;
};

/// One recording open for playback. Its place in the table is the number that clients hold.
struct OpenFileSlot
{
    bool inUse = false;
    uint32_t fileId = 0;   ///< 0 when closed
    uint32_t streamId = 0; ///< 0 when closed
    SharedRegion region;
    std::shared_ptr<OpenStreamHandle> stream; ///< empty when closed, or when the opening failed
    uint16_t width = 0;                       ///< pixels
    uint16_t height = 0;                      ///< pixels
    uint64_t numFrames = 0;
    uint64_t size = 0;      ///< bytes of all frames
    uint32_t imageSize = 0; ///< bytes of one frame
};

/// The recordings that clients play. Files and streams are opened once and shared; a handle is
/// found through the slots that hold it. A number that no open recording has raises "Invalid file
/// id.". Wants the device's mutex.
class OpenFiles
{
public:
    explicit OpenFiles(const LibraryAccess &library) : library_(library) {}

    /// Doesn't look into the catalogue. Raises "Failed to create shared memory mapping".
    void open(uint32_t &openFileId, std::string &mapping, uint32_t fileId, uint32_t streamId);
    const OpenFileSlot &slot(uint32_t openFileId) const;
    void close(uint32_t openFileId);
    /// Copies a frame to the region. Raises "Failed to read file." or "Buffer size doesn't match
    /// expected size.".
    void readFrame(uint32_t openFileId, uint64_t frame);

    bool isOpen(uint32_t fileId, uint32_t streamId) const;
    bool anyOpen() const;
    /// Opens a drive file, or shares it with those who have it open.
    std::shared_ptr<DriveFileHandle> acquireDriveFile(uint32_t fileId) const;
    /// The metadata block of a drive file that is open; empty when it isn't.
    boost::shared_ptr<Common::Buffer> readMetadata(uint32_t fileId) const;

private:
    /// Empty when the file isn't open.
    std::shared_ptr<DriveFileHandle> findDriveFile(uint32_t fileId) const;
    std::shared_ptr<OpenStreamHandle> acquireStream(const std::shared_ptr<DriveFileHandle> &file,
                                                    uint32_t streamId) const;

    const LibraryAccess &library_;
    std::vector<OpenFileSlot> slots_;
};

} // namespace tavu
