#include "cases.h"
#include "catalogue.h"
#include "measure.h"
#include "trips.h"

#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tavu::bench {

namespace {

constexpr uint32_t kDevice = 7;

/// A poster, and readers that wait for what it posts.
struct Audience
{
    LocalSocket *poster;
    std::vector<LocalSocket *> readers;
    std::vector<std::vector<uint8_t>> requests; ///< of each reader
};

/// What a reader is told, as the bytes of its reply.
std::vector<unsigned char> eventReply()
{
    const auto write = [](MessageWriter &writer) {
        const std::pair<const char *, uint64_t> fields[] = {
            {"type", static_cast<uint64_t>(EventType::FilesChanged)},
            {"device", kDevice},
            {"port", 0}};
        for (const char *key : {"result", "event"}) {
            writer.writeMapHeader(1);
            writer.writeString(key);
        }
        writer.writeMapHeader(3);
        for (const auto &[key, value] : fields) {
            writer.writeString(key);
            writer.writeUint(value);
        }
    };
    return encoded(write, kRoomPerFile);
}

/// From the notification until all readers have their replies; \a reply keeps the last one.
double wakeSeconds(const Audience &audience, std::vector<unsigned char> &reply)
{
    static const std::vector<uint8_t> notification = client::encodeRequest(
        static_cast<uint32_t>(Command::NotifyFilesChanged), {{"deviceId", uint64_t(kDevice)}});
    for (size_t i = 0; i < audience.readers.size(); ++i)
        audience.readers[i]->write(audience.requests[i].data(), audience.requests[i].size());
    // Long enough for all of them to wait, well short of the half second that they wait for.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return secondsOf([&] {
        uint8_t done = 0;
        exchange(*audience.poster, notification, {&done, 1});
        for (LocalSocket *reader : audience.readers) {
            if (reader->read(reply.data(), reply.size()) != reply.size())
                throw std::runtime_error("a reader has no reply");
        }
    });
}

Comparison benchReaders(size_t count)
{
    const std::vector<unsigned char> expected = eventReply();
    Workplace workplace;
    const ServiceProcess service;
    const PeerProcess peer(
        {"queues", "queues", std::to_string(count), std::to_string(expected.size())});

    Client poster;
    const auto peerPoster = connectedSocket("queues");
    std::vector<std::unique_ptr<Client>> clients;
    std::vector<std::unique_ptr<LocalSocket>> peerSockets;
    Audience ours{&poster.socket(), {}, {}}, peers{peerPoster.get(), {}, {}};
    for (size_t i = 0; i < count; ++i) {
        clients.push_back(std::make_unique<Client>());
        const uint64_t queue = clients.back()->createEventQueue();
        ours.readers.push_back(&clients.back()->socket());
        ours.requests.push_back(
            client::encodeRequest(static_cast<uint32_t>(Command::ReadEvent), {{"queueId", queue}}));
        peerSockets.push_back(connectedSocket("queues"));
        peers.readers.push_back(peerSockets.back().get());
    }
    peers.requests = ours.requests;

    const auto wakeOurs = [&] {
        std::vector<unsigned char> reply(expected.size());
        const double seconds = wakeSeconds(ours, reply);
        if (reply != expected)
            throw std::runtime_error("a queue has another event than the one that was posted");
        return seconds;
    };
    const auto wakePeers = [&] {
        std::vector<unsigned char> reply(expected.size());
        return wakeSeconds(peers, reply);
    };
    const Comparison result = compare(21, wakeOurs, wakePeers);
    printRow("notifyFilesChanged to " + std::to_string(count) + " readers, each", result,
             1e6 / static_cast<double>(count), "us", "<= 1.30");
    return result;
}

} // namespace

void benchQueues()
{
    benchReaders(10);
    const Comparison few = benchReaders(100);
    const Comparison many = benchReaders(1000);
    printGrowth("notifyFilesChanged: a reader of 1,000 to one of 100", few, 100, many, 1000);
}

} // namespace tavu::bench
