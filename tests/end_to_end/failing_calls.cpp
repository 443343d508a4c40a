// A library that is preloaded into the service, and lets calls for files, regions and threads fail
// as the test says. It also counts what goes between the service and its clients.

#include "failing_calls.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdio_ext.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using tavu::test::FailingCalls;
using tavu::test::Failure;

namespace {

FailingCalls *control = nullptr; // null while libraries still start

template <typename Function>
Function original(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// Whether this call fails. One that isn't counted fails if the one before it did.
bool fails(const char *name, bool counted = true)
{
    if (!control)
        return false;
    const uint64_t number = counted ? ++control->calls : control->calls.load();
    const Failure failure = control->failure;
    const uint64_t at = control->at;
    if (failure == Failure::None || number < at || (failure == Failure::Once && number > at))
        return false;
    if (std::strcmp(name, "accept4") == 0)
        control->acceptFailed = true;
    if (number == at)
        std::strncpy(control->name, name, sizeof control->name - 1);
    return true;
}

void endIfTold()
{
    if (control->failure == Failure::Kill)
        kill(getpid(), SIGKILL);
}

__attribute__((constructor)) void begin()
{
    const char *path = std::getenv("FAILING_CALLS");
    const int fd = path ? open(path, O_RDWR | O_CLOEXEC) : -1;
    void *memory = mmap(nullptr, sizeof(FailingCalls), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (memory == MAP_FAILED)
        std::abort();
    control = static_cast<FailingCalls *>(memory);
}

} // namespace

/// A function in the place of the C library's. Where it fails it sets errno and returns \a
/// returned.
// NOLINTBEGIN(bugprone-macro-parentheses): they make up a declaration.
#define FAILING(result, name, error, returned, parameters, arguments)                              \
    extern "C" result failing_##name parameters __asm__(#name);                                    \
    extern "C" result failing_##name parameters                                                    \
    {                                                                                              \
        static const auto real = original<result(*) parameters>(#name);                            \
        if (!fails(#name))                                                                         \
            return real arguments;                                                                 \
        endIfTold();                                                                               \
        errno = error;                                                                             \
        return returned;                                                                           \
    }
// NOLINTEND(bugprone-macro-parentheses)

FAILING(FILE *, fopen, EMFILE, nullptr, (const char *path, const char *mode), (path, mode))
FAILING(int, open, EMFILE, -1, (const char *path, int flags, mode_t mode), (path, flags, mode))
FAILING(int, openat, EMFILE, -1, (int folder, const char *path, int flags, mode_t mode),
        (folder, path, flags, mode))
FAILING(DIR *, opendir, EMFILE, nullptr, (const char *path), (path))
FAILING(ssize_t, pread, EIO, -1, (int fd, void *data, size_t size, off_t offset),
        (fd, data, size, offset))
FAILING(int, ftruncate, EIO, -1, (int fd, off_t size), (fd, size))
FAILING(int, rename, EIO, -1, (const char *from, const char *to), (from, to))
FAILING(int, unlink, EIO, -1, (const char *path), (path))
FAILING(int, mkdir, ENOSPC, -1, (const char *path, mode_t mode), (path, mode))
FAILING(int, stat, EIO, -1, (const char *path, struct stat *status), (path, status))
FAILING(int, lstat, EIO, -1, (const char *path, struct stat *status), (path, status))
FAILING(int, fstat, EIO, -1, (int fd, struct stat *status), (fd, status))
FAILING(int, flock, ENOLCK, -1, (int fd, int operation), (fd, operation))
FAILING(int, shm_open, EMFILE, -1, (const char *name, int flags, mode_t mode), (name, flags, mode))
FAILING(int, shm_unlink, EIO, -1, (const char *name), (name))
FAILING(int, posix_fallocate, ENOSPC, ENOSPC, (int fd, off_t from, off_t size), (fd, from, size))
FAILING(void *, mmap, ENOMEM, MAP_FAILED,
        (void *place, size_t size, int access, int flags, int fd, off_t offset),
        (place, size, access, flags, fd, offset))
FAILING(int, accept4, EMFILE, -1, (int fd, sockaddr *peer, socklen_t *size, int flags),
        (fd, peer, size, flags))
FAILING(int, pthread_create, EAGAIN, EAGAIN,
        (pthread_t * thread, const pthread_attr_t *attributes, void *(*run)(void *),
         void *argument),
        (thread, attributes, run, argument))

/// A failing write writes half of its bytes. Writes that only fill the file's buffer further count
/// as one with the write before them.
extern "C" size_t failingWrite(const void *data, size_t size, size_t count,
                               FILE *file) __asm__("fwrite");
extern "C" size_t failingWrite(const void *data, size_t size, size_t count, FILE *file)
{
    static const auto real = original<decltype(&failingWrite)>("fwrite");
    static thread_local const FILE *last = nullptr;
    const bool counted = __fpending(file) == 0 || file != last;
    last = file;
    if (!fails("fwrite", counted))
        return real(data, size, count, file);
    const size_t written = real(data, size, count / 2, file);
    endIfTold();
    errno = ENOSPC;
    return written;
}

/// A failing close loses what is still in the file's buffer.
extern "C" int failingClose(FILE *file) __asm__("fclose");
extern "C" int failingClose(FILE *file)
{
    static const auto real = original<decltype(&failingClose)>("fclose");
    if (!fails("fclose"))
        return real(file);
    endIfTold();
    __fpurge(file);
    real(file);
    errno = ENOSPC;
    return EOF;
}

extern "C" ssize_t countedReceive(int fd, void *data, size_t size, int flags) __asm__("recv");
extern "C" ssize_t countedReceive(int fd, void *data, size_t size, int flags)
{
    static const auto real = original<decltype(&countedReceive)>("recv");
    const ssize_t received = real(fd, data, size, flags);
    control->receives += received > 0;
    return received;
}

extern "C" ssize_t countedSend(int fd, const void *data, size_t size, int flags) __asm__("send");
extern "C" ssize_t countedSend(int fd, const void *data, size_t size, int flags)
{
    static const auto real = original<decltype(&countedSend)>("send");
    ++control->sends;
    return real(fd, data, size, flags);
}
