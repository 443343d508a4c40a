#include "platform/clear_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace tavu {
namespace {

TEST(ClearMemoryTest, clearsEveryByteAndNoOther)
{
    constexpr size_t kLarge = size_t(3) << 20;
    for (const size_t size : {size_t(0), size_t(1), size_t(4097), kLarge, kLarge + 4095}) {
        for (const size_t offset : {size_t(1), size_t(4095)}) {
            std::vector<unsigned char> bytes(offset + size + 1, 0xA5);
            clearMemory(bytes.data() + offset, size);
            const auto begin = bytes.begin() + static_cast<ptrdiff_t>(offset);
            EXPECT_TRUE(std::all_of(begin, begin + static_cast<ptrdiff_t>(size),
                                    [](unsigned char byte) { return byte == 0; }));
            EXPECT_EQ(size_t(std::count(bytes.begin(), bytes.end(), 0xA5)), offset + 1);
        }
    }
}

// A block of which the system has provided a few pages only: those are cleared, the others stay
// what they are.
TEST(ClearMemoryTest, leavesWhatWasNeverUsedUntouched)
{
    constexpr size_t kSize = size_t(64) << 20;
    const size_t page = memoryPageSize();
    const std::unique_ptr<unsigned char[]> block(new unsigned char[kSize]);
    unsigned char *const first =
        block.get() + (page - reinterpret_cast<uintptr_t>(block.get()) % page) % page;
    const size_t pages = kSize / page - 1;
    const size_t used = pages / 2;
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
