#include "peers/roles.h"

#include <cstdio>
#include <exception>
#include <string_view>

namespace {

using namespace tavu::bench;

constexpr struct
{
    const char *name;
    void (*run)(const Arguments &arguments);
} kRoles[] = {
    {"echo", serveEcho},
    {"list", serveList},
    {"queues", serveQueues},
    {"read-records", readRecords},
    {"read-metadata", readMetadata},
};

} // namespace

/// bench_peer ROLE ARGUMENTS...: a program of its own, which links nothing that would make its
/// start longer than that of the service.
int main(int argumentCount, char **arguments)
{
    try {
        for (const auto &role : kRoles) {
            if (argumentCount > 1 && std::string_view(arguments[1]) == role.name) {
                role.run(Arguments(arguments + 2, arguments + argumentCount));
                return 0;
            }
        }
        std::fprintf(stderr, "bench_peer: there is no such role\n");
    } catch (const std::exception &error) {
        std::fprintf(stderr, "bench_peer: %s\n", error.what());
    }
    return 1;
}
