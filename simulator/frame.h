#pragma once

#include "hardware/library/common.h"

#include <cstdint>

namespace simulator {

boost::shared_ptr<Common::DataType> makeDataType(uint32_t width, uint32_t height,
                                                 uint32_t bitDepth);

/// A frame that shares \a buffer: pixels of 1 byte up to a bit depth of 8, else of 2 bytes,
/// little-endian.
boost::shared_ptr<Common::Frame> makeFrame(uint32_t width, uint32_t height, uint32_t bitDepth,
                                           boost::shared_ptr<Common::Buffer> buffer);

/// Bytes of such a frame.
uint64_t frameBytes(uint32_t width, uint32_t height, uint32_t bitDepth);

} // namespace simulator
