#pragma once

#include <bit>
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

/// Turns the order of the bytes around; compilers know these steps as one instruction.
constexpr uint64_t reversedBytes(uint64_t number)
{
    number = (number & 0x00FF00FF00FF00FF) << 8 | (number >> 8 & 0x00FF00FF00FF00FF);
    number = (number & 0x0000FFFF0000FFFF) << 16 | (number >> 16 & 0x0000FFFF0000FFFF);
    return number << 32 | number >> 32;
}

/// The number whose bytes, read in memory order, go from the most significant on.
constexpr uint64_t toBigEndian(uint64_t number)
{
    return std::endian::native == std::endian::big ? number : reversedBytes(number);
}

/// Writes the bytes of an unsigned number, most significant first.
template <typename Number>
void storeBigEndian(unsigned char *target, Number number)
{
    const uint64_t bytes = toBigEndian(uint64_t(number) << (64 - 8 * sizeof number));
    std::memcpy(target, &bytes, sizeof number);
}

/// The unsigned number that eight bytes make, most significant first.
inline uint64_t loadBigEndian(const unsigned char *source)
{
    uint64_t bytes;
    std::memcpy(&bytes, source, sizeof bytes);
    return toBigEndian(bytes);
}

/// How long text may be for lengthToNul().
inline constexpr uint32_t kLongestCut = 16;

/// Where text of at most kLongestCut bytes has its first NUL, or \a length. So many bytes are read,
/// whatever the length.
inline uint32_t lengthToNul(const char *text, uint32_t length)
{
    const auto firstNul = [](const char *eightBytes) {
        uint64_t bytes;
        std::memcpy(&bytes, eightBytes, sizeof bytes);
        if constexpr (std::endian::native == std::endian::big)
            bytes = reversedBytes(bytes);
        // The lowest bit left is the top bit of the first byte that is 0.
        const uint64_t nuls = (bytes - 0x0101010101010101) & ~bytes & 0x8080808080808080;
        return static_cast<uint32_t>(std::countr_zero(nuls)) / 8;
    };
    const uint32_t low = firstNul(text), high = firstNul(text + 8);
    const uint32_t first = low < 8 ? low : 8 + high;
    return first < length ? first : length;
}

} // namespace tavu
