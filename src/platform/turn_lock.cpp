#include "platform/turn_lock.h"

#include <algorithm>
#include <utility>

namespace tavu {

namespace {

uint64_t takeNumber(std::mutex &mutex, uint64_t &end)
{
    std::lock_guard guard(mutex);
    return end++;
}

} // namespace

TurnLock::Turn::Turn(TurnLock &lock)
    : lock_(&lock), number_(takeNumber(lock.mutex_, lock.end_)), nextServed_(number_ + 1)
{
}

TurnLock::Turn::Turn(Turn &&other) noexcept
    : lock_(std::exchange(other.lock_, nullptr)), number_(other.number_),
      nextServed_(other.nextServed_)
{
}

TurnLock::Turn::~Turn()
{
    if (!lock_ || !wait())
        return;
    std::lock_guard guard(lock_->mutex_);
    lock_->served_ = std::max(number_ + 1, nextServed_);
    lock_->moved_.notify_all();
}

bool TurnLock::Turn::hasCome() const
{
    std::lock_guard guard(lock_->mutex_);
    return lock_->served_ == number_;
}

bool TurnLock::Turn::wait()
{
    std::unique_lock guard(lock_->mutex_);
    lock_->moved_.wait(guard, [this] { return lock_->served_ >= number_; });
    return lock_->served_ == number_;
}

uint64_t TurnLock::Turn::lineEnd() const
{
    std::lock_guard guard(lock_->mutex_);
    return lock_->end_;
}

} // namespace tavu
