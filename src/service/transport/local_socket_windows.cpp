#include "service/transport/local_socket.h"
#include "platform/handle_windows.h"
#include "platform/wide_text_windows.h"
#include "service/transport/shared_security_windows.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

constexpr size_t kNameBytes = 512;

// The system touches the whole buffer of a read before any byte comes: one that a client has only
// announced must not become real memory by that.
constexpr uint32_t kMostReadBytes = 1u << 20;

constexpr DWORD kNextInstance = PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED;
constexpr DWORD kFirstInstance = kNextInstance | FILE_FLAG_FIRST_PIPE_INSTANCE;
static_assert(kNextInstance == 0x40000003 && kFirstInstance == 0x40080003);

/// Where the pipes of the machine live, with \a name and \a suffix; what doesn't fit is cut off.
std::string pipePath(const std::string &name, const char *suffix = "")
{
    char path[kNameBytes];
    std::snprintf(path, sizeof path, "\\\\.\\pipe\\%s%s", name.c_str(), suffix);
    return path;
}

std::wstring pipeName(const std::string &name)
{
    return wideText(pipePath(name));
}

HANDLE nativeHandle(LocalSocket::NativeHandle handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

} // namespace

// The handles that the server hands out are overlapped, and yet their transfers need no OVERLAPPED:
// a connection has one reader and writer, so that only one transfer is under way at a time.

int64_t LocalSocket::systemRead(NativeHandle handle, void *buffer, uint32_t byteCount)
{
    // A peer that writes no bytes at all ends a read, but not the channel.
    DWORD moved = 0;
    while (moved == 0) {
        if (!ReadFile(nativeHandle(handle), buffer, std::min(byteCount, kMostReadBytes), &moved,
                      nullptr))
            return -1;
    }
    return moved;
}

int64_t LocalSocket::systemWrite(NativeHandle handle, const void *buffer, uint32_t byteCount)
{
    DWORD moved = 0;
    while (moved == 0) {
        if (!WriteFile(nativeHandle(handle), buffer, byteCount, &moved, nullptr))
            return -1;
    }
    return moved;
}

