#pragma once

#include "encoding/channel.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavu {

/// One connected end of the local pipe. read() and write() belong to one thread; close() may come
/// from any other: it ends a blocked read or write, and the native handle is released only when no
/// call is inside the system with it, so that a reused handle number can't be hit.
class LocalSocket : public Channel
{
public:
    /// A file descriptor or a Windows HANDLE; all bits set means none.
    using NativeHandle = intptr_t;
    static constexpr NativeHandle kNoHandle = -1;

    LocalSocket() = default;
    /// Adopts a connected handle.
    explicit LocalSocket(NativeHandle handle) : handle_(handle) {}
    /// Moves are for sockets that no other thread uses yet.
    LocalSocket(LocalSocket &&other) noexcept;
    LocalSocket &operator=(LocalSocket &&other) noexcept;
    ~LocalSocket() override;

    /// Both block until all bytes have moved or the channel fails, and return the count moved. 0
    /// bytes make no system call. Nothing is raised.
    uint64_t read(void *buffer, uint64_t byteCount) override;
    uint64_t write(const void *buffer, uint64_t byteCount) override;

    /// One system call: blocks until at least one byte is there; 0 at the end of the channel.
    uint64_t readSome(void *buffer, uint64_t byteCount) override;

    /// Idempotent, from any thread.
    void close() override;

    /// Client side: connects to the service that listens under a base name such as "tavusrv". False
    /// when nobody listens there. Neither waits nor retries.
    bool connect(const std::string &name);

    /// Client side: the id of the user who runs the service at the other end, where that is neither
    /// ours nor root and the address is one that any user of the machine can take. Empty otherwise,
    /// and on systems that have no such addresses.
    std::optional<uint32_t> stranger();

private:
    class Use;

    // The system's half. The transfers return the count moved, 0 or less at the end or on failure.
    static int64_t systemRead(NativeHandle handle, void *buffer, uint32_t byteCount);
    static int64_t systemWrite(NativeHandle handle, const void *buffer, uint32_t byteCount);
    static NativeHandle systemConnect(const std::string &name);
    static std::optional<uint32_t> systemStranger(NativeHandle handle);
    static void systemRelease(NativeHandle handle);
    /// Makes every call that is, or is about to be, inside the system with \a handle return.
    void systemInterrupt(NativeHandle handle);

    void enter() { uses_.fetch_add(1); }
    void leave();
    bool othersInside() const { return (uses_.load() & ~kClosed) > 1; }

    static constexpr uint32_t kClosed = 0x80000000u;

    std::atomic<NativeHandle> handle_{kNoHandle};
    std::atomic<uint32_t> uses_{0}; ///< calls under way, and the bit that the socket is closed
};

/// The listening side: hands out a LocalSocket per client.
class LocalSocketServer
{
public:
    LocalSocketServer();
    LocalSocketServer(const LocalSocketServer &) = delete;
    LocalSocketServer &operator=(const LocalSocketServer &) = delete;
    ~LocalSocketServer();

    /// False when another instance listens under the base name, or the address can't be had.
    /// \a global opens the pipe to all users of the machine, where the system has such a thing.
    bool listen(const std::string &name, bool global);

    /// Blocks until a client is connected. Raises std::runtime_error: "Pipe not open." when nothing
    /// listens, "ConnectNamedPipe aborted." when abort() ended the wait, others when the system
    /// fails.
    LocalSocket accept();

    /// From any thread: ends a waiting accept() and stops listening, for good.
    void abort();

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Client side: when connect() has failed, waits until the service that listens under a base name
/// can take one more client. False when nobody listens there, when \a patience is over, and on
/// systems where a service can always take one more.
bool awaitLocalSocket(const std::string &name, std::chrono::milliseconds patience);

/// Client side: the names of all channels on this machine that begin with \a prefix.
std::vector<std::string> listLocalSockets(const std::string &prefix);

/// Client side: where clients find the service that listens under a base name, to show to a person.
std::string localSocketAddress(const std::string &name);

} // namespace tavu
