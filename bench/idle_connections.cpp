#include "cases.h"
#include "measure.h"
#include "service_process.h"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace tavu::bench {

namespace {

constexpr int kBroadcasts = 51;
constexpr int kWakes = 9;

double residentKiB(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stod(line.substr(6));
    }
    throw std::runtime_error("the service has no resident size");
}

/// Clients that do nothing but hold a queue each.
struct Listeners
{
    explicit Listeners(size_t count)
    {
        for (size_t i = 0; i < count; ++i) {
            clients.push_back(std::make_unique<Client>());
            queues.push_back(clients.back()->createEventQueue());
        }
    }

    std::vector<std::unique_ptr<Client>> clients;
    std::vector<uint32_t> queues;
};

void requireEvent(const client::Event &event, uint32_t device)
{
    if (event.type != EventType::FilesChanged || event.device != device)
        throw std::runtime_error("a queue has another event than the one that was posted");
}

/// The reply to a notification comes when the event stands in all queues.
double broadcastSeconds(Client &poster, Listeners &listeners)
{
    std::vector<double> times;
    for (uint32_t number = 0; number < kBroadcasts; ++number) {
        times.push_back(secondsOf([&] { poster.notifyFilesChanged(number); }));
        for (size_t i = 0; i < listeners.clients.size(); ++i)
            requireEvent(
                listeners.clients[i]->tryReadEvent(listeners.queues[i]).value_or(client::Event()),
                number);
    }
    return median(std::move(times));
}

void askForEvent(Client &client, uint32_t queue)
{
    const std::vector<uint8_t> request =
        client::encodeRequest(static_cast<uint32_t>(Command::ReadEvent), {{"queueId", queue}});
    if (client.socket().write(request.data(), request.size()) != request.size())
        throw std::runtime_error("the service has gone");
}

client::Event awaitEvent(Client &client)
{
    ObjectValue reply;
    MessageReader(client.socket()).readObject(reply);
    return client::Reply("readEvent", std::move(reply.mapAt("result"))).event("event");
}

/// The same with a reader waiting at each queue, until the last of them has the event in hand.
double wakeSeconds(Client &poster, Listeners &listeners)
{
    std::vector<double> times;
    for (uint32_t number = 0; number < kWakes; ++number) {
        for (size_t i = 0; i < listeners.clients.size(); ++i)
            askForEvent(*listeners.clients[i], listeners.queues[i]);
        // Long enough for all of them to wait, well short of the half second that they wait for.
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        times.push_back(secondsOf([&] {
            poster.notifyFilesChanged(number);
            for (const auto &client : listeners.clients)
                requireEvent(awaitEvent(*client), number);
        }));
    }
    return median(std::move(times));
}

void benchListeners(size_t count)
{
    Workplace workplace;
    ServiceProcess service;
    Client poster;
    poster.deviceCount();
    const double before = residentKiB(service.pid());
    Listeners listeners(count);
    const double each = (residentKiB(service.pid()) - before) / static_cast<double>(count);

    const std::string name = std::to_string(count) + " idle connections: ";
    printRow(name + "memory of each", figure(each, "KiB"), "-", "-", "<= 64 KiB");
    const double broadcast = broadcastSeconds(poster, listeners);
    printRow(name + "broadcast", figure(broadcast * 1e6, "us"), "-", "-", "linear");
    const double wake = wakeSeconds(poster, listeners);
    printRow(name + "broadcast to waiting readers", figure(wake * 1e3, "ms"), "-", "-", "linear");
}

} // namespace

void benchIdleConnections()
{
    rlimit descriptors;
    ::getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = descriptors.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &descriptors);
    for (const size_t count : {10, 100, 1000})
        benchListeners(count);
}

} // namespace tavu::bench
