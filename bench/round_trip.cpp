#include "cases.h"
#include "measure.h"
#include "service_process.h"

#include <sched.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tavu::bench {

namespace {

constexpr int kRounds = 31;
constexpr int kTripsPerRound = 1000;

// The pieces in which the peer reads a deviceCount request and writes its reply: each head and each
// body with a call of its own.
constexpr size_t kReads[] = {1, 1, 3, 1, 4, 1, 3, 1, 1, 6, 1};
constexpr size_t kWrites[] = {1, 1, 6, 1, 1, 5, 1};

bool receiveAll(int descriptor, void *buffer, size_t byteCount)
{
    auto *bytes = static_cast<char *>(buffer);
    while (byteCount > 0) {
        const auto received = ::recv(descriptor, bytes, byteCount, 0);
        if (received <= 0)
            return false;
        bytes += received;
        byteCount -= static_cast<size_t>(received);
    }
    return true;
}

/// Answers for as long as the client is there.
void echo(int descriptor)
{
    char bytes[16] = {};
    for (;;) {
        for (const size_t size : kReads) {
            if (!receiveAll(descriptor, bytes, size))
                return;
        }
        for (const size_t size : kWrites) {
            if (::send(descriptor, bytes, size, MSG_NOSIGNAL) < 0)
                return;
        }
    }
}

/// Keeps a process on one processor: waking somebody on another one takes several times as long as
/// on one's own, and where the system puts whom would else decide the ratio.
void pin(pid_t pid, int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    if (::sched_setaffinity(pid, sizeof set, &set) != 0)
        throw std::runtime_error("a process can't be kept on one processor");
}

/// The median of many round trips, in seconds.
double medianTrip(LocalSocket &socket, const std::vector<uint8_t> &request, size_t replySize)
{
    std::vector<double> trips;
    std::vector<uint8_t> reply(replySize);
    for (int i = 0; i < kTripsPerRound; ++i) {
        trips.push_back(secondsOf([&] {
            socket.write(request.data(), request.size());
            if (socket.read(reply.data(), replySize) != replySize)
                throw std::runtime_error("a reply is missing");
        }));
    }
    return median(std::move(trips));
}

size_t sum(const size_t *begin, const size_t *end)
{
    size_t total = 0;
    while (begin != end)
        total += *begin++;
    return total;
}

/// A bare server: a thread for its one client, in a process of its own, like the service.
class EchoProcess
{
public:
    explicit EchoProcess(int processor)
    {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
            throw std::runtime_error("no sockets");
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(ends[0]);
            pin(0, processor);
            std::thread(echo, ends[1]).join();
            ::_exit(0);
        }
        ::close(ends[1]);
        socket_ = LocalSocket(ends[0]);
    }
    EchoProcess(const EchoProcess &) = delete;
    EchoProcess &operator=(const EchoProcess &) = delete;
    ~EchoProcess()
    {
        socket_.close();
        ::waitpid(pid_, nullptr, 0);
    }

    LocalSocket &socket() { return socket_; }

private:
    pid_t pid_;
    LocalSocket socket_;
};

void benchTrips(int clientProcessor, int serverProcessor, const std::string &where)
{
    EchoProcess peer(serverProcessor);
    Workplace workplace;
    ServiceProcess service;
    pin(0, clientProcessor);
    // Before we connect, since a thread inherits the place of the one that starts it.
    pin(service.pid(), serverProcessor);
    Client client;
    const std::vector<uint8_t> request =
        client::encodeRequest(static_cast<uint32_t>(Command::DeviceCount), {});
    const size_t replySize = sum(std::begin(kWrites), std::end(kWrites));
    if (request.size() != sum(std::begin(kReads), std::end(kReads)))
        throw std::runtime_error("the peer reads another request than the service");

    printRow("round trip of deviceCount, " + where,
             compare(
                 kRounds, [&] { return medianTrip(client.socket(), request, replySize); },
                 [&] { return medianTrip(peer.socket(), request, replySize); }),
             1e6, "us", "<= 1.25");
}

} // namespace

void benchRoundTrip()
{
    cpu_set_t before;
    ::sched_getaffinity(0, sizeof before, &before);
    std::vector<int> processors;
    for (int i = 0; i < CPU_SETSIZE; ++i) {
        if (CPU_ISSET(i, &before))
            processors.push_back(i);
    }
    benchTrips(processors[0], processors[0], "on one core");
    if (processors.size() > 1)
        benchTrips(processors[0], processors[1], "on two cores");
    ::sched_setaffinity(0, sizeof before, &before);
}

} // namespace tavu::bench
