#include "platform/environment.h"
#include "platform/files.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavu {

std::FILE *openFile(const std::string &path, const char *mode)
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

std::string userDataFolder()
{
    if (environmentFlag("XDG_DATA_HOME"))
        return *environmentVariable("XDG_DATA_HOME");
    if (environmentFlag("HOME"))
        return *environmentVariable("HOME") + "/.local/share";
    return std::string();
}

InputFile::InputFile(const std::string &path) : handle_(::open(path.c_str(), O_RDONLY | O_CLOEXEC))
{
    // A folder opens as well as a file does, but has no bytes to read.
    struct stat status;
    if (isOpen() && (::fstat(static_cast<int>(handle_), &status) != 0 || S_ISDIR(status.st_mode)))
        close();
}

void InputFile::close()
{
    if (isOpen())
        ::close(static_cast<int>(handle_));
    handle_ = kNone;
}

uint64_t InputFile::readAt(uint64_t offset, void *buffer, uint64_t byteCount) const
{
    auto *target = static_cast<unsigned char *>(buffer);
    uint64_t done = 0;
    while (done < byteCount) {
        const ssize_t count =
            ::pread(static_cast<int>(handle_), target + done, static_cast<size_t>(byteCount - done),
                    static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += static_cast<uint64_t>(count);
    }
    return done;
}

} // namespace tavu
