#include "platform/clear_memory.h"

#include <algorithm>
#include <cstring>

// The thread sanitizer would note each byte that is looked at, at a multiple of its size.
#ifdef __SANITIZE_THREAD__
#define TAVU_UNWATCHED __attribute__((no_sanitize_thread))
#else
#define TAVU_UNWATCHED
#endif

namespace tavu {

namespace {

/// Larger blocks mostly come fresh from the system.
constexpr uint64_t kLargeBlock = 1 << 20;
/// So many pages are looked up at a time.
constexpr size_t kPagesAtOnce = 65536;

TAVU_UNWATCHED bool isZero(const unsigned char *bytes, size_t size)
{
    uint64_t bits = 0, word = 0;
    for (; size >= sizeof word; bytes += sizeof word, size -= sizeof word) {
        std::memcpy(&word, bytes, sizeof word);
        bits |= word;
    }
    for (; size > 0; ++bytes, --size)
        bits |= *bytes;
    return bits == 0;
}

/// Pages that are zero are only looked at: looking doesn't cost their memory.
void clearWhereNeeded(unsigned char *page, size_t size)
{
    if (!isZero(page, size))
        std::memset(page, 0, size);
}

void clearPages(unsigned char *first, size_t count)
{
    const size_t pageSize = memoryPageSize();
    const auto provided = providedPages(first, count);
    for (size_t i = 0; i < count; ++i) {
        if (!provided || (*provided)[i])
            clearWhereNeeded(first + i * pageSize, pageSize);
    }
}

} // namespace

void clearMemory(void *memory, uint64_t byteCount)
{
    auto *bytes = static_cast<unsigned char *>(memory);
    auto left = static_cast<size_t>(byteCount);
    if (left >= kLargeBlock) {
        const size_t pageSize = memoryPageSize();
        const size_t head = (0 - reinterpret_cast<uintptr_t>(bytes)) & (pageSize - 1);
        std::memset(bytes, 0, head);
        bytes += head;
        left -= head;
        while (left >= pageSize) {
            const size_t count = std::min(left / pageSize, kPagesAtOnce);
            clearPages(bytes, count);
            bytes += count * pageSize;
            left -= count * pageSize;
        }
    }
    if (left > 0)
        std::memset(bytes, 0, left);
}

} // namespace tavu
