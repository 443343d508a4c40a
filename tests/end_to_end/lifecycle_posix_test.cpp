#include "harness/service.h"

#include <atomic>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>

namespace tavu::test {
namespace {

// All threads are at work in the service when it ends, and look at what others of them hold.
TEST(LifeCycle, AFailingAcceptCutsAllClientsOff)
{
    Service service({"noautoclose"});
    std::atomic<int> arrived = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 24; i++)
        threads.emplace_back([&arrived] {
            try {
                Client client;
                arrived++;
                for (;;)
                    client.call(1, concat("queueId=", client.result(0)["queueId"].text));
            } catch (const std::runtime_error &end) {
                EXPECT_STREQ(end.what(), "the service closed the connection");
            }
        });
    EXPECT_TRUE(waitUntil([&] { return arrived == 24; }));
    const rlimit standardStreams = {3, 3};
    const auto process = static_cast<pid_t>(service.native());
    EXPECT_EQ(prlimit(process, RLIMIT_NOFILE, &standardStreams, nullptr), 0);
    Client(false); // the one that the service has been waiting for already
    EXPECT_EQ(service.waitForExit(), 0);
    for (std::thread &thread : threads)
        thread.join();
}

} // namespace
} // namespace tavu::test
