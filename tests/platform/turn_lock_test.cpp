#include "platform/turn_lock.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

namespace tavu {
namespace {

// Each thread joins the line only when the one before it stands there, so the order is known.
TEST(TurnLockTest, ServesInOrderAndPassesOverThoseWhoWereThere)
{
    TurnLock lock;
    std::vector<int> served;
    std::optional<TurnLock::Turn> holder(lock);
    ASSERT_TRUE(holder->hasCome());
    uint64_t mark = 0;
    std::vector<std::jthread> threads;
    for (int name = 0; name < 8; ++name) {
        const uint64_t end = holder->lineEnd();
        if (name == 2)
            mark = end;
        threads.emplace_back([&, name] {
            TurnLock::Turn turn(lock);
            EXPECT_FALSE(turn.hasCome());
            if (turn.wait())
                served.push_back(name); // guarded by the lock
        });
        while (holder->lineEnd() == end)
            std::this_thread::yield();
    }
    holder->passOver(mark);
    holder.reset();
    threads.clear();
    EXPECT_EQ(served, (std::vector{2, 3, 4, 5, 6, 7}));
}

TEST(TurnLockTest, APlaceThatIsLeftUnusedHoldsNobodyUp)
{
    TurnLock lock;
    std::optional<TurnLock::Turn> holder(lock), unused(lock);
    TurnLock::Turn last(lock);
    const std::jthread other([&] { unused.reset(); });
    holder.reset();
    EXPECT_TRUE(last.wait());
}

} // namespace
} // namespace tavu
