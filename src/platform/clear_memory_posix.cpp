#include "platform/clear_memory.h"
#include "platform/descriptor_posix.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace tavu {

namespace {

struct FileCloser
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};

/// Whether all of a range is memory of this process alone, with no file behind it: only there a
/// page that was never provided reads as zeros. As told by /proc/self/maps (proc(5)).
bool isPrivateMemory(uintptr_t begin, uintptr_t end)
{
    const std::unique_ptr<std::FILE, FileCloser> maps(std::fopen("/proc/self/maps", "re"));
    char line[512];
    bool lineBegins = true;
    while (begin < end && maps && std::fgets(line, sizeof line, maps.get())) {
        // A long path makes several pieces of a line.
        const bool isHead = lineBegins;
        lineBegins = std::strchr(line, '\n') != nullptr;
        uintptr_t first = 0, last = 0;
        char permissions[5] = "";
        unsigned long inode = 0;
        if (!isHead || std::sscanf(line, "%" SCNxPTR "-%" SCNxPTR " %4s %*x %*s %lu", &first, &last,
                                   permissions, &inode) != 4)
            continue;
        if (last <= begin)
            continue;
        if (first > begin || permissions[3] != 'p' || inode != 0)
            return false;
        begin = last;
    }
    return begin >= end;
}

} // namespace

size_t memoryPageSize()
{
    static const auto size = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

std::optional<std::vector<bool>> providedPages(const void *firstPage, size_t pageCount)
{
    // Bits of an entry of /proc/self/pagemap, a 64-bit number for each page (the kernel's
    // documentation, "pagemap"): the page is in memory, or in swap.
    constexpr uint64_t kProvided = uint64_t(3) << 62;

    const auto begin = reinterpret_cast<uintptr_t>(firstPage);
    if (!isPrivateMemory(begin, begin + pageCount * memoryPageSize()))
        return std::nullopt;
    const Descriptor pagemap(::open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC));
    if (!pagemap)
        return std::nullopt;
    std::vector<uint64_t> entries(pageCount);
    const size_t size = pageCount * sizeof(uint64_t);
    const auto offset = static_cast<off_t>(begin / memoryPageSize() * sizeof(uint64_t));
    const ssize_t count = ::pread(pagemap.get(), entries.data(), size, offset);
    if (count < 0 || static_cast<size_t>(count) != size)
        return std::nullopt;
    std::vector<bool> provided(pageCount);
    for (size_t i = 0; i < pageCount; ++i)
        provided[i] = (entries[i] & kProvided) != 0;
    return provided;
}

} // namespace tavu
