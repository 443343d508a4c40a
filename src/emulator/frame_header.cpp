#include "emulator/frame_header.h"

#include <cstddef>
#include <iterator>

namespace tavu {

namespace {

struct FixedField
{
    uint8_t offset;
    uint8_t size;
    uint32_t value;
};

constexpr FixedField kFixedFields[] = {
    {0, 1, 0x0F},        {10, 4, 0x77AA0000}, {14, 1, 'F'},    {15, 1, 'w'},        {16, 1, 'r'},
    {17, 1, 'x'},        {18, 2, 0x1DD8},     {24, 4, 12500},  {28, 4, 0x003F0000}, {44, 2, 15000},
    {50, 4, 208333},     {54, 4, 16383},      {59, 1, 9},      {60, 1, 3},          {61, 1, 1},
    {62, 4, 0x780E08FC}, {66, 4, 0x78407822}, {70, 2, 0x7A52}, {90, 4, 0x0001000E},
};
constexpr size_t kTimeWords = 2; ///< offset of four words of 16 bits
constexpr size_t kFrameNumber = 20;

void put(FrameHeader &header, size_t offset, size_t size, uint32_t value)
{
    for (size_t i = 0; i < size; ++i, value >>= 8)
        header[offset + i] = static_cast<uint8_t>(value);
}

} // namespace

FrameHeader makeFrameHeader(uint64_t clock, uint32_t frameNumber)
{
    const auto day = static_cast<uint32_t>(clock / 86400000 % 366);
    const auto hour = static_cast<uint32_t>(clock / 3600000 % 24);
    const auto minute = static_cast<uint32_t>(clock / 60000 % 60);
    const auto second = static_cast<uint32_t>(clock / 1000 % 60);
    const auto microseconds = static_cast<uint32_t>(clock % 1000 * 1000);

    // The hour straddles the first two words: its bits above the lowest four go with the day.
    const uint32_t words[] = {
        day * 4 | (hour >> 4 & 3),
        hour << 12 | minute << 6 | second,
        microseconds >> 16,
        microseconds,
    };
    FrameHeader header{};
    for (const FixedField &field : kFixedFields)
        put(header, field.offset, field.size, field.value);
    for (size_t i = 0; i < std::size(words); ++i)
        put(header, kTimeWords + 2 * i, 2, words[i]);
    put(header, kFrameNumber, 4, frameNumber);
    return header;
}

} // namespace tavu
