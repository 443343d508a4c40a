#include "client/tavuview/worker_pool.h"

#include "platform/thread_name.h"

#include <utility>

namespace tavu::view {

WorkerPool::WorkerPool(const char *name, unsigned threads)
{
    for (unsigned i = 0; i < threads; ++i)
        threads_.emplace_back([this, name] {
            nameThisThread(name);
            run();
        });
}

WorkerPool::~WorkerPool()
{
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    changed_.notify_all();
}

void WorkerPool::post(std::function<void()> work)
{
    {
        const std::lock_guard lock(mutex_);
        waiting_.push_back(std::move(work));
    }
    changed_.notify_one();
}

void WorkerPool::run()
{
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return ended_ || !waiting_.empty(); });
        if (ended_)
            return;
        const std::function<void()> work = std::move(waiting_.front());
        waiting_.pop_front();
        lock.unlock();
        work();
        lock.lock();
    }
}

} // namespace tavu::view
