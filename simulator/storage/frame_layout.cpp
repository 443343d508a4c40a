#include "storage/frame_layout.h"

#include <cstring>

namespace simulator {

namespace {

// The numbers in a header, by their place: 8 bytes each, little-endian. File and stream numbers
// don't come back, so they tell a frame from what an earlier recording left in the same place.
enum Field : size_t
{
    Magic,
    File,
    Stream,
    Number,
    Time,
    PortNumber,
    Width,
    Height
};

constexpr uint64_t kMagic = 0x454D'4152'464D'4953; // "SIMFRAME"

void put(uint8_t *header, Field field, uint64_t value)
{
    for (size_t i = 0; i < 8; ++i)
        header[field * 8 + i] = static_cast<uint8_t>(value >> (8 * i));
}

} // namespace

uint64_t pixelBytes(const StreamRecord &stream)
{
    return uint64_t(stream.width) * stream.height * 2;
}

uint64_t frameStride(const StreamRecord &stream)
{
    return kFrameHeaderBytes + pixelBytes(stream);
}

void writeFrameHeader(uint8_t *header, uint32_t fileId, const StreamRecord &stream, uint64_t number,
                      uint64_t time)
{
    std::memset(header, 0, kFrameHeaderBytes);
    put(header, Magic, kMagic);
    put(header, File, fileId);
    put(header, Stream, stream.id);
    put(header, Number, number);
    put(header, Time, time);
    put(header, PortNumber, stream.port);
    put(header, Width, stream.width);
    put(header, Height, stream.height);
}

bool holdsFrame(const StripeSpace &space, uint32_t fileId, const StreamRecord &stream,
                uint64_t number)
{
    const uint64_t stride = frameStride(stream);
    const uint64_t room = stripesOf(stream.extents) * space.stripeBytes() / stride;
    if (number >= room)
        return false;
    const size_t compared = (Number + 1) * 8;
    uint8_t expected[kFrameHeaderBytes];
    uint8_t header[kFrameHeaderBytes];
    writeFrameHeader(expected, fileId, stream, number, 0);
    space.read(stream.extents, number * stride, header, compared);
    return std::memcmp(header, expected, compared) == 0;
}

} // namespace simulator
