#include "pipe.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace tavu::test {

namespace {

/// One direction of the pipe, a read or write at a time.
class Transfer
{
public:
    explicit Transfer(HANDLE pipe) : pipe_(pipe)
    {
        state_.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    }
    Transfer(const Transfer &) = delete;
    Transfer &operator=(const Transfer &) = delete;
    ~Transfer() { CloseHandle(state_.hEvent); }

    /// Both return the count moved; 0 when the channel has ended or the transfer was cancelled.
    size_t read(char *bytes, size_t count)
    {
        return finish(ReadFile(pipe_, bytes, static_cast<DWORD>(count), nullptr, &state_));
    }
    size_t write(const char *bytes, size_t count)
    {
        return finish(WriteFile(pipe_, bytes, static_cast<DWORD>(count), nullptr, &state_));
    }

private:
    size_t finish(BOOL done)
    {
        DWORD moved = 0;
        if (!done && GetLastError() != ERROR_IO_PENDING)
            return 0;
        return GetOverlappedResult(pipe_, &state_, &moved, TRUE) ? moved : 0;
    }

    HANDLE pipe_;
    OVERLAPPED state_ = {};
};

} // namespace

// A write to the pipe returns only when the service has read the bytes. So what is sent waits in a
// queue, and a thread writes it.
class Pipe::Channel
{
public:
    explicit Channel(HANDLE pipe) : pipe_(pipe), reading_(pipe), writer_([this] { writeQueue(); })
    {
    }
    Channel(const Channel &) = delete;
    Channel &operator=(const Channel &) = delete;
    ~Channel();

    bool send(const Bytes &bytes);
    size_t read(char *bytes, size_t count) { return reading_.read(bytes, count); }

private:
    void writeQueue();
    bool writeAll(Transfer &writing, const Bytes &bytes);

    HANDLE pipe_;
    Transfer reading_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Bytes> queue_; ///< the thread writes the first entry
    bool broken_ = false;     ///< the service's end is gone
    bool closing_ = false;
    bool writerLeft_ = false;
    std::thread writer_;
};

Pipe::Channel::~Channel()
{
    std::unique_lock lock(mutex_);
    // A service that reads gets what was sent before the close.
    changed_.wait_for(lock, std::chrono::milliseconds(50),
                      [this] { return queue_.empty() || broken_; });
    closing_ = true;
    changed_.notify_all();
    // Repeated, since the thread may be just about to begin a write.
    while (!changed_.wait_for(lock, std::chrono::milliseconds(1), [this] { return writerLeft_; }))
        CancelIoEx(pipe_, nullptr);
    lock.unlock();
    writer_.join();
    CloseHandle(pipe_);
}

bool Pipe::Channel::send(const Bytes &bytes)
{
    std::lock_guard guard(mutex_);
    if (!broken_ && !bytes.empty())
        queue_.push_back(bytes);
    changed_.notify_all();
    return !broken_;
}

void Pipe::Channel::writeQueue()
{
    Transfer writing(pipe_);
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return closing_ || !queue_.empty(); });
        if (closing_)
            break;
        const Bytes &bytes = queue_.front();
        lock.unlock();
        const bool written = writeAll(writing, bytes);
        lock.lock();
        queue_.pop_front();
        broken_ = !written;
        if (broken_)
            queue_.clear();
        changed_.notify_all();
    }
    writerLeft_ = true;
    changed_.notify_all();
}

bool Pipe::Channel::writeAll(Transfer &writing, const Bytes &bytes)
{
    size_t done = 0;
    while (done < bytes.size()) {
        const size_t moved = writing.write(bytes.data() + done, bytes.size() - done);
        if (moved == 0)
            return false;
        done += moved;
    }
    return true;
}

Pipe::Pipe() = default;

Pipe::~Pipe() = default;

bool Pipe::connect()
{
    channel_.reset();
    const HANDLE pipe = CreateFileW(L"\\\\.\\pipe\\tavusrv", GENERIC_READ | GENERIC_WRITE, 0,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    if (pipe != INVALID_HANDLE_VALUE)
        channel_ = std::make_unique<Channel>(pipe);
    return channel_ != nullptr;
}

void Pipe::close()
{
    channel_.reset();
}

bool Pipe::send(const Bytes &bytes)
{
    return channel_ && channel_->send(bytes);
}

Bytes Pipe::receiveSome(size_t count)
{
    Bytes bytes(count, '\0');
    bytes.resize(channel_ ? channel_->read(bytes.data(), count) : 0);
    return bytes;
}

} // namespace tavu::test
