#include "cases.h"
#include "measure.h"

#include <cstdio>
#include <exception>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

using namespace tavu::bench;

constexpr struct
{
    const char *name;
    void (*run)();
} kCases[] = {
    {"round-trip", benchRoundTrip}, {"clients", benchClients},        {"frames", benchFrames},
    {"lists", benchLists},          {"client-list", benchClientList}, {"start-up", benchStartUp},
    {"queues", benchQueues},        {"memory", benchMemory},          {"recording", benchRecording},
    {"recorders", benchRecorders},
};

/// A thousand connections take more descriptors than one mostly starts with.
void raiseDescriptorLimit()
{
    rlimit descriptors;
    ::getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = descriptors.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &descriptors);
}

void run(const std::vector<std::string> &words)
{
    if (words.size() == 2 && words[0] == "--serve")
        return serveTrips(words[1]);
    for (size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--quick")
            measureQuickly();
        else if (words[i] == "--service")
            useService(words.at(++i));
    }
    for (const auto &entry : kCases) {
        for (const std::string &word : words) {
            if (word == entry.name)
                entry.run();
        }
    }
}

} // namespace

/// service_bench [--quick] [--service PATH] CASE...
int main(int argumentCount, char **arguments)
{
    try {
        raiseDescriptorLimit();
        run({arguments + 1, arguments + argumentCount});
    } catch (const std::exception &error) {
        std::fprintf(stderr, "service_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
