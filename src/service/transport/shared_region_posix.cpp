#include "service/transport/shared_region.h"
#include "platform/descriptor_posix.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavu {

namespace {

// A region's creator keeps its object open under a shared file lock for as long as the region
// lives, so that an object that can be locked exclusively is one whose creator died.

constexpr size_t kNameBytes = 512;
constexpr const char *kObjectFolder = "/dev/shm";
constexpr mode_t kObjectMode = 0600;

std::string objectName(const std::string &name)
{
    return "/" + name;
}

bool lockObject(int fd, int operation)
{
    int result;
    while ((result = ::flock(fd, operation)) != 0 && errno == EINTR) {
    }
    return result == 0;
}

/// False once the object's name is gone, or stands for another object.
bool hasName(int fd)
{
    struct stat status;
    return ::fstat(fd, &status) == 0 && status.st_nlink > 0;
}

/// Creates an empty object under a name that is not in use and locks it. Empty on failure.
Descriptor createObject(const std::string &name)
{
    Descriptor object(
        ::shm_open(objectName(name).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kObjectMode));
    if (!object)
        return object;
    // The region is its owner's, also under a umask that would take it from them.
    const bool locked =
        ::fchmod(object.get(), kObjectMode) == 0 && lockObject(object.get(), LOCK_SH);
    // A service that started in between may have taken the object for a dead one's and removed it.
    if (locked && hasName(object.get()))
        return object;
    if (!locked)
        ::shm_unlink(objectName(name).c_str());
    return Descriptor();
}

/// Gives the object its memory, all of it now: a page that can't be had later would end the process
/// that touches it.
bool reserve(int fd, uint64_t size)
{
    int error;
    while ((error = ::posix_fallocate(fd, 0, static_cast<off_t>(size))) == EINTR) {
    }
    return error == 0;
}

void *mapObject(int fd, uint64_t size)
{
    void *view =
        ::mmap(nullptr, static_cast<size_t>(size), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return view == MAP_FAILED ? nullptr : view;
}

struct SharedMemoryMapping final : RegionMapping
{
    ~SharedMemoryMapping() override
    {
        if (view)
            ::munmap(view, static_cast<size_t>(mappedSize));
        // The name goes with its creator; whoever has mapped the region keeps its bytes.
        if (object)
            ::shm_unlink(objectName(name).c_str());
    }

    Descriptor object;       ///< the creator's
    uint64_t mappedSize = 0; ///< bytes; the view may tell of fewer
};

/// The mapping of a new object that has its memory.
std::unique_ptr<RegionMapping> mapNew(const std::string &name, Descriptor object,
                                      uint64_t objectSize, uint64_t viewSize)
{
    auto mapping = std::make_unique<SharedMemoryMapping>();
    mapping->name = name;
    mapping->mappedSize = objectSize;
    mapping->viewSize = viewSize;
    mapping->view = mapObject(object.get(), objectSize);
    mapping->object = std::move(object);
    return mapping;
}

} // namespace

bool SharedRegion::createUnique(const std::string &baseName, uint64_t size, bool /*global*/)
{
    close();
    Descriptor object;
    int attempt = 0;
    char name[kNameBytes];
    // The generator is never seeded: names repeat from run to run, and a name in use costs one more
    // attempt. A region of no bytes fails at each attempt.
    for (; attempt < kNameAttempts && !object; ++attempt) {
        std::snprintf(name, sizeof name, "%s%X", baseName.c_str(),
                      static_cast<unsigned>(std::rand()));
        if (size > 0)
            object = createObject(name);
    }
    if (!object)
        return false;
    if (!reserve(object.get(), size)) {
        skipNumbers(attempt); // another name wouldn't help
        ::shm_unlink(objectName(name).c_str());
        return false;
    }
    return adopt(mapNew(name, std::move(object), size, size));
}

bool SharedRegion::createNamed(const std::string &name, uint64_t size, bool /*global*/)
{
    close();
    // Both halves of the object's size are the high half of the size asked for, so that nothing
    // below 4 GiB can be created under a chosen name.
    const uint64_t high = size >> 32;
    const uint64_t objectSize = high << 32 | high;
    Descriptor object = objectSize > 0 ? createObject(name) : Descriptor();
    if (!object)
        return false;
    if (!reserve(object.get(), objectSize)) {
        ::shm_unlink(objectName(name).c_str());
        return false;
    }
    // Never more than the view has, whatever was asked for.
    return adopt(mapNew(name, std::move(object), objectSize, std::min(size, objectSize)));
}

bool SharedRegion::open(const std::string &name)
{
    close();
    const Descriptor object(::shm_open(objectName(name).c_str(), O_RDWR | O_CLOEXEC, 0));
    struct stat status;
    if (!object || ::fstat(object.get(), &status) != 0 || status.st_size <= 0)
        return false;
    auto mapping = std::make_unique<SharedMemoryMapping>();
    const auto page = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
    mapping->name = name;
    mapping->viewSize = (static_cast<uint64_t>(status.st_size) + page - 1) / page * page;
    mapping->mappedSize = mapping->viewSize;
    mapping->view = mapObject(object.get(), mapping->mappedSize);
    return adopt(std::move(mapping));
}

void removeStaleRegions(const std::string &baseName)
{
    DIR *entries = ::opendir(kObjectFolder);
    if (!entries)
        return;
    while (const dirent *entry = ::readdir(entries)) {
        const std::string name = entry->d_name;
        if (name.compare(0, baseName.size(), baseName) != 0)
            continue;
        const std::string object = objectName(name);
        const Descriptor opened(::shm_open(object.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0));
        // The name may have passed to a living region since we opened it.
        if (opened && lockObject(opened.get(), LOCK_EX | LOCK_NB) && hasName(opened.get()))
            ::shm_unlink(object.c_str());
    }
    ::closedir(entries);
}

} // namespace tavu
