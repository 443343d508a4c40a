#include "service/transport/local_socket.h"
#include "platform/descriptor_posix.h"
#include "platform/environment.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <stdexcept>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace tavu {

namespace {

bool hasFolderOfOurOwn()
{
    return environmentFlag("XDG_RUNTIME_DIR");
}

std::string socketFolder()
{
    return hasFolderOfOurOwn() ? *environmentVariable("XDG_RUNTIME_DIR") : "/tmp";
}

/// A socket address for a path of any length: the few bytes that an address holds are enough for a
/// path below an open folder.
struct SocketAddress
{
    explicit SocketAddress(const std::string &path)
    {
        address.sun_family = AF_UNIX;
        std::string shortPath = path;
        if (path.size() >= sizeof address.sun_path) {
            const size_t slash = path.rfind('/');
            folder = Descriptor(
                ::open(path.substr(0, slash + 1).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
            shortPath =
                "/proc/self/fd/" + std::to_string(folder.get()) + "/" + path.substr(slash + 1);
        }
        if (shortPath.size() < sizeof address.sun_path)
            std::memcpy(address.sun_path, shortPath.c_str(), shortPath.size() + 1);
    }

    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&address); }
    static constexpr socklen_t size() { return sizeof(sockaddr_un); }

    Descriptor folder;
    sockaddr_un address{};
};

Descriptor newSocket(int flags = 0)
{
    return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

/// Calls again for as long as a signal interrupts the call.
template <typename Call>
auto retryInterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

// What belongs to the service is its user's alone, whatever umask the service was started under.
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

/// Sees to it that the owner may connect, whatever the umask has taken, and nobody else.
bool openToOwner(const std::string &path)
{
    struct stat status;
    if (::lstat(path.c_str(), &status) == 0 && (status.st_mode & ALLPERMS) == kOwnerOnly)
        return true;
    return ::fchmodat(AT_FDCWD, path.c_str(), kOwnerOnly, AT_SYMLINK_NOFOLLOW) == 0;
}

/// True when the path is free, or was held by a socket that nobody listens on any more. Anything
/// else at the path stays.
bool clearStaleSocket(const std::string &path)
{
    struct stat status;
    if (::lstat(path.c_str(), &status) != 0)
        return errno == ENOENT;
    if (!S_ISSOCK(status.st_mode))
        return false;
    const SocketAddress address(path);
    const Descriptor probe = newSocket(SOCK_NONBLOCK);
    if (!probe || ::connect(probe.get(), address.get(), address.size()) == 0 ||
        errno != ECONNREFUSED)
        return false;
    return ::unlink(path.c_str()) == 0;
}

} // namespace

int64_t LocalSocket::systemRead(NativeHandle handle, void *buffer, uint32_t byteCount)
{
    return retryInterrupted([&] { return ::recv(static_cast<int>(handle), buffer, byteCount, 0); });
}

int64_t LocalSocket::systemWrite(NativeHandle handle, const void *buffer, uint32_t byteCount)
{
    return retryInterrupted(
        [&] { return ::send(static_cast<int>(handle), buffer, byteCount, MSG_NOSIGNAL); });
}

LocalSocket::NativeHandle LocalSocket::systemConnect(const std::string &name)
{
    const SocketAddress address(localSocketAddress(name));
    Descriptor socket = newSocket();
    if (!socket || ::connect(socket.get(), address.get(), address.size()) != 0)
        return kNoHandle;
    return socket.release();
}

std::optional<uint32_t> LocalSocket::systemStranger(NativeHandle handle)
{
    if (hasFolderOfOurOwn())
        return std::nullopt;
    // Nobody, unless the system says otherwise.
    ucred peer = {0, static_cast<uid_t>(-1), static_cast<gid_t>(-1)};
    socklen_t size = sizeof peer;
    ::getsockopt(static_cast<int>(handle), SOL_SOCKET, SO_PEERCRED, &peer, &size);
    if (peer.uid == 0 || peer.uid == ::geteuid())
        return std::nullopt;
    return peer.uid;
}

void LocalSocket::systemRelease(NativeHandle handle)
{
    const int fd = static_cast<int>(handle);
    // Closing over unread bytes would reset the channel, and the peer could lose the end of our
    // last reply: take them away once no more can come.
    ::shutdown(fd, SHUT_RDWR);
    char discarded[4096];
    while (retryInterrupted([&] { return ::recv(fd, discarded, sizeof discarded, MSG_DONTWAIT); }) >
           0) {
    }
    ::close(fd);
}

void LocalSocket::systemInterrupt(NativeHandle handle)
{
    ::shutdown(static_cast<int>(handle), SHUT_RDWR);
}

namespace {

/// Whether a failed accept has to do with the client that was to come, so that the next one may
/// still get through. A lack of descriptors or memory hasn't: it would only let clients hang.
bool concernsOneClient(int error)
{
    return error == EINTR || error == ECONNABORTED || error == EPROTO || error == EPERM;
}

} // namespace

struct LocalSocketServer::State
{
    std::mutex mutex;
    std::string path;
    Descriptor lockFile; ///< held for as long as the path is ours
    Descriptor socket;
    struct stat identity = {}; ///< of the socket at the path
    bool listening = false;
    bool accepting = false; ///< a thread is inside accept() with the socket

