#include "platform/owned_mutex.h"

#include <system_error>

namespace tavu {

// Relaxed is enough: a thread can only find its own id in owner_ if it stored it there itself.

void OwnedMutex::lock()
{
    const auto self = std::this_thread::get_id();
    if (owner_.load(std::memory_order_relaxed) == self)
        throw std::system_error(std::make_error_code(std::errc::device_or_resource_busy));
    mutex_.lock();
    owner_.store(self, std::memory_order_relaxed);
}

bool OwnedMutex::try_lock()
{
    const auto self = std::this_thread::get_id();
    if (owner_.load(std::memory_order_relaxed) == self || !mutex_.try_lock())
        return false;
    owner_.store(self, std::memory_order_relaxed);
    return true;
}

void OwnedMutex::unlock()
{
    if (owner_.load(std::memory_order_relaxed) != std::this_thread::get_id())
        throw std::system_error(std::make_error_code(std::errc::operation_not_permitted));
    owner_.store(std::thread::id(), std::memory_order_relaxed);
    mutex_.unlock();
}

} // namespace tavu
