#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tavu {

/// Zeroes memory. What the system hasn't provided yet of a large block reads as zeros and isn't
/// touched: it costs neither memory nor the time that it would take to look at it.
void clearMemory(void *memory, uint64_t byteCount);

/// Looks up whether the system has provided memory for \a pageCount pages from \a firstPage on,
/// which is aligned to a page. True for a page that may hold anything, false for one that reads as
/// zeros. Empty when the system can't tell.
std::optional<std::vector<bool>> providedPages(const void *firstPage, size_t pageCount);

/// Bytes of a page of memory, a power of two.
size_t memoryPageSize();

} // namespace tavu
