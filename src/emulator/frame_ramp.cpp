#include "emulator/frame_ramp.h"

#include <bit>

// Every x86-64 processor stores 16 bytes at a time, nearly every one 32. A frame is little else
// than stores, so that those take half the time; whether they are there shows when the program
// runs.
#if defined(__GNUC__) && defined(__x86_64__)
#define TAVU_WIDE_STORES __attribute__((target("avx2")))
#define TAVU_INLINE __attribute__((always_inline)) inline
#define TAVU_HAS_WIDE_STORES __builtin_cpu_supports("avx2")
#else
#define TAVU_WIDE_STORES
#define TAVU_INLINE inline
#define TAVU_HAS_WIDE_STORES false
#endif

namespace tavu {

namespace {

/// Pixels per inner loop: a constant count, and a counter no wider than a pixel, so that compilers
/// vectorise it into little more than its stores.
constexpr uint16_t kBlock = 64;

constexpr uint16_t littleEndian(uint16_t value)
{
    if constexpr (std::endian::native == std::endian::big)
        return static_cast<uint16_t>(value << 8 | value >> 8);
    return value;
}

TAVU_INLINE void fill(uint16_t *pixels, size_t count, uint16_t first)
{
    for (; count >= kBlock; count -= kBlock) {
        for (uint16_t i = 0; i < kBlock; ++i)
            pixels[i] = littleEndian(static_cast<uint16_t>(first + i));
        pixels += kBlock;
        first = static_cast<uint16_t>(first + kBlock);
    }
    for (; count > 0; --count)
        *pixels++ = littleEndian(first++);
}

TAVU_WIDE_STORES void fillWide(uint16_t *pixels, size_t count, uint16_t first)
{
    fill(pixels, count, first);
}

} // namespace

void fillRamp(uint16_t *pixels, size_t count, uint16_t first)
{
    if (TAVU_HAS_WIDE_STORES)
        fillWide(pixels, count, first);
    else
        fill(pixels, count, first);
}

} // namespace tavu
