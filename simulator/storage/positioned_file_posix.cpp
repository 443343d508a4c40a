#include "storage/positioned_file.h"

#include "errors.h"
#include "settings_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace simulator {

namespace {

[[noreturn]] void raiseLast(const std::filesystem::path &path)
{
    raiseError(nameOf(path) + ": " + std::generic_category().message(errno));
}

} // namespace

PositionedFile::PositionedFile(const std::filesystem::path &path)
    : path_(path), handle_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666))
{
    if (handle_ < 0)
        raiseLast(path_);
}

PositionedFile::PositionedFile(PositionedFile &&other) noexcept
    : path_(std::move(other.path_)), handle_(other.handle_)
{
    other.handle_ = -1;
}

PositionedFile::~PositionedFile()
{
    if (handle_ >= 0)
        close(static_cast<int>(handle_));
}

void PositionedFile::read(uint64_t offset, void *target, uint64_t size) const
{
    auto *bytes = static_cast<uint8_t *>(target);
    while (size > 0) {
        const auto count =
            pread(static_cast<int>(handle_), bytes, size, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            raiseLast(path_);
        if (count == 0) {
            std::memset(bytes, 0, size);
            return;
        }
        bytes += count;
        offset += static_cast<uint64_t>(count);
        size -= static_cast<uint64_t>(count);
    }
}

void PositionedFile::write(uint64_t offset, const void *source, uint64_t size) const
{
    const auto *bytes = static_cast<const uint8_t *>(source);
    while (size > 0) {
        const auto count =
            pwrite(static_cast<int>(handle_), bytes, size, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            raiseLast(path_);
        bytes += count;
        offset += static_cast<uint64_t>(count);
        size -= static_cast<uint64_t>(count);
    }
}

} // namespace simulator
