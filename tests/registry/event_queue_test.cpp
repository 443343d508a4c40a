#include "registry/event_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace tavu {
namespace {

TEST(EventQueueTest, HandsEventsOutInOrderAndLeavesTheTargetAloneWhenEmpty)
{
    EventQueue queue;
    DeviceEvent event{EventType::PairingChanged, 8, 9};
    EXPECT_FALSE(queue.tryPop(event));
    EXPECT_EQ(event.port, 9u);
    for (uint32_t i = 0; i < 1000; ++i)
        queue.push(DeviceEvent{EventType::FilesChanged, i, 2 * i});
    for (uint32_t i = 0; i < 1000; i += 2) {
        EXPECT_EQ(queue.pop().device, i);
        ASSERT_TRUE(queue.tryPop(event));
        EXPECT_EQ(event.port, 2 * i + 2);
    }
    EXPECT_TRUE(queue.isEmpty());
    queue.push(event);
    queue.clear();
    EXPECT_TRUE(queue.isEmpty());
}

// An event that is gone again before the reader gets it wakes the reader, but its wait must end at
// the same time as without.
TEST(EventQueueTest, TimedReadEndsAtTheDeadlineSetAtEntry)
{
    using namespace std::chrono;
    EventQueue queue;
    std::atomic<bool> done{false};
    std::thread disturber([&] {
        while (!done) {
            queue.push(DeviceEvent{EventType::FilesChanged, 1, 1});
            queue.clear();
            std::this_thread::sleep_for(milliseconds(50));
        }
    });
    DeviceEvent event;
    steady_clock::duration waited{};
    do { // until no event of the disturber was read
        const auto start = steady_clock::now();
        event = queue.pop();
        waited = steady_clock::now() - start;
    } while (event.type != EventType::NoEvent);
    done = true;
    disturber.join();
    EXPECT_EQ(event.device, 0u);
    EXPECT_EQ(event.port, 0u);
    EXPECT_GE(waited, milliseconds(500));
    EXPECT_LT(waited, seconds(5));
}

} // namespace
} // namespace tavu
