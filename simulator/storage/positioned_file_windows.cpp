#include "storage/positioned_file.h"

#include "errors.h"
#include "settings_file.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <system_error>
#include <utility>
#include <winioctl.h>

namespace simulator {

namespace {

constexpr uint64_t kLargestTransfer = uint64_t(1) << 30;

[[noreturn]] void raiseLast(const std::filesystem::path &path)
{
    const int error = static_cast<int>(GetLastError());
    raiseError(nameOf(path) + ": " + std::system_category().message(error));
}

OVERLAPPED placeOf(uint64_t offset)
{
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
}

} // namespace

PositionedFile::PositionedFile(const std::filesystem::path &path) : path_(path)
{
    const HANDLE handle = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_ALWAYS, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        raiseLast(path_);
    handle_ = reinterpret_cast<intptr_t>(handle);
    // Where the file system has no sparse files the file only takes more room.
    DWORD returned = 0;
    DeviceIoControl(handle, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &returned, nullptr);
}

PositionedFile::PositionedFile(PositionedFile &&other) noexcept
    : path_(std::move(other.path_)), handle_(other.handle_)
{
    other.handle_ = -1;
}

PositionedFile::~PositionedFile()
{
    if (handle_ != -1)
        CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

void PositionedFile::read(uint64_t offset, void *target, uint64_t size) const
{
    auto *bytes = static_cast<uint8_t *>(target);
    while (size > 0) {
        OVERLAPPED place = placeOf(offset);
        DWORD count = 0;
        if (!ReadFile(reinterpret_cast<HANDLE>(handle_), bytes,
                      static_cast<DWORD>(std::min(size, kLargestTransfer)), &count, &place) &&
            GetLastError() != ERROR_HANDLE_EOF)
            raiseLast(path_);
        if (count == 0) {
            std::memset(bytes, 0, size);
            return;
        }
        bytes += count;
        offset += count;
        size -= count;
    }
}

void PositionedFile::write(uint64_t offset, const void *source, uint64_t size) const
{
    const auto *bytes = static_cast<const uint8_t *>(source);
    while (size > 0) {
        OVERLAPPED place = placeOf(offset);
        DWORD count = 0;
        if (!WriteFile(reinterpret_cast<HANDLE>(handle_), bytes,
                       static_cast<DWORD>(std::min(size, kLargestTransfer)), &count, &place))
            raiseLast(path_);
        bytes += count;
        offset += count;
        size -= count;
    }
}

} // namespace simulator
