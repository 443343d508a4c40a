#include "service/transport/shared_region.h"

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

/// Creates an empty object under a name that is not in use and locks it. -1 on failure.
int createObject(const std::string &name)
{
    const int fd =
        ::shm_open(objectName(name).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kObjectMode);
    if (fd < 0)
        return -1;
    // The region is its owner's, also under a umask that would take it from them.
    const bool locked = ::fchmod(fd, kObjectMode) == 0 && lockObject(fd, LOCK_SH);
    // A service that started in between may have taken the object for a dead one's and removed it.
    if (locked && hasName(fd))
        return fd;
    if (!locked)
        ::shm_unlink(objectName(name).c_str());
    ::close(fd);
    return -1;
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

} // namespace

bool SharedRegion::createUnique(const std::string &baseName, uint64_t size, bool /*global*/)
{
    close();
    int fd = -1;
    int attempt = 0;
    char name[kNameBytes];
    // The generator is never seeded: names repeat from run to run, and a name in use costs one more
    // attempt. A region of no bytes fails at each attempt.
    for (; attempt < kNameAttempts && fd < 0; ++attempt) {
        std::snprintf(name, sizeof name, "%s%X", baseName.c_str(),
                      static_cast<unsigned>(std::rand()));
        if (size > 0)
            fd = createObject(name);
    }
    if (fd < 0)
        return false;
    const bool reserved = reserve(fd, size);
    if (!reserved)
        skipNumbers(attempt); // another name wouldn't help
    return adopt(name, fd + 1, reserved ? mapObject(fd, size) : nullptr, size);
}

bool SharedRegion::createNamed(const std::string &name, uint64_t size, bool /*global*/)
{
    close();
    // Both halves of the object's size are the high half of the size asked for, so that nothing
    // below 4 GiB can be created under a chosen name.
    const uint64_t high = size >> 32;
    const uint64_t objectSize = high << 32 | high;
    const int fd = objectSize > 0 ? createObject(name) : -1;
    if (fd < 0)
        return false;
    // Never more than the view has, whatever was asked for.
    return adopt(name, fd + 1, reserve(fd, objectSize) ? mapObject(fd, objectSize) : nullptr,
                 std::min(size, objectSize));
}

bool SharedRegion::open(const std::string &name)
{
    close();
    const int fd = ::shm_open(objectName(name).c_str(), O_RDWR | O_CLOEXEC, 0);
    if (fd < 0)
        return false;
    struct stat status;
    if (::fstat(fd, &status) == 0 && status.st_size > 0) {
        const auto page = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
        viewSize_ = (static_cast<uint64_t>(status.st_size) + page - 1) / page * page;
        view_ = mapObject(fd, viewSize_);
    }
    ::close(fd);
    if (view_)
        mappingName_ = name;
    else
        viewSize_ = 0;
    return view_ != nullptr;
}

void SharedRegion::close()
{
    if (view_)
        ::munmap(view_, static_cast<size_t>(viewSize_));
    if (mappingHandle_ != 0) {
        // The name goes with its creator; whoever has mapped the region keeps its bytes.
        ::shm_unlink(objectName(mappingName_).c_str());
        ::close(static_cast<int>(mappingHandle_ - 1));
    }
    mappingName_.clear();
    mappingHandle_ = 0;
    view_ = nullptr;
    viewSize_ = 0;
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
        const int fd = ::shm_open(object.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0);
        if (fd < 0)
            continue;
        // The name may have passed to a living region since we opened it.
        if (lockObject(fd, LOCK_EX | LOCK_NB) && hasName(fd))
            ::shm_unlink(object.c_str());
        ::close(fd);
    }
    ::closedir(entries);
}

} // namespace tavu
