#include "harness/recording.h"
#include "harness/service.h"

#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <stdexcept>
#include <sys/resource.h>
#include <thread>

namespace tavu::test {
namespace {

// The service ends while all its threads are at work on data that they share. Faults of that kind
// don't show each time, so this is repeated.
TEST(LifeCycle, AFailingAcceptCutsAllClientsOff)
{
    Service service({"noautoclose"});
    const auto descriptors = [&] {
        return std::distance(
            std::filesystem::directory_iterator(concat("/proc/", service.processId(), "/fd")), {});
    };
    for (int round = 0; round < 8; round++) {
        // When the first object of a class goes, the sanitizer needs descriptors to look at it. So
        // a client comes and goes while there are some.
        Client passing;
        passing.result("deviceCount");
        const auto held = descriptors();
        passing.close();
        EXPECT_TRUE(waitUntil([&] { return descriptors() < held; }));

        std::atomic<int> arrived = 0;
        const auto keepBusy = [&arrived] {
            Client client;
            for (arrived++; client.send(encodeRequest("createEventQueue", encodeMap("")));)
                try {
                    client.call("destroyEventQueue",
                                concat("queueId=", client.reply()["result"]["queueId"].text));
                } catch (const std::runtime_error &) { // the end
                }
        };
        std::vector<std::jthread> clients;
        for (int i = 0; i < 24; i++)
            clients.emplace_back(keepBusy);
        EXPECT_TRUE(waitUntil([&] { return arrived == 24; }));
        // Fewer descriptors than the clients hold, so that no further client can be accepted.
        const rlimit few = {16, 16};
        EXPECT_EQ(prlimit(static_cast<pid_t>(service.processId()), RLIMIT_NOFILE, &few, nullptr),
                  0);
        {
            Client last(false);
        } // the accept that is under way still succeeds
        EXPECT_EQ(service.waitForExit(), 0);
        service.start();
    }
}

} // namespace
} // namespace tavu::test