    bool listen(const std::string &socketPath);
    void stopListening();
    Descriptor acceptClient();
};

bool LocalSocketServer::State::listen(const std::string &socketPath)
{
    // The lock is what keeps instances apart. It is never removed: a removed lock file would let
    // two instances lock two files of one name.
    Descriptor lock(::open((socketPath + ".lock").c_str(),
                           O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kOwnerOnly));
    if (!lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0 || !clearStaleSocket(socketPath))
        return false;
    ::fchmod(lock.get(), kOwnerOnly); // or the next instance can't open it after a umask of 777
    const SocketAddress address(socketPath);
    Descriptor listener = newSocket();
    if (!listener)
        return false;
    // The file at the path gets the socket's mode, less the umask, so that it isn't wider even for
    // a moment.
    ::fchmod(listener.get(), kOwnerOnly);
    if (::bind(listener.get(), address.get(), address.size()) != 0)
        return false;
    if (!openToOwner(socketPath) || ::listen(listener.get(), SOMAXCONN) != 0 ||
        ::lstat(socketPath.c_str(), &identity) != 0) {
        ::unlink(socketPath.c_str());
        return false;
    }
    path = socketPath;
    lockFile = std::move(lock);
    socket = std::move(listener);
    listening = true;
    return true;
}

/// With the mutex held.
void LocalSocketServer::State::stopListening()
{
    if (!listening)
        return;
    listening = false;
    struct stat present;
    if (::lstat(path.c_str(), &present) == 0 && present.st_dev == identity.st_dev &&
        present.st_ino == identity.st_ino)
        ::unlink(path.c_str());
    ::shutdown(socket.get(), SHUT_RDWR);
    if (!accepting)
        socket.reset();
}

/// Waits for a client; an empty result is a failure of the system's, or the end of listening.
Descriptor LocalSocketServer::State::acceptClient()
{
    for (;;) {
        Descriptor client(::accept4(socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        const int error = errno;
        std::lock_guard guard(mutex);
        if (client || !listening || !concernsOneClient(error))
            return client;
    }
}

LocalSocketServer::LocalSocketServer() : state_(std::make_unique<State>()) {}

LocalSocketServer::~LocalSocketServer()
{
    abort();
}

bool LocalSocketServer::listen(const std::string &name, bool /*global*/)
{
    return state_->listen(localSocketAddress(name));
}

LocalSocket LocalSocketServer::accept()
{
    State &state = *state_;
    {
        std::lock_guard guard(state.mutex);
        if (!state.listening)
            throw std::runtime_error("Pipe not open.");
        state.accepting = true;
    }
    Descriptor client = state.acceptClient();
    std::lock_guard guard(state.mutex);
    state.accepting = false;
    if (!state.listening)
        state.socket.reset();
    if (client)
        return LocalSocket(client.release());
    throw std::runtime_error(state.listening ? "ConnectNamedPipe failed."
                                             : "ConnectNamedPipe aborted.");
}

void LocalSocketServer::abort()
{
    std::lock_guard guard(state_->mutex);
    state_->stopListening();
}

std::string localSocketAddress(const std::string &name)
{
    return socketFolder() + "/" + name;
}

bool awaitLocalSocket(const std::string & /*name*/, std::chrono::milliseconds /*patience*/)
{
    return false;
}

std::vector<std::string> listLocalSockets(const std::string &prefix)
{
    std::vector<std::string> names;
    const std::string folder = socketFolder();
    DIR *entries = ::opendir(folder.c_str());
    if (!entries)
        return names;
    while (const dirent *entry = ::readdir(entries)) {
        struct stat status;
        const std::string name = entry->d_name;
        if (name.compare(0, prefix.size(), prefix) == 0 &&
            ::fstatat(::dirfd(entries), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISSOCK(status.st_mode))
            names.push_back(name);
    }
    ::closedir(entries);
    return names;
}

} // namespace tavu
