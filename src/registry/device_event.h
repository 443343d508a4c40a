#pragma once

#include <cstdint>

namespace tavu {

enum class EventType : uint32_t
{
    QueueClosed = 0,
    DevicesChanged = 1,
    RecordingStarted = 2,
    RecordingStopped = 3,
    FilesChanged = 4,
    PairingChanged = 5,
    NoEvent = 6, ///< made by a timed read that found nothing; never stored
};

/// What clients are told of. \a port is the port mask in a RecordingStarted event.
struct DeviceEvent
{
    EventType type = EventType::NoEvent;
    uint32_t device = 0;
    uint32_t port = 0;
};

} // namespace tavu
