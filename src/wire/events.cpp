#include "wire/events.h"

#include <iterator>

namespace tavu {

namespace {

// By number.
constexpr const char *kNames[] = {"QueueClosed",      "DevicesChanged", "RecordingStarted",
                                  "RecordingStopped", "FilesChanged",   "PairingChanged",
                                  "NoEvent"};

} // namespace

const char *eventTypeName(EventType type)
{
    const auto number = static_cast<uint32_t>(type);
    return number < std::size(kNames) ? kNames[number] : nullptr;
}

} // namespace tavu
