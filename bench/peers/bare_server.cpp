#include "catalogue.h"
#include "peers/roles.h"
#include "service/transport/local_socket.h"

#include <algorithm>
#include <condition_variable>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace tavu::bench {

namespace {

/// Answers one request; false when the client has gone.
using Answer = std::function<bool(int client)>;

bool takeRequest(int client)
{
    char request[4096];
    return ::recv(client, request, sizeof request, 0) > 0;
}

bool sendBytes(int client, const void *bytes, size_t byteCount)
{
    return ::send(client, bytes, byteCount, MSG_NOSIGNAL) == ssize_t(byteCount);
}

/// \a begin makes a client's way of answering, on the thread that then serves it.
[[noreturn]] void serveClients(const std::string &name,
                               const std::function<Answer(size_t number)> &begin)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    localSocketAddress(name).copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (::bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listener, SOMAXCONN) != 0)
        throw std::runtime_error("a peer can't listen");
    for (size_t number = 0;; ++number) {
        const int client = ::accept(listener, nullptr, nullptr);
        if (client < 0)
            throw std::runtime_error("a peer can't accept");
        std::thread([&begin, client, number] {
            const Answer answer = begin(number);
            while (takeRequest(client) && answer(client)) {
            }
            ::close(client);
        }).detach();
    }
}

/// What a reader waits at.
struct Queue
{
    void post()
    {
        {
            std::lock_guard guard(mutex);
            posted = true;
        }
        changed.notify_one();
    }
    void wait()
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return posted; });
        posted = false;
    }

    std::mutex mutex;
    std::condition_variable changed;
    bool posted = false;
};

} // namespace

void serveEcho(const Arguments &arguments)
{
    const std::vector<char> reply(std::stoul(arguments.at(1)));
    const size_t frameSize = arguments.size() > 2 ? std::stoul(arguments.at(3)) : 0;
    const int file = frameSize > 0 ? ::open(arguments.at(2).c_str(), O_RDONLY) : -1;
    serveClients(arguments.at(0), [&](size_t) -> Answer {
        return [&, frame = std::vector<char>(frameSize)](int client) mutable {
            return (frameSize == 0 ||
                    ::pread(file, frame.data(), frameSize, 0) == ssize_t(frameSize)) &&
                   sendBytes(client, reply.data(), reply.size());
        };
    });
}

void serveList(const Arguments &arguments)
{
    const std::vector<FileEntry> files =
        someFiles(static_cast<uint32_t>(std::stoul(arguments.at(1))));
    const size_t room = files.size() * kRoomPerFile;
    serveClients(arguments.at(0), [&](size_t) -> Answer {
        return [&, reply = std::shared_ptr<uint8_t[]>(new uint8_t[room])](int client) {
            MemStream stream(reply.get(), room);
            MessageWriter writer(stream);
            writeFilesReply(writer, files);
            return sendBytes(client, reply.get(), room - static_cast<size_t>(stream.remaining()));
        };
    });
}

void serveQueues(const Arguments &arguments)
{
    std::vector<Queue> queues(std::stoul(arguments.at(1)));
    const std::vector<char> reply(std::stoul(arguments.at(2)));
    serveClients(arguments.at(0), [&](size_t number) -> Answer {
        if (number == 0) {
            return [&](int client) {
                for (Queue &queue : queues)
                    queue.post();
                return sendBytes(client, reply.data(), 1);
            };
        }
        return [&, number](int client) {
            queues.at(number - 1).wait();
            return sendBytes(client, reply.data(), reply.size());
        };
    });
}

} // namespace tavu::bench
