#pragma once

#include <cstdint>
#include <cstring>

namespace tavu {

/// std::memcpy for lengths that are mostly a few bytes, where the call would cost more than the
/// copy. Null pointers are fine with a length of 0.
inline void copyBytes(void *target, const void *source, uint64_t byteCount)
{
    auto *to = static_cast<unsigned char *>(target);
    auto *from = static_cast<const unsigned char *>(source);
    // Two pieces of a fixed size, which overlap unless the length is just twice that size.
    const auto copyEnds = [&](auto piece) {
        decltype(piece) head, tail;
        std::memcpy(&head, from, sizeof head);
        std::memcpy(&tail, from + byteCount - sizeof tail, sizeof tail);
        std::memcpy(to, &head, sizeof head);
        std::memcpy(to + byteCount - sizeof tail, &tail, sizeof tail);
    };
    if (byteCount > 16)
        std::memcpy(to, from, static_cast<size_t>(byteCount));
    else if (byteCount >= 8)
        copyEnds(uint64_t());
    else if (byteCount >= 4)
        copyEnds(uint32_t());
    else if (byteCount >= 2)
        copyEnds(uint16_t());
    else if (byteCount == 1)
        *to = *from;
}

/// Writes the bytes of an unsigned number, most significant first.
template <typename Number>
void storeBigEndian(unsigned char *target, Number number)
{
    for (unsigned i = 0; i < sizeof number; ++i)
        target[i] = static_cast<unsigned char>(number >> (8 * (sizeof number - 1 - i)));
}

/// The unsigned number that eight bytes make, most significant first.
inline uint64_t loadBigEndian(const unsigned char *source)
{
    uint64_t number = 0;
    for (unsigned i = 0; i < sizeof number; ++i)
        number |= static_cast<uint64_t>(source[i]) << (8 * (sizeof number - 1 - i));
    return number;
}

} // namespace tavu
