#pragma once

#include "storage/file_record.h"
#include "storage/stripe_space.h"

#include <cstdint>

namespace simulator {

// How frames lie in the bytes of their stream: each is a header and its pixels, and all take the
// same space.

inline constexpr uint64_t kFrameHeaderBytes = 384;

/// Bytes that the pixels of one frame take.
uint64_t pixelBytes(const StreamRecord &stream);
/// Bytes that one frame takes.
uint64_t frameStride(const StreamRecord &stream);

/// Fills \a header, of kFrameHeaderBytes. \a time is in 100 ns units since 1601.
void writeFrameHeader(uint8_t *header, uint32_t fileId, const StreamRecord &stream, uint64_t number,
                      uint64_t time);

/// Whether frame \a number of the stream lies whole on the drives. Raises
/// Common::GeneralException.
bool holdsFrame(const StripeSpace &space, uint32_t fileId, const StreamRecord &stream,
                uint64_t number);

} // namespace simulator
