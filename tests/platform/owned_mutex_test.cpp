#include "platform/owned_mutex.h"

#include <gtest/gtest.h>

#include <system_error>

namespace tavu {
namespace {

TEST(OwnedMutexTest, MisuseRaisesAndLeavesTheMutexAsItWas)
{
    OwnedMutex mutex;
    const auto misuse = [&](void (OwnedMutex::*operation)()) {
        try {
            (mutex.*operation)();
        } catch (const std::system_error &error) {
            return error.code();
        }
        return std::error_code();
    };
    const auto notOurs = std::errc::operation_not_permitted;
    EXPECT_EQ(misuse(&OwnedMutex::unlock), notOurs);
    mutex.lock();
    EXPECT_EQ(misuse(&OwnedMutex::lock), std::errc::device_or_resource_busy);
    EXPECT_FALSE(mutex.try_lock());
    std::thread([&] {
        EXPECT_EQ(misuse(&OwnedMutex::unlock), notOurs);
        EXPECT_FALSE(mutex.try_lock());
    }).join();
    mutex.unlock();
    EXPECT_TRUE(mutex.try_lock());
    EXPECT_EQ(misuse(&OwnedMutex::lock), std::errc::device_or_resource_busy);
    mutex.unlock();
    EXPECT_EQ(misuse(&OwnedMutex::unlock), notOurs);
}

} // namespace
} // namespace tavu