LocalSocket::NativeHandle LocalSocket::systemConnect(const std::string &name)
{
    static_assert((GENERIC_READ | GENERIC_WRITE) == 0xC0000000);
    const HANDLE pipe = CreateFileW(pipeName(name).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    return reinterpret_cast<NativeHandle>(pipe);
}

std::optional<uint32_t> LocalSocket::systemStranger(NativeHandle /*handle*/)
{
    return std::nullopt; // users have no such ids, and pipes no folder
}

void LocalSocket::systemRelease(NativeHandle handle)
{
    CloseHandle(nativeHandle(handle));
}

void LocalSocket::systemInterrupt(NativeHandle handle)
{
    // A thread that has taken the handle but hasn't begun its transfer yet has nothing to cancel:
    // so again and again until it is out.
    while (othersInside()) {
        CancelIoEx(nativeHandle(handle), nullptr);
        Sleep(1);
    }
}

struct LocalSocketServer::State
{
    std::wstring pipeName;
    const Handle abortEvent{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    const Handle connectEvent{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    SECURITY_ATTRIBUTES *securityAttributes = nullptr;

    std::mutex mutex; ///< guards what follows
    Handle currentInstance;
    OVERLAPPED connect = {}; ///< the system may write here for as long as a connect is pending
    bool connectPending = false;

    State() = default;
    State(const State &) = delete;
    State &operator=(const State &) = delete;
    ~State() { abort(); }

    Handle createInstance(DWORD openMode) const;
    void beginConnect(HANDLE &instance, bool &pending);
    void waitForClient(HANDLE instance);
    Handle takeConnected(HANDLE instance);
    void abort();
};

Handle LocalSocketServer::State::createInstance(DWORD openMode) const
{
    return Handle(CreateNamedPipeW(pipeName.c_str(), openMode, PIPE_TYPE_BYTE,
                                   PIPE_UNLIMITED_INSTANCES, 0, 0, 0, securityAttributes));
}

/// Opens the current instance to a client, and tells whether that client has still to come.
void LocalSocketServer::State::beginConnect(HANDLE &instance, bool &pending)
{
    std::lock_guard guard(mutex);
    if (!currentInstance)
        throw std::runtime_error("Pipe not open.");
    connect = {};
    connect.hEvent = connectEvent.get();
    ResetEvent(connectEvent.get());
    if (!ConnectNamedPipe(currentInstance.get(), &connect)) {
        switch (GetLastError()) {
        case ERROR_IO_PENDING:
            connectPending = true;
            break;
        case ERROR_PIPE_CONNECTED: // the client was faster
        case ERROR_NO_DATA:        // and has left already, which its first read will tell
            break;
        default:
            throw std::runtime_error("ConnectNamedPipe failed.");
        }
    }
    instance = currentInstance.get();
    pending = connectPending;
}

/// Returns with a client on \a instance, or raises.
void LocalSocketServer::State::waitForClient(HANDLE instance)
{
    const HANDLE events[] = {connectEvent.get(), abortEvent.get()};
    if (WaitForMultipleObjects(2, events, FALSE, INFINITE) != WAIT_OBJECT_0)
        throw std::runtime_error("ConnectNamedPipe aborted.");
    std::lock_guard guard(mutex);
    if (currentInstance.get() !=
        instance) // abort() cancelled the connect, which signals its event too
        throw std::runtime_error("ConnectNamedPipe aborted.");
    connectPending = false;
    DWORD unused = 0;
    if (GetOverlappedResult(instance, &connect, &unused, FALSE))
        return;
    const DWORD error = GetLastError();
    if (error == ERROR_NO_DATA || error == ERROR_BROKEN_PIPE) // a client that came and left
        return;
    char text[64];
    std::snprintf(text, sizeof text, "ConnectNamedPipe failed, GetLastError() = %u.",
                  static_cast<unsigned>(error));
    throw std::runtime_error(text);
}

/// Puts the next instance in the place of the connected one, so that no client finds none waiting.
Handle LocalSocketServer::State::takeConnected(HANDLE instance)
{
    std::lock_guard guard(mutex);
    if (currentInstance.get() != instance)
        throw std::runtime_error("ConnectNamedPipe aborted.");
    Handle connected = std::move(currentInstance);
    currentInstance = createInstance(kNextInstance);
    if (!currentInstance)
        throw std::runtime_error("CreateNamedPipe failed.");
    return connected;
}

void LocalSocketServer::State::abort()
{
    std::lock_guard guard(mutex);
    if (!currentInstance)
        return;
    SetEvent(abortEvent.get());
    if (connectPending) {
        // The system must be done with our OVERLAPPED before the handle's number is free again.
        CancelIoEx(currentInstance.get(), &connect);
        DWORD unused = 0;
        GetOverlappedResult(currentInstance.get(), &connect, &unused, TRUE);
        connectPending = false;
    }
    currentInstance.reset();
}

LocalSocketServer::LocalSocketServer() : state_(std::make_unique<State>()) {}

LocalSocketServer::~LocalSocketServer() = default;

bool LocalSocketServer::listen(const std::string &name, bool global)
{
    State &state = *state_;
    std::lock_guard guard(state.mutex);
    state.pipeName = pipeName(name);
    if (global) {
        state.securityAttributes = sharedSecurityAttributes();
        if (!state.securityAttributes)
            return false;
    }
    // Fails when the name has an instance already, in whatever process.
    state.currentInstance = state.createInstance(kFirstInstance);
    return static_cast<bool>(state.currentInstance);
}

LocalSocket LocalSocketServer::accept()
{
    HANDLE instance = nullptr;
    bool pending = false;
    state_->beginConnect(instance, pending);
    if (pending)
        state_->waitForClient(instance);
    return LocalSocket(
        reinterpret_cast<LocalSocket::NativeHandle>(state_->takeConnected(instance).release()));
}

void LocalSocketServer::abort()
{
    state_->abort();
}

std::string localSocketAddress(const std::string &name)
{
    return pipePath(name);
}

bool awaitLocalSocket(const std::string &name, std::chrono::milliseconds patience)
{
    // Between a client and the next instance of the pipe there is none for a moment. 0 would mean a
    // time that the service has chosen.
    const auto milliseconds = std::max<int64_t>(patience.count(), 1);
    return WaitNamedPipeW(pipeName(name).c_str(), static_cast<DWORD>(milliseconds)) != 0;
}

std::vector<std::string> listLocalSockets(const std::string &prefix)
{
    std::vector<std::string> names;
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW(wideText(pipePath(prefix, "*")).c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return names;
    do {
        const std::wstring_view name = entry.cFileName;
        if (name != L"." && name != L"..")
            names.push_back(narrowText(name));
    } while (FindNextFileW(search, &entry));
    FindClose(search);
    return names;
}

} // namespace tavu
