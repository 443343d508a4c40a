#include "service/transport/shared_region.h"
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

HANDLE nativeHandle(intptr_t handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

/// A mapping of the paging file under a new name. Null on failure, also when the name is in use:
/// GetLastError() tells.
HANDLE createMapping(const std::wstring &name, DWORD sizeHigh, DWORD sizeLow,
                     SECURITY_ATTRIBUTES *security)
{
    const HANDLE mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, security, PAGE_READWRITE,
                                              sizeHigh, sizeLow, name.c_str());
    if (mapping && GetLastError() == ERROR_ALREADY_EXISTS) {
        CloseHandle(mapping);
        SetLastError(ERROR_ALREADY_EXISTS);
        return nullptr;
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

void *mapWhole(HANDLE mapping)
{
    return MapViewOfFile(mapping, kMapAccess, 0, 0, 0);
}

} // namespace

bool SharedRegion::createUnique(const std::string &baseName, uint64_t size, bool global)
{
    close();
    SECURITY_ATTRIBUTES *security = global ? sharedSecurityAttributes() : nullptr;
    // The generator is never seeded: names repeat from run to run and from thread to thread, and a
    // name in use costs one more attempt. Any other failure would meet each name alike.
    HANDLE mapping = nullptr;
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
    return adopt(name, reinterpret_cast<intptr_t>(mapping), mapWhole(mapping), size);
}

bool SharedRegion::createNamed(const std::string &name, uint64_t size, bool global)
{
    close();
    const std::string fullName = global ? kGlobalPrefix + name : name;
    SECURITY_ATTRIBUTES *security = global ? sharedSecurityAttributes() : nullptr;
    // Both halves of the mapping's size are the high half of the size asked for, so that nothing
    // below 4 GiB can be created under a chosen name.
    const auto high = static_cast<DWORD>(size >> 32);
    const HANDLE mapping = createMapping(wideText(fullName), high, high, security);
    if (!mapping)
        return false;
    return adopt(fullName, reinterpret_cast<intptr_t>(mapping), mapWhole(mapping), size);
}

bool SharedRegion::open(const std::string &name)
{
    close();
    const HANDLE mapping = OpenFileMappingW(kMapAccess, FALSE, wideText(name).c_str());
    if (!mapping)
        return false;
    mappingName_ = name;
    mappingHandle_ = reinterpret_cast<intptr_t>(mapping);
    view_ = mapWhole(mapping);
    MEMORY_BASIC_INFORMATION region = {};
    if (!view_ || VirtualQuery(view_, &region, sizeof region) == 0) {
        close();
        return false;
    }
    viewSize_ = region.RegionSize;
    return true;
}

void SharedRegion::close()
{
    mappingName_.clear();
    if (view_)
        UnmapViewOfFile(view_);
    if (mappingHandle_ != 0)
        CloseHandle(nativeHandle(mappingHandle_));
    mappingHandle_ = 0;
    view_ = nullptr;
    viewSize_ = 0;
}

void removeStaleRegions(const std::string & /*baseName*/)
{
    // A region goes with the last process that has it open, however that process ended.
}

} // namespace tavu
