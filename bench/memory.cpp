#include "cases.h"
#include "measure.h"
#include "registry/file_record.h"
#include "trips.h"

#include <fstream>
#include <memory>
#include <stdexcept>

namespace tavu::bench {

namespace {

/// A size that the system tells of a process, in KiB.
double statusKiB(const Process &process, const std::string &key)
{
    std::ifstream status("/proc/" + std::to_string(process.pid()) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(key + ":", 0) == 0)
            return std::stod(line.substr(key.size() + 1));
    }
    throw std::runtime_error("the service has no " + key);
}

double residentKiB(const Process &process)
{
    return statusKiB(process, "VmRSS");
}

/// Lets the peak begin anew.
void forgetPeak(const Process &process)
{
    std::ofstream("/proc/" + std::to_string(process.pid()) + "/clear_refs") << "5";
}

void benchConnections()
{
    constexpr int count = 1000;
    Workplace workplace;
    const ServiceProcess service;
    Client first;
    first.deviceCount();
    const double idle = residentKiB(service);
    printFigure("memory of the idle service", idle, "KiB", "-");
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < count; ++i) {
        clients.push_back(std::make_unique<Client>());
        clients.back()->createEventQueue();
    }
    printFigure("memory of each of 1,000 idle connections with a queue",
                (residentKiB(service) - idle) / count, "KiB", "<= 64");
}

void benchLongList()
{
    constexpr uint32_t count = 100'000;
    constexpr double listKiB = double(count) * sizeof(FileRecord) / 1024;
    workplaceWith(count);
    const ServiceProcess service;
    Client client;
    client.deviceCount();
    const double before = residentKiB(service);
    forgetPeak(service);
    if (client.listFiles(0).size() != count)
        throw std::runtime_error("the service doesn't list all recordings");
    const double peak = statusKiB(service, "VmHWM") - before;
    printFigure("listFiles of 100,000: memory at its peak, beside one copy of the list",
                peak - listKiB, "KiB", "-");
    printFigure("listFiles of 100,000: memory that stays", residentKiB(service) - before, "KiB",
                "-");
}

} // namespace

void benchMemory()
{
    benchConnections();
    benchLongList();
}

} // namespace tavu::bench
