#include "raw_pipe.h"

#include <windows.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace tavu::test {

namespace {

/// Moves bytes one way over the pipe; waits for the end of the move at most \a limit.
class Transfer
{
public:
    Transfer() { state_.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr); }
    Transfer(const Transfer &) = delete;
    Transfer &operator=(const Transfer &) = delete;
    ~Transfer() { CloseHandle(state_.hEvent); }

    OVERLAPPED *state() { return &state_; }

    /// The count that a started call moved; 0 when it failed. Raises \a lateText.
    DWORD finish(HANDLE pipe, BOOL done, std::chrono::milliseconds limit, const char *lateText)
    {
        DWORD count = 0;
        if (!done && GetLastError() != ERROR_IO_PENDING)
            return 0;
        const bool late =
            WaitForSingleObject(state_.hEvent, static_cast<DWORD>(limit.count())) != WAIT_OBJECT_0;
        if (late)
            CancelIoEx(pipe, &state_);
        const BOOL moved = GetOverlappedResult(pipe, &state_, &count, TRUE);
        if (late && !moved)
            throw std::runtime_error(lateText);
        return moved ? count : 0;
    }

private:
    OVERLAPPED state_ = {};
};

} // namespace

/// The pipe has no buffers: bytes that the service doesn't read yet hold up their writer. What a
/// test sends waits here, so that a test can send many requests before it reads a reply.
struct RawPipe::System
{
    explicit System(HANDLE handle) : pipe(handle), writer([this] { writeQueue(); }) {}
    ~System();

    void writeQueue();

    HANDLE pipe;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Bytes> queue;
    bool broken = false; ///< the service's end is gone
    bool stopping = false;
    std::thread writer;
};

RawPipe::System::~System()
{
    {
        std::unique_lock lock(mutex);
        // Elsewhere, too, bytes that were sent arrive after a close, if the other end reads on.
        changed.wait_for(lock, std::chrono::milliseconds(500),
                         [&] { return queue.empty() || broken; });
        stopping = true;
        changed.notify_all();
    }
    while (CancelIoEx(pipe, nullptr))
        Sleep(1);
    writer.join();
    CloseHandle(pipe);
}

void RawPipe::System::writeQueue()
{
    Transfer transfer;
    std::unique_lock lock(mutex);
    for (;;) {
        changed.wait(lock, [&] { return stopping || !queue.empty(); });
        if (stopping)
            return;
        const Bytes &bytes = queue.front();
        lock.unlock();
        size_t done = 0;
        DWORD moved = 1;
        while (done < bytes.size() && moved > 0) {
            const BOOL started = WriteFile(pipe, bytes.data() + done,
                                           static_cast<DWORD>(bytes.size() - done), nullptr,
                                           transfer.state());
            moved = transfer.finish(pipe, started, kLimit, "");
            done += moved;
        }
        lock.lock();
        queue.pop_front();
        broken = broken || moved == 0;
        changed.notify_all();
    }
}
