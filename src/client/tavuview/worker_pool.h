#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tavu::view {

/// A few threads for work that waits, for the service most of all.
class WorkerPool
{
public:
    WorkerPool(const char *name, unsigned threads);
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;
    /// Waits for the work that has begun; what hasn't is left undone.
    ~WorkerPool();

    /// From any thread. \a work lets no exception out.
    void post(std::function<void()> work);

private:
    void run();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> waiting_;
    bool ended_ = false;
    std::vector<std::jthread> threads_; ///< last, so that they end before all else
};

} // namespace tavu::view
