#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tavu {

/// An opaque block of bytes that the caller owns.
using ByteBlock = std::vector<uint8_t>;

/// A block that nobody changes any more. Copies share its bytes: each client that lists a device's
/// recordings gets a copy of them all, made while nobody else gets at the device.
class SharedBlock
{
public:
    SharedBlock() = default;
    SharedBlock(ByteBlock bytes)
        : bytes_(bytes.empty() ? nullptr : std::make_shared<const ByteBlock>(std::move(bytes)))
    {
    }

    const ByteBlock &bytes() const
    {
        static const ByteBlock none;
        return bytes_ ? *bytes_ : none;
    }
    bool empty() const { return !bytes_; }
    size_t size() const { return bytes().size(); }

private:
    std::shared_ptr<const ByteBlock> bytes_; ///< null when empty
};

/// One recorded stream in a device's catalogue, named by the pair fileId, streamId.
struct FileRecord
{
    std::string name;   ///< user-visible name
    std::string port;   ///< name of the port it was recorded on
    std::string camera; ///< camera name stored with the recording
    uint32_t fileId = 0;
    uint32_t streamId = 0;
    uint16_t width = 0;  ///< pixels
    uint16_t height = 0; ///< pixels
    uint64_t numFrames = 0;
    uint64_t numDroppedFrames = 0;
    SharedBlock info;       ///< the stream's identity block; empty when the metadata has none
    uint64_t size = 0;      ///< bytes
    uint64_t timestamp = 0; ///< 100 ns since 1601-01-01 UTC
    uint64_t startTime = 0;
    uint64_t endTime = 0;
    uint64_t duration = 0;
};

/// What ITavuDevice::setFileInfo() stores in a recording.
struct FileUpdate
{
    /// Stores everything but the name, which the device may have to change.
    void applyTo(FileRecord &record) const
    {
        record.width = width;
        record.height = height;
        record.numFrames = numFrames;
        record.numDroppedFrames = numDroppedFrames;
        record.startTime = startTime;
        record.endTime = endTime;
        record.duration = duration;
    }

    std::string name;
    uint16_t width = 0;  ///< pixels
    uint16_t height = 0; ///< pixels
    uint64_t numFrames = 0;
    uint64_t numDroppedFrames = 0;
    uint64_t startTime = 0; ///< this and the next two are kept as they are
    uint64_t endTime = 0;
    uint64_t duration = 0;
};

} // namespace tavu
