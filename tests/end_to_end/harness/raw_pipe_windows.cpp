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

/// One direction of the pipe: a read or write at a time, with an end.
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

    /// Both return the count moved, 0 when the channel has ended or when \a limit passes.
    size_t read(char *bytes, size_t count, std::chrono::milliseconds limit)
    {
        return finish(ReadFile(pipe_, bytes, static_cast<DWORD>(count), nullptr, &state_), limit);
    }
    size_t write(const char *bytes, size_t count, std::chrono::milliseconds limit)
    {
        return finish(WriteFile(pipe_, bytes, static_cast<DWORD>(count), nullptr, &state_), limit);
    }

private:
    size_t finish(BOOL done, std::chrono::milliseconds limit)
    {
        if (!done && GetLastError() != ERROR_IO_PENDING)
            return 0;
        if (WaitForSingleObject(state_.hEvent, static_cast<DWORD>(limit.count())) != WAIT_OBJECT_0)
            CancelIoEx(pipe_, &state_);
        DWORD moved = 0;
        return GetOverlappedResult(pipe_, &state_, &moved, TRUE) ? moved : 0;
    }

    HANDLE pipe_;
    OVERLAPPED state_ = {};
};

/// The pipe has no buffers: bytes that the service doesn't read yet hold up their writer. What is
/// sent waits here, so that a test can send many requests before it reads the first reply.
class Channel
{
public:
    explicit Channel(HANDLE pipe) : pipe_(pipe), reading_(pipe), writer_([this] { writeQueue(); })
    {
    }
    Channel(const Channel &) = delete;
    Channel &operator=(const Channel &) = delete;
    ~Channel();

    HANDLE pipe() const { return pipe_; }
    Transfer &reading() { return reading_; }
    bool send(const Bytes &bytes);

private:
    static constexpr size_t kQueueLimit = 16;

    void writeQueue();
    bool writeAll(Transfer &writing, const Bytes &bytes);

    HANDLE pipe_;
    Transfer reading_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Bytes> queue_; ///< what is being written stands first
    bool broken_ = false;     ///< the service's end is gone
    bool closing_ = false;
    std::thread writer_;
};

Channel::~Channel()
{
    {
        std::unique_lock lock(mutex_);
        // What was sent before a close still arrives, if the service gets to it soon.
        changed_.wait_for(lock, std::chrono::milliseconds(200),
                          [this] { return queue_.empty() || broken_; });
        closing_ = true;
        changed_.notify_all();
    }
    CancelIoEx(pipe_, nullptr);
    writer_.join();
    CloseHandle(pipe_);
}

bool Channel::send(const Bytes &bytes)
{
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, kLimit, [this] { return queue_.size() < kQueueLimit || broken_; }))
        throw std::runtime_error("the service doesn't read");
    if (!broken_ && !bytes.empty()) {
        queue_.push_back(bytes);
        changed_.notify_all();
    }
    return !broken_;
}

void Channel::writeQueue()
{
    Transfer writing(pipe_);
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return closing_ || !queue_.empty(); });
        if (closing_ || broken_)
            return;
        lock.unlock();
        const bool written = writeAll(writing, queue_.front());
        lock.lock();
        queue_.pop_front();
        broken_ = !written;
        changed_.notify_all();
    }
}

bool Channel::writeAll(Transfer &writing, const Bytes &bytes)
{
    // In slices of time, so that a close that comes between two writes is noticed.
    constexpr std::chrono::milliseconds slice(100);
    size_t done = 0;
    while (done < bytes.size()) {
        done += writing.write(bytes.data() + done, bytes.size() - done, slice);
        std::lock_guard guard(mutex_);
        if (closing_)
            return false;
        if (done < bytes.size() && !PeekNamedPipe(pipe_, nullptr, 0, nullptr, nullptr, nullptr))
            return false;
    }
    return true;
}

Channel &channel(intptr_t handle)
{
    return *reinterpret_cast<Channel *>(handle);
}

} // namespace

bool RawPipe::connect(const std::string & /*runtimeFolder*/)
{
    close();
    const HANDLE pipe = CreateFileW(L"\\\\.\\pipe\\tavusrv", GENERIC_READ | GENERIC_WRITE, 0,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    if (pipe == INVALID_HANDLE_VALUE)
        return false;
    handle_ = reinterpret_cast<intptr_t>(new Channel(pipe));
    return true;
}

void RawPipe::close()
{
    if (handle_ != kNoHandle)
        delete &channel(handle_);
    handle_ = kNoHandle;
}

bool RawPipe::send(const Bytes &bytes)
{
    return channel(handle_).send(bytes);
}

bool RawPipe::waitForInput(std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    DWORD available = 0;
    while (PeekNamedPipe(channel(handle_).pipe(), nullptr, 0, nullptr, &available, nullptr) &&
           available == 0) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        Sleep(1);
    }
    return true;
}

Bytes RawPipe::receiveSome(uint64_t count)
{
    Bytes bytes(static_cast<size_t>(std::min<uint64_t>(count, 0x10000000u)), '\0');
    const auto begin = std::chrono::steady_clock::now();
    bytes.resize(channel(handle_).reading().read(bytes.data(), bytes.size(), kLimit));
    if (bytes.empty() && std::chrono::steady_clock::now() - begin >= kLimit)
        throw std::runtime_error("the service doesn't answer");
    return bytes;
}

} // namespace tavu::test
