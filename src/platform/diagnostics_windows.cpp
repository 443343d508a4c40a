#include "platform/diagnostics.h"

#include "platform/thread_name.h"

#include <windows.h>

#include <io.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace tavu {

namespace {

/// Writes a stream's lines from a thread of its own: a pipe can't be asked how much room it has, a
/// console doesn't tell that its user holds it, and a write that has begun can't be left. So the
/// thread is what waits, with one line in its hand. It lives until the process ends, which doesn't
/// wait for it.
class LineWriter
{
public:
    explicit LineWriter(int descriptor) : descriptor_(descriptor)
    {
        std::thread([this] { run(); }).detach();
    }

    /// writeLine(). A line that the thread has taken is written whenever there is room.
    bool write(std::string_view line, int patience)
    {
        std::unique_lock lock(mutex_);
        if (!waitUntilFree(lock, patience))
            return false;
        line_ = line;
        busy_ = true;
        changed_.notify_all();
        // Without patience it's enough that the line before has found its reader.
        return patience == 0 || waitUntilFree(lock, patience);
    }

private:
    bool waitUntilFree(std::unique_lock<std::mutex> &lock, int patience)
    {
        if (patience > 0) // a timed wait lets a tick pass, however short it is
            changed_.wait_for(lock, std::chrono::milliseconds(patience), [this] { return !busy_; });
        return !busy_;
    }

    [[noreturn]] void run()
    {
        nameThisThread("output");
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return busy_; });
            lock.unlock();
            // Not by way of the FILE: its lock would be held meanwhile, and a process that ends
            // waits for that one.
            (void)_write(descriptor_, line_.data(), static_cast<unsigned>(line_.size()));
            lock.lock();
            busy_ = false;
            changed_.notify_all();
        }
    }

    const int descriptor_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool busy_ = false; ///< the line is the thread's
    std::string line_;
};

LineWriter &writerOf(int descriptor)
{
    static std::map<int, std::unique_ptr<LineWriter>> &writers =
        *new std::map<int, std::unique_ptr<LineWriter>>; // its threads never end
    std::unique_ptr<LineWriter> &writer = writers[descriptor];
    if (!writer)
        writer = std::make_unique<LineWriter>(descriptor);
    return *writer;
}

/// Whether a write to the stream may wait for somebody.
bool mayWait(int descriptor)
{
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    return handle != INVALID_HANDLE_VALUE && GetFileType(handle) != FILE_TYPE_DISK;
}

} // namespace

bool writeLine(std::FILE *stream, std::string_view line, int patience) noexcept
{
    const int descriptor = _fileno(stream);
    if (descriptor < 0)
        return true; // a program without a console has streams that lead nowhere
    try {
        if (mayWait(descriptor))
            return writerOf(descriptor).write(line, patience);
    } catch (...) {
        return false; // no thread or no memory to be had, so the line isn't either
    }
    std::fwrite(line.data(), 1, line.size(), stream);
    std::fflush(stream);
    return true;
}

} // namespace tavu
