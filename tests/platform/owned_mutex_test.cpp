#include "platform/owned_mutex.h"

#include <gtest/gtest.h>

#include <system_error>

namespace tavu {
namespace {

template <typename Action>
std::error_code errorOf(const Action &action)
{
    try {
        action();
    } catch (const std::system_error &error) {
        return error.code();
    }
    return std::error_code();
}

TEST(OwnedMutexTest, misuseRaisesAndLeavesTheMutexAsItWas)
{
    OwnedMutex mutex;
    EXPECT_EQ(errorOf([&] { mutex.unlock(); }), std::errc::operation_not_permitted);
    mutex.lock();
    EXPECT_EQ(errorOf([&] { mutex.lock(); }), std::errc::device_or_resource_busy);
    EXPECT_FALSE(mutex.try_lock());
    std::thread([&] {
        EXPECT_EQ(errorOf([&] { mutex.unlock(); }), std::errc::operation_not_permitted);
        EXPECT_FALSE(mutex.try_lock());
    }).join();
    mutex.unlock();
    EXPECT_TRUE(mutex.try_lock());
    EXPECT_EQ(errorOf([&] { mutex.lock(); }), std::errc::device_or_resource_busy);
    mutex.unlock();
    EXPECT_EQ(errorOf([&] { mutex.unlock(); }), std::errc::operation_not_permitted);
}

TEST(OwnedMutexTest, excludesOthers)
{
    OwnedMutex mutex;
    int count = 0;
    auto work = [&] {
        for (int i = 0; i < 10000; ++i) {
            std::lock_guard guard(mutex);
            ++count;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(count, 20000);
}

} // namespace
} // namespace tavu
