#include "registry/event_queue.h"

#include <chrono>

namespace tavu {

namespace {

constexpr std::chrono::milliseconds kReadLimit(500);

} // namespace

void EventQueue::append(const DeviceEvent &event)
{
    std::lock_guard guard(mutex_);
    events_.push_back(event);
}

DeviceEvent EventQueue::pop()
{
    const auto deadline = std::chrono::steady_clock::now() + kReadLimit;
    std::unique_lock guard(mutex_);
    if (!arrived_.wait_until(guard, deadline, [this] { return !events_.empty(); }))
        return DeviceEvent{EventType::NoEvent, 0, 0};
    return takeOldest();
}

bool EventQueue::tryPop(DeviceEvent &event)
{
    std::lock_guard guard(mutex_);
    if (events_.empty())
        return false;
    event = takeOldest();
    return true;
}

void EventQueue::clear()
{
    std::lock_guard guard(mutex_);
    events_.clear();
}

bool EventQueue::isEmpty()
{
    std::lock_guard guard(mutex_);
    return events_.empty();
}

DeviceEvent EventQueue::takeOldest()
{
    const DeviceEvent oldest = events_.front();
    events_.pop_front();
    return oldest;
}

} // namespace tavu
