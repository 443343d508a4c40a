#pragma once

#include "wire/events.h"
#include "wire/values.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tavu::client {

using Bytes = std::vector<uint8_t>;

// Names of the protocol that its clients use.
using tavu::EventType;
using tavu::kEmulatedDevice;
using tavu::RecoveryStatus;
using tavu::StopCondition;
namespace trigger = tavu::trigger;

/// What the service tells of.
using Event = DeviceEvent;

/// One recorded stream; the pair fileId, streamId names it.
struct FileEntry
{
    std::string name;   ///< as the user called it
    std::string port;   ///< name of the port it was recorded on
    std::string camera; ///< name of the camera that was paired with it
    uint32_t fileId = 0;
    uint32_t streamId = 0;
    uint16_t width = 0;  ///< pixels
    uint16_t height = 0; ///< pixels
    uint64_t numFrames = 0;
    uint64_t numDroppedFrames = 0;
    uint64_t size = 0;      ///< bytes
    uint64_t timestamp = 0; ///< 100 ns since 1601-01-01 UTC
    uint64_t duration = 0;  ///< this, startTime and endTime are as clients stored them
    uint64_t startTime = 0;
    uint64_t endTime = 0;
};

/// What setFileInfo() stores in a recording.
struct FileUpdate
{
    std::string name;
    uint16_t width = 0;
    uint16_t height = 0;
    uint64_t numFrames = 0;
    uint64_t numDroppedFrames = 0;
    uint64_t startTime = 0;
    uint64_t endTime = 0;
    uint64_t duration = 0;
};

/// A recording opened for playback.
struct OpenedFile
{
    uint32_t openFileId = 0;
    std::string mapping; ///< name of the region in which its frames appear
};

struct OpenFileInfo
{
    uint16_t width = 0;     ///< pixels
    uint16_t height = 0;    ///< pixels
    uint32_t imageSize = 0; ///< bytes of a frame
    uint64_t numFrames = 0;
    uint64_t size = 0; ///< bytes of the recording
};

/// Geometry of a live frame.
struct FrameGeometry
{
    uint16_t width = 0;     ///< pixels
    uint16_t height = 0;    ///< pixels
    uint32_t imageSize = 0; ///< bytes
};

/// What a port records. It is configured once it has a frame size.
struct PortConfig
{
    uint16_t width = 0;  ///< pixels
    uint16_t height = 0; ///< pixels
    uint32_t pixelFormat = 0;
    uint32_t tapGeometry = 0;

    bool hasFrameSize() const { return width != 0 && height != 0; }
};

/// A camera to bind to a port.
struct Pairing
{
    std::string identity; ///< the camera's name
    Bytes info;           ///< an opaque block that belongs to the camera
    uint16_t framesPerPacket = 0;
};

struct RecordingSettings
{
    uint32_t portMask = 1;       ///< bit n selects port n
    uint8_t externalTrigger = 0; ///< flags of namespace trigger
    StopCondition stopCondition = StopCondition::None;
    uint64_t count = 0; ///< frames, or the recorder's time units (microseconds)
    bool usePretrigger = false;
    uint64_t pretriggerCount = 0; ///< the recorder's time units (microseconds)
};

/// Where a port's recording goes.
struct RecordingTarget
{
    uint32_t fileId = 0;
    uint32_t streamId = 0;
};

struct RecordingProgress
{
    uint64_t numFrames = 0;
    bool inPretrigger = false;
};

/// A camera's serial channel. The numbers for parity are the recorder library's.
struct SerialSettings
{
    uint32_t baudRate = 9600;
    uint8_t parity = 0;
    uint8_t stopBits = 1;
};

} // namespace tavu::client
