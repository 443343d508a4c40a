#include "hardware/binding/buffers.h"

#include "hardware/binding/handles.h"

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

constexpr uint64_t kPageSize = 4096;
/// Larger blocks mostly come fresh from the system.
constexpr uint64_t kLargeBlock = 1 << 20;

TAVU_UNWATCHED bool isZero(const unsigned char *page, size_t size)
{
    uint64_t bits = 0, word = 0;
    for (; size >= sizeof word; page += sizeof word, size -= sizeof word) {
        std::memcpy(&word, page, sizeof word);
        bits |= word;
    }
    for (; size > 0; ++page, --size)
        bits |= *page;
    return bits == 0;
}

/// Zeroes memory. Of a large block the pages that are zero already are only looked at, so that a
/// transfer which is announced and then refused doesn't cost the memory it announced.
void clear(unsigned char *bytes, uint64_t size)
{
    if (size < kLargeBlock) {
        if (size > 0)
            std::memset(bytes, 0, static_cast<size_t>(size));
        return;
    }
    for (uint64_t offset = 0; offset < size; offset += kPageSize) {
        unsigned char *const page = bytes + offset;
        const auto length = static_cast<size_t>(std::min(kPageSize, size - offset));
        if (!isZero(page, length))
            std::memset(page, 0, length);
    }
}

boost::shared_ptr<Common::Buffer> zeroed(boost::shared_ptr<Common::Buffer> buffer, uint64_t size)
{
    auto *bytes = static_cast<unsigned char *>(buffer->data());
    if (buffer->size() < size || (size > 0 && !bytes))
        throw std::runtime_error("Common::Buffer is too small.");
    clear(bytes, size);
    return buffer;
}

} // namespace

boost::shared_ptr<Common::Buffer> allocateBuffer(uint64_t size)
{
    return zeroed(boost::shared_ptr<Common::Buffer>(new Common::Buffer(size)), size);
}

boost::shared_ptr<Common::Buffer> createBuffer(uint64_t size)
{
    return zeroed(given(Common::Buffer::create(nullptr, size), "Common::Buffer::create"), size);
}

} // namespace tavu
