#include "service/transport/shared_region.h"
#include "platform/handle_windows.h"
#include "platform/wide_text_windows.h"
#include "service/transport/shared_security_windows.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

namespace tavu {

namespace {

constexpr size_t kNameBytes = 512;
constexpr const char *kGlobalPrefix = "Global\\";
constexpr DWORD kMapAccess = FILE_MAP_READ | FILE_MAP_WRITE;
static_assert(kMapAccess == 6);

/// A mapping of the paging file under a new name. Empty on failure, also when the name is in use:
/// GetLastError() tells.
Handle createMapping(const std::wstring &name, DWORD sizeHigh, DWORD sizeLow,
                     SECURITY_ATTRIBUTES *security)
{
    Handle mapping(CreateFileMappingW(INVALID_HANDLE_VALUE, security, PAGE_READWRITE, sizeHigh,
                                      sizeLow, name.c_str()));
    if (mapping && GetLastError() == ERROR_ALREADY_EXISTS) {
        mapping.reset();
        SetLastError(ERROR_ALREADY_EXISTS);
    }
    return mapping;
}

/// Whether another name may succeed where one failed: it belongs to a mapping, to one that we may
/// not open, or to an object of another kind.
bool nameIsTaken(DWORD error)
{
    return error == ERROR_ALREADY_EXISTS || error == ERROR_ACCESS_DENIED ||
           error == ERROR_INVALID_HANDLE;
}

struct FileMapping final : RegionMapping
{
    FileMapping(const std::string &mappingName, Handle mappingHandle)
        : handle(std::move(mappingHandle))
    {
        name = mappingName;
        view = MapViewOfFile(handle.get(), kMapAccess, 0, 0, 0);
    }
    ~FileMapping() override
    {
        if (view)
            UnmapViewOfFile(view);
    }

    Handle handle;
};

std::unique_ptr<RegionMapping> mapNew(const std::string &name, Handle handle, uint64_t size)
{
    auto mapping = std::make_unique<FileMapping>(name, std::move(handle));
    mapping->viewSize = size;
    return mapping;
}

} // namespace

bool SharedRegion::createUnique(const std::string &baseName, uint64_t size, bool global)
{
    close();
    SECURITY_ATTRIBUTES *security = global ? sharedSecurityAttributes() : nullptr;
    // The generator is never seeded: names repeat from run to run and from thread to thread, and a
    // name in use costs one more attempt. Any other failure would meet each name alike.
    Handle mapping;
    char name[kNameBytes];
    for (int attempt = 0; attempt < kNameAttempts && !mapping;) {
        std::snprintf(name, sizeof name, "%s%s%X", global ? kGlobalPrefix : "", baseName.c_str(),
                      static_cast<unsigned>(std::rand()));
        ++attempt;
        const std::wstring wideName = wideText(name);
        mapping = createMapping(wideName, static_cast<DWORD>(size >> 32), static_cast<DWORD>(size),
                                security);
        if (!mapping && !nameIsTaken(GetLastError())) {
            skipNumbers(attempt);
            break;
        }
    }
    if (!mapping)
        return false;
    return adopt(mapNew(name, std::move(mapping), size));
}

bool SharedRegion::createNamed(const std::string &name, uint64_t size, bool global)
{
    close();
    const std::string fullName = global ? kGlobalPrefix + name : name;
    SECURITY_ATTRIBUTES *security = global ? sharedSecurityAttributes() : nullptr;
    // Both halves of the mapping's size are the high half of the size asked for, so that nothing
    // below 4 GiB can be created under a chosen name.
    const auto high = static_cast<DWORD>(size >> 32);
    Handle mapping = createMapping(wideText(fullName), high, high, security);
    if (!mapping)
        return false;
    return adopt(mapNew(fullName, std::move(mapping), size));
}

bool SharedRegion::open(const std::string &name)
{
    close();
    Handle handle(OpenFileMappingW(kMapAccess, FALSE, wideText(name).c_str()));
    if (!handle)
        return false;
    auto mapping = std::make_unique<FileMapping>(name, std::move(handle));
    MEMORY_BASIC_INFORMATION region = {};
    if (!mapping->view || VirtualQuery(mapping->view, &region, sizeof region) == 0)
        return false;
    mapping->viewSize = region.RegionSize;
    return adopt(std::move(mapping));
}

void removeStaleRegions(const std::string & /*baseName*/)
{
    // A region goes with the last process that has it open, however that process ended.
}

} // namespace tavu
