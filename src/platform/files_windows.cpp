#include "platform/files.h"
#include "platform/wide_text_windows.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <thread>
#include <vector>

namespace tavu {

namespace {

// What we have open, others may rename and delete, so that no reader of ours is in the way of the
// file's replacement.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// How long a replacement waits for others to let go of the file: indexers and virus scanners open
// what was just written, for moments.
constexpr auto kReplaceLimit = std::chrono::seconds(2);
constexpr auto kReplacePause = std::chrono::milliseconds(10);

/// A mode of std::fopen in the system's terms.
struct OpenMode
{
    explicit OpenMode(const char *mode)
    {
        const bool update = std::strchr(mode, '+') != nullptr;
        const bool appends = *mode == 'a';
        if (*mode == 'r') {
            access = update ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
            disposition = OPEN_EXISTING;
            flags = update ? _O_RDWR : _O_RDONLY;
        } else {
            access = update ? GENERIC_READ | GENERIC_WRITE : GENERIC_WRITE;
            disposition = appends ? OPEN_ALWAYS : CREATE_ALWAYS;
            flags = update ? _O_RDWR : _O_WRONLY;
        }
        flags |= appends ? _O_APPEND : 0;
        flags |= std::strchr(mode, 'b') ? _O_BINARY : _O_TEXT;
    }

    DWORD access;
    DWORD disposition;
    int flags;
};

/// Replaces in one step even a file that somebody reads, who must have allowed that and goes on
/// reading the old one. Windows 10 and NTFS can do it.
bool renameOverOpenFile(const std::wstring &from, const std::wstring &to)
{
    // The names for these came with a later SDK than the one that we ask for.
    constexpr auto renameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
    constexpr DWORD replaceIfExists = 1;
    constexpr DWORD posixSemantics = 2;

    const HANDLE file = CreateFileW(from.c_str(), DELETE | SYNCHRONIZE, kShareAll, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const size_t nameBytes = to.size() * sizeof(wchar_t);
    std::vector<uint64_t> buffer((sizeof(FILE_RENAME_INFO) + nameBytes) / sizeof(uint64_t) + 1);
    auto *info = reinterpret_cast<FILE_RENAME_INFO *>(buffer.data());
    const DWORD flags = replaceIfExists | posixSemantics;
    std::memcpy(info, &flags, sizeof flags);
    info->FileNameLength = static_cast<DWORD>(nameBytes);
    std::memcpy(info->FileName, to.data(), nameBytes);
    const DWORD size = static_cast<DWORD>(buffer.size() * sizeof(uint64_t));
    const bool renamed = SetFileInformationByHandle(file, renameInfoEx, info, size);
    CloseHandle(file);
    return renamed;
}

/// One attempt, the safest way first.
bool tryReplaceFile(const std::wstring &from, const std::wstring &to)
{
    return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) ||
           renameOverOpenFile(from, to) ||
           ReplaceFileW(to.c_str(), from.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr,
                        nullptr);
}

/// Whether there is a file to move, and a place for it: whatever else fails may work in a moment.
bool canBeReplaced(const std::wstring &from, const std::wstring &to)
{
    if (GetFileAttributesW(from.c_str()) == INVALID_FILE_ATTRIBUTES)
        return false;
    const DWORD target = GetFileAttributesW(to.c_str());
    if (target == INVALID_FILE_ATTRIBUTES)
        return GetLastError() != ERROR_PATH_NOT_FOUND;
    return (target & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) == 0;
}

HANDLE nativeHandle(intptr_t handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

} // namespace

std::FILE *openStdFile(const std::string &path, const char *mode)
{
    const OpenMode open(mode);
    const HANDLE handle = CreateFileW(wideText(path).c_str(), open.access, kShareAll, nullptr,
                                      open.disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return nullptr;
    const int descriptor =
        _open_osfhandle(reinterpret_cast<intptr_t>(handle), open.flags | _O_NOINHERIT);
    if (descriptor < 0) {
        CloseHandle(handle);
        return nullptr;
    }
    std::FILE *file = _fdopen(descriptor, mode);
    if (!file)
        _close(descriptor);
    return file;
}

bool deleteFile(const std::string &path)
{
    return DeleteFileW(wideText(path).c_str());
}

bool replaceFile(const std::string &from, const std::string &to)
{
    const std::wstring wideFrom = wideText(from);
    const std::wstring wideTo = wideText(to);
    const auto limit = std::chrono::steady_clock::now() + kReplaceLimit;
    while (canBeReplaced(wideFrom, wideTo)) {
        if (tryReplaceFile(wideFrom, wideTo))
            return true;
        if (std::chrono::steady_clock::now() >= limit)
            return false;
        std::this_thread::sleep_for(kReplacePause);
    }
    return false;
}

bool truncateFile(std::FILE *file, uint64_t size)
{
    return _chsize_s(_fileno(file), static_cast<int64_t>(size)) == 0;
}

InputFile::InputFile(const std::string &path)
    : handle_(reinterpret_cast<intptr_t>(CreateFileW(wideText(path).c_str(), GENERIC_READ,
                                                     kShareAll, nullptr, OPEN_EXISTING,
                                                     FILE_ATTRIBUTE_NORMAL, nullptr))),
      missing_(handle_ == kNone &&
               (GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND))
{
}

void InputFile::close()
{
    if (isOpen())
        CloseHandle(nativeHandle(handle_));
    handle_ = kNone;
}

uint64_t InputFile::readAt(uint64_t offset, void *buffer, uint64_t byteCount, bool *failed) const
{
    auto *target = static_cast<unsigned char *>(buffer);
    uint64_t done = 0;
    while (done < byteCount) {
        // On a handle that isn't overlapped this names the place and nothing more.
        OVERLAPPED place = {};
        place.Offset = static_cast<DWORD>(offset + done);
        place.OffsetHigh = static_cast<DWORD>((offset + done) >> 32);
        const auto chunk = static_cast<DWORD>(std::min<uint64_t>(byteCount - done, 0x40000000u));
        DWORD count = 0;
        if (!ReadFile(nativeHandle(handle_), target + done, chunk, &count, &place)) {
            if (failed && GetLastError() != ERROR_HANDLE_EOF)
                *failed = true;
            break;
        }
        if (count == 0)
            break;
        done += count;
    }
    return done;
}

} // namespace tavu
