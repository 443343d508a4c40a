#include "harness/service.h"

#include <atomic>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>

namespace tavu::test {
namespace {

/// Creates and destroys event queues until it is cut off.
void keepBusy(std::atomic<int> &arrived)
{
    try {
        Client client;
        arrived++;
        for (;;)
            client.call(1, concat("queueId=", client.result(0)["queueId"].text));
    } catch (const std::runtime_error &end) {
        EXPECT_STREQ(end.what(), "the service closed the connection");
    }
}

// The service ends while all threads are at work in it, and look at what the others hold: several
// times, because what then goes wrong goes wrong now and then.
TEST(LifeCycle, AFailingAcceptCutsAllClientsOff)
{
    Service service({"noautoclose"});
    for (int round = 0; round < 8; round++) {
        std::atomic<int> arrived = 0;
        std::vector<std::jthread> clients;
        for (int i = 0; i < 24; i++)
            clients.emplace_back([&arrived] { keepBusy(arrived); });
        EXPECT_TRUE(waitUntil([&] { return arrived == 24; }));
        // Fewer descriptors than the clients hold; those they give back are needed at the very end.
        const rlimit few = {16, 16};
        EXPECT_EQ(prlimit(static_cast<pid_t>(service.native()), RLIMIT_NOFILE, &few, nullptr), 0);
        Client(false); // the one that the service has been waiting for already
        EXPECT_EQ(service.waitForExit(), 0);
        service.start();
    }
}

} // namespace
} // namespace tavu::test
