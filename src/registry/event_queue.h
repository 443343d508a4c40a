#pragma once

#include "wire/events.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace tavu {

/// First-in first-out queue of events between threads. It has no bound: an event is never dropped
/// and a poster never waits for a reader.
class EventQueue
{
public:
    EventQueue() = default;
    EventQueue(const EventQueue &) = delete;
    EventQueue &operator=(const EventQueue &) = delete;

    /// Appends \a event and wakes one waiting reader. Raises std::bad_alloc when memory is out.
    void push(const DeviceEvent &event)
    {
        append(event);
        wakeReader();
    }
    // The two halves of push(), for those who wake readers later, without a lock of their own.
    void append(const DeviceEvent &event);
    void wakeReader() { arrived_.notify_one(); }

    /// Takes the oldest event. Waits up to 500 ms from the call, on the monotonic clock, for one
    /// to come; an event of type NoEvent is returned when none did.
    DeviceEvent pop();

    /// Moves the oldest event to \a event without waiting; false, with \a event left as it was,
    /// when the queue is empty.
    bool tryPop(DeviceEvent &event);

    void clear();
    bool isEmpty();

private:
    DeviceEvent takeOldest();

    std::condition_variable arrived_;
    std::mutex mutex_;
    std::deque<DeviceEvent> events_;
};

} // namespace tavu
