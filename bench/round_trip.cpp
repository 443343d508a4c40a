#include "cases.h"
#include "measure.h"
#include "peers/trip_peers.h"
#include "service_process.h"

#include <atomic>
#include <chrono>
#include <latch>
#include <list>
#include <memory>
#include <thread>

namespace tavu::bench {

namespace {

const std::vector<uint8_t> kRequest =
    client::encodeRequest(static_cast<uint32_t>(Command::DeviceCount), {});

/// Of {"result": {"count": n}} with n below 128.
constexpr size_t kReplySize = 16;

// One client.

Trip connectEcho(const std::string &name)
{
    return [socket = std::shared_ptr<LocalSocket>(connectedSocket(name)),
            reply = std::vector<uint8_t>(kReplySize)]() mutable {
        exchange(*socket, kRequest, reply);
    };
}

/// Those who are asked beside the service; the name is the address, too.
const struct TripPeer
{
    const char *name;
    const char *title;
    const char *target;
    Trip (*connect)(const std::string &name);
    void (*serve)(const std::string &name); ///< null for the echo
} kPeers[] = {
    {"echo", "", "<= 1.15", connectEcho, nullptr},
#ifdef TAVU_BENCH_ZEROMQ
    {"zeromq", ", to ZeroMQ", "< 1.00", connectZeromq, serveZeromq},
#endif
#ifdef TAVU_BENCH_GRPC
    {"grpc", ", to gRPC", "< 1.00", connectGrpc, serveGrpc},
#endif
};

void benchTrips(int clientProcessor, int serverProcessor, const std::string &where)
{
    Workplace workplace;
    pin({serverProcessor});
    const ServiceProcess service;
    const PeerProcess echo({"echo", "echo", std::to_string(kReplySize)});
    std::list<Process> others;
    for (const TripPeer &peer : kPeers) {
        if (peer.serve)
            others.emplace_back(
                std::vector<std::string>{programPath("service_bench"), "--serve", peer.name});
    }
    pin({clientProcessor});
    Client client;
    const Trip ours = tripOver(client.socket(), kRequest, kReplySize);
    for (const TripPeer &peer : kPeers) {
        const Trip theirs = peer.connect(peer.name);
        printRow("round trip of deviceCount, on " + where + peer.title,
                 compare(
                     31, [&] { return medianTrip(ours); }, [&] { return medianTrip(theirs); }),
                 1e6, "us", peer.target);
    }
}

// Many clients.

/// Lets each socket's requests follow one another for a while, on a thread of its own.
double answersPerSecond(const std::vector<LocalSocket *> &sockets)
{
    std::atomic<bool> running{true};
    std::atomic<uint64_t> answers{0};
    std::latch begin(static_cast<std::ptrdiff_t>(sockets.size()) + 1);
    std::vector<std::thread> threads;
    for (LocalSocket *socket : sockets) {
        threads.emplace_back([&, socket] {
            const Trip trip = tripOver(*socket, kRequest, kReplySize);
            uint64_t count = 0;
            begin.arrive_and_wait();
            for (; running; ++count)
                trip();
            answers += count;
        });
    }
    begin.arrive_and_wait();
    const double seconds = secondsOf([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        running = false;
        for (std::thread &thread : threads)
            thread.join();
    });
    return static_cast<double>(answers) / seconds;
}

void benchClients(size_t count)
{
    const std::vector<int> all = processors();
    // One client's figure is decided by where it is; many are spread by the system.
    if (count == 1)
        pin({all.back()});
    Workplace workplace;
    const ServiceProcess service;
    const PeerProcess peer({"echo", "echo", std::to_string(kReplySize)});
    pin(count == 1 ? std::vector<int>{all.front()} : all);
    std::list<Client> clients;
    std::vector<std::unique_ptr<LocalSocket>> peers;
    std::vector<LocalSocket *> sockets[2];
    for (size_t i = 0; i < count; ++i) {
        sockets[0].push_back(&clients.emplace_back().socket());
        sockets[1].push_back(peers.emplace_back(connectedSocket("echo")).get());
    }
    printRow("answers a second to " + std::to_string(count) + (count == 1 ? " client" : " clients"),
             compare(
                 25, [&] { return answersPerSecond(sockets[0]); },
                 [&] { return answersPerSecond(sockets[1]); }),
             1e-3, "k/s", ">= 0.80");
    pin(all);
}

} // namespace

void benchRoundTrip()
{
    const std::vector<int> all = processors();
    benchTrips(all[0], all[0], "one core");
    if (all.size() > 1)
        benchTrips(all[0], all[1], "two cores");
    pin(all);
#ifndef TAVU_BENCH_ZEROMQ
    printRemark("Without ZeroMQ (libzmq3-dev); scripts/setup peers installs it.");
#endif
#ifndef TAVU_BENCH_GRPC
    printRemark(
        "Without gRPC (libgrpc++-dev, libprotobuf-dev, protobuf-compiler-grpc); scripts/setup "
        "peers installs it.");
#endif
}

void serveTrips(const std::string &name)
{
    for (const TripPeer &peer : kPeers) {
        if (name == peer.name && peer.serve)
            peer.serve(name);
    }
}

void benchClients()
{
    for (const size_t count : {1, 8, 64, 256})
        benchClients(count);
}

} // namespace tavu::bench
