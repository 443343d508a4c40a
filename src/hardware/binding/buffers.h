#pragma once

#include "hardware/library/common.h"

#include <cstdint>

namespace tavu {

// Buffers for the library to fill or to store. The library leaves a new buffer's bytes unset. These
// are zeroed, so that no stray bytes of memory reach a drive or a client.

/// A buffer from the library's object allocator, of exactly \a size bytes: for transfers with a
/// camera.
boost::shared_ptr<Common::Buffer> allocateBuffer(uint64_t size);

/// A buffer that the library makes, of \a size bytes: for blocks of a drive file.
boost::shared_ptr<Common::Buffer> createBuffer(uint64_t size);

} // namespace tavu
