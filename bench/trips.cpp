#include "trips.h"

#include "measure.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tavu::bench {

std::unique_ptr<LocalSocket> connectedSocket(const std::string &name)
{
    auto socket = std::make_unique<LocalSocket>();
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!socket->connect(name)) {
        if (std::chrono::steady_clock::now() > limit)
            throw std::runtime_error("nobody comes up at " + name);
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return socket;
}

double medianTrip(const Trip &trip, int trips)
{
    std::vector<double> times;
    for (int i = 0; i < trips; ++i)
        times.push_back(secondsOf(trip));
    return median(std::move(times));
}

void exchange(LocalSocket &socket, const std::vector<uint8_t> &request, std::span<uint8_t> reply)
{
    socket.write(request.data(), request.size());
    if (socket.read(reply.data(), reply.size()) != reply.size())
        throw std::runtime_error("a reply is missing");
}

Trip tripOver(LocalSocket &socket, const std::vector<uint8_t> &request, size_t replySize)
{
    return [&socket, request, reply = std::vector<uint8_t>(replySize)]() mutable {
        exchange(socket, request, reply);
    };
}

void fetch(LocalSocket &socket, const std::vector<uint8_t> &request, size_t replySize)
{
    static std::vector<uint8_t> buffer(1 << 20);
    socket.write(request.data(), request.size());
    for (size_t left = replySize; left > 0;) {
        const uint64_t came = socket.readSome(buffer.data(), std::min(left, buffer.size()));
        if (came == 0)
            throw std::runtime_error("a reply is cut off");
        left -= came;
    }
}

} // namespace tavu::bench
