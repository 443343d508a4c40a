#include "platform/clear_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

namespace tavu {
namespace {

TEST(ClearMemoryTest, ClearsEveryByteAndNoOther)
{
    constexpr size_t kLarge = size_t(3) << 20;
    for (const size_t size : {size_t(0), size_t(1), size_t(4097), kLarge, kLarge + 4095}) {
        for (const size_t offset : {1u, 4095u}) {
            std::string bytes(offset + size + 1, 'x');
            clearMemory(bytes.data() + offset, size);
            EXPECT_TRUE(bytes == std::string(offset, 'x') + std::string(size, '\0') + 'x') << size;
        }
    }
}

// The system has provided a few pages only of this block: those are cleared, the others are left
// alone.
TEST(ClearMemoryTest, LeavesPagesAloneThatWereNeverUsed)
{
    constexpr size_t kSize = size_t(64) << 20;
    const size_t page = memoryPageSize(), pages = kSize / page - 1, used = pages / 2;
    const std::unique_ptr<unsigned char[]> block(new unsigned char[kSize]);
    unsigned char *const first =
        block.get() + (page - reinterpret_cast<uintptr_t>(block.get()) % page) % page;
    std::memset(first + used * page, 0xA5, page);
    clearMemory(block.get(), kSize);
    EXPECT_EQ(size_t(std::count(first + used * page, first + (used + 1) * page, 0)), page);
    if (const auto provided = providedPages(first, pages)) {
        EXPECT_TRUE((*provided)[used]);
        EXPECT_LT(size_t(std::count(provided->begin(), provided->end(), true)), pages / 8);
    }
}

} // namespace
} // namespace tavu
