#include "raw_pipe.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tavu::test {

namespace {

bool waitFor(intptr_t handle, short events, std::chrono::milliseconds limit)
{
    pollfd descriptor = {static_cast<int>(handle), events, 0};
    return poll(&descriptor, 1, static_cast<int>(limit.count())) > 0;
}

} // namespace

bool RawPipe::connect(const std::string &runtimeFolder)
{
    close();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = runtimeFolder + "/tavusrv";
    if (path.size() >= sizeof address.sun_path)
        throw std::runtime_error("path too long for a socket: " + path);
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int handle = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    handle_ = handle;
    if (::connect(handle, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
        return true;
    close();
    return false;
}

void RawPipe::close()
{
    if (handle_ != kNoHandle)
        ::close(static_cast<int>(handle_));
    handle_ = kNoHandle;
}

bool RawPipe::send(const Bytes &bytes)
{
    size_t done = 0;
    while (done < bytes.size()) {
        if (!waitFor(handle_, POLLOUT, kLimit))
            throw std::runtime_error("the service doesn't read");
        const auto count = ::send(static_cast<int>(handle_), bytes.data() + done,
                                  bytes.size() - done, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0)
            done += static_cast<size_t>(count);
        else if (errno != EAGAIN)
            return false;
    }
    return true;
}

Bytes RawPipe::receiveSome(uint64_t count)
{
    if (!waitForInput(kLimit))
        throw std::runtime_error("the service doesn't answer");
    Bytes bytes(count, '\0');
    // A channel that was closed with bytes unread ends in an error, which is an end too.
    const auto received = recv(static_cast<int>(handle_), bytes.data(), bytes.size(), 0);
    bytes.resize(received > 0 ? static_cast<size_t>(received) : 0);
    return bytes;
}

bool RawPipe::waitForInput(std::chrono::milliseconds limit)
{
    return waitFor(handle_, POLLIN, limit);
}

} // namespace tavu::test
