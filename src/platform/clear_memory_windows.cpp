#include "platform/clear_memory.h"

#include <windows.h>

namespace tavu {

size_t memoryPageSize()
{
    SYSTEM_INFO system = {};
    GetSystemInfo(&system);
    return system.dwPageSize;
}

std::optional<std::vector<bool>> providedPages(const void * /*firstPage*/, size_t /*pageCount*/)
{
    // A page that isn't in the working set can be one that was trimmed from it.
    return std::nullopt;
}

} // namespace tavu
