#include "platform/turn_lock.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

namespace tavu {
namespace {

// Each thread joins the line only when the one before it stands there, so the order is known.
TEST(TurnLockTest, servesInOrderAndPassesOverThoseWhoWereThere)
{
    TurnLock lock;
    std::vector<int> served, passedOver;
    std::optional<TurnLock::Turn> holder(lock);
    ASSERT_TRUE(holder->hasCome());
    uint64_t mark = 0;
    std::vector<std::thread> threads;
    const auto join = [&](int name) {
        const uint64_t end = holder->lineEnd();
        threads.emplace_back([&, name] {
            TurnLock::Turn turn(lock);
            EXPECT_FALSE(turn.hasCome());
            if (turn.wait())
                served.push_back(name); // guarded by the lock
            else if (name == 1)
                passedOver.push_back(name);
        });
        while (holder->lineEnd() == end)
            std::this_thread::yield();
    };
    for (int name = 0; name < 2; name++)
        join(name);
    mark = holder->lineEnd();
    for (int name = 2; name < 8; name++)
        join(name);
    holder->passOver(mark);
    holder.reset();
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(served, (std::vector<int>{2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(passedOver, std::vector<int>{1});
}

TEST(TurnLockTest, aPlaceThatIsLeftUnusedHoldsNobodyUp)
{
    TurnLock lock;
    std::optional<TurnLock::Turn> holder(lock);
    std::optional<TurnLock::Turn> unused(lock);
    TurnLock::Turn last(lock);
    std::thread other([&] { unused.reset(); });
    holder.reset();
    EXPECT_TRUE(last.wait());
    other.join();
}

} // namespace
} // namespace tavu
