#include "cases.h"
#include "catalogue.h"
#include "measure.h"

#include <map>
#include <stdexcept>

namespace tavu::bench {

namespace {

Comparison benchCatalogue(uint32_t count)
{
    const std::string folder = workplaceWith(count).emulator();
    {
        ServiceProcess service;
        Client client;
        if (client.listFiles(0).size() != count)
            throw std::runtime_error("the service doesn't list all recordings");
    }
    const Comparison result = compare(9, startService, [&] {
        return runPeer({"read-records", folder, std::to_string(count)});
    });
    printRow("start with " + std::to_string(count) + " recordings", result, 1e3, "ms", "<= 1.30");
    return result;
}

} // namespace

const Workplace &workplaceWith(uint32_t recordings)
{
    static std::map<uint32_t, Workplace> places;
    const auto [place, isNew] = places.try_emplace(recordings);
    if (isNew)
        plantCatalogue(place->second.emulator(), recordings);
    place->second.enter();
    return place->second;
}

void benchStartUp()
{
    benchCatalogue(1000);
    const Comparison few = benchCatalogue(10'000);
    const Comparison many = benchCatalogue(100'000);
    printGrowth("start: a recording of 100,000 to one of 10,000", few, 10'000, many, 100'000);
}

} // namespace tavu::bench
