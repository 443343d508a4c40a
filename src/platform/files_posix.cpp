#include "platform/files.h"
#include "platform/descriptor_posix.h"
#include "platform/environment.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

namespace tavu {

std::FILE *openStdFile(const std::string &path, const char *mode)
{
    return std::fopen(path.c_str(), (std::string(mode) + "e").c_str());
}

bool deleteFile(const std::string &path)
{
    return ::unlink(path.c_str()) == 0;
}

bool replaceFile(const std::string &from, const std::string &to)
{
    return ::rename(from.c_str(), to.c_str()) == 0;
}

bool truncateFile(std::FILE *file, uint64_t size)
{
    return ::ftruncate(::fileno(file), static_cast<off_t>(size)) == 0;
}

std::string userDataFolder()
{
    if (environmentFlag("XDG_DATA_HOME"))
        return *environmentVariable("XDG_DATA_HOME");
    if (environmentFlag("HOME"))
        return *environmentVariable("HOME") + "/.local/share";
    // A service manager may start us without a home in the environment.
    const passwd *user = ::getpwuid(::geteuid());
    return user ? std::string(user->pw_dir) + "/.local/share" : std::string();
}

struct InputFile::Native
{
    Descriptor file;
};

OpenFolder::OpenFolder(std::string path)
    : path_(std::move(path)), descriptor_(::open(path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))
{
}

OpenFolder::~OpenFolder()
{
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

InputFile::InputFile(const std::string &path, const OpenFolder *folder)
{
    int start = AT_FDCWD;
    const char *rest = path.c_str();
    // The rest of the path mustn't begin with a slash: it would lead somewhere else then.
    if (folder && folder->descriptor_ >= 0 && path.starts_with(folder->path_)) {
        const char *behind = rest + folder->path_.size();
        if (behind[0] == '/' && behind[1] != '/') {
            start = folder->descriptor_;
            rest = behind + 1;
        }
    }
    Descriptor file(::openat(start, rest, O_RDONLY | O_CLOEXEC));
    missing_ = !file && (errno == ENOENT || errno == ENOTDIR);
    if (file)
        native_ = std::make_shared<Native>(Native{std::move(file)});
}

uint64_t InputFile::readAt(uint64_t offset, void *buffer, uint64_t byteCount, bool *failed) const
{
    // A regular file gives all that is asked for up to its end, so that a short count needs no
    // second look. Larger requests are cut by the system.
    constexpr uint64_t kAtOnce = uint64_t(1) << 30;
    auto *target = static_cast<unsigned char *>(buffer);
    const int fd = native_ ? native_->file.get() : -1;
    uint64_t done = 0;
    while (done < byteCount) {
        const uint64_t chunk = std::min(byteCount - done, kAtOnce);
        const ssize_t count = ::pread(fd, target + done, chunk, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && failed)
            *failed = true;
        if (count > 0)
            done += static_cast<uint64_t>(count);
        if (count < 0 || static_cast<uint64_t>(count) < chunk)
            break;
    }
    return done;
}

} // namespace tavu
