#include "cases.h"

#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

namespace {

constexpr struct
{
    const char *name;
    void (*run)();
} kCases[] = {
    {"round-trip", tavu::bench::benchRoundTrip}, {"frames", tavu::bench::benchFrames},
    {"start-up", tavu::bench::benchStartUp},     {"idle", tavu::bench::benchIdleConnections},
    {"recording", tavu::bench::benchRecording},  {"recorders", tavu::bench::benchRecorders},
};

} // namespace

/// service_bench [case]...
int main(int argumentCount, char **arguments)
{
    try {
        if (argumentCount == 4 && std::string_view(arguments[1]) == "--read-records") {
            tavu::bench::readRecords(arguments[2], static_cast<uint32_t>(std::stoul(arguments[3])));
            return 0;
        }
        if (argumentCount == 2 && std::string_view(arguments[1]) == "--read-metadata") {
            tavu::bench::readMetadata();
            return 0;
        }
        for (const auto &entry : kCases) {
            bool wanted = argumentCount == 1;
            for (int i = 1; i < argumentCount; ++i)
                wanted = wanted || std::string_view(arguments[i]) == entry.name;
            if (wanted)
                entry.run();
        }
    } catch (const std::exception &error) {
        std::fprintf(stderr, "service_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
