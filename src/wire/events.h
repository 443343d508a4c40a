#pragma once

#include <cstdint>

namespace tavu {

enum class EventType : uint32_t
{
    QueueClosed = 0,      ///< the queue was destroyed while it was being read
    DevicesChanged = 1,   ///< ask for the devices and their state again
    RecordingStarted = 2, ///< DeviceEvent::port holds the recording's port mask
    RecordingStopped = 3,
    FilesChanged = 4,
    PairingChanged = 5,
    NoEvent = 6, ///< nothing happened while a read waited; never stored in a queue
};

/// The name of a type, such as "FilesChanged"; null for a number that has none.
const char *eventTypeName(EventType type);

/// What clients are told of. A later service may bring types beyond the ones named here.
struct DeviceEvent
{
    EventType type = EventType::NoEvent;
    uint32_t device = 0;
    uint32_t port = 0;
};

} // namespace tavu
