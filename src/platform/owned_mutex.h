#pragma once

#include <atomic>
#include <mutex>
#include <thread>

namespace tavu {

/// A plain mutex that knows its owner, for locks that a client can reach: what would be undefined
/// on std::mutex raises std::system_error here. Meets the standard's Lockable requirements.
class OwnedMutex
{
public:
    /// Blocks until the mutex is free. Raises std::errc::device_or_resource_busy at once when the
    /// calling thread holds it already.
    void lock();

    /// Takes the mutex if it is free; false when anybody holds it, the caller included.
    bool try_lock();

    /// Raises std::errc::operation_not_permitted when the calling thread doesn't hold the mutex.
    void unlock();

private:
    std::mutex mutex_;
    std::atomic<std::thread::id> owner_{};
};

} // namespace tavu
