#include "platform/files.h"
#include "platform/handle_windows.h"
#include "platform/wide_text_windows.h"

#include <windows.h>

#include <algorithm>
#include <cerrno>
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

Handle openHandle(const std::wstring &path, DWORD access, DWORD disposition)
{
    return Handle(CreateFileW(path.c_str(), access, kShareAll, nullptr, disposition,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// The last error of the system as the C library would call it.
int errorNumber()
{
    switch (GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
        return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
        return EACCES;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return EEXIST;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return ENOSPC;
    case ERROR_TOO_MANY_OPEN_FILES:
        return EMFILE;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
        return EINVAL;
    case ERROR_FILENAME_EXCED_RANGE:
        return ENAMETOOLONG;
    default:
        return EIO;
    }
}

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

    const Handle file = openHandle(from, DELETE | SYNCHRONIZE, OPEN_EXISTING);
    if (!file)
        return false;
    const size_t nameBytes = to.size() * sizeof(wchar_t);
    std::vector<uint64_t> buffer((sizeof(FILE_RENAME_INFO) + nameBytes) / sizeof(uint64_t) + 1);
    auto *info = reinterpret_cast<FILE_RENAME_INFO *>(buffer.data());
    const DWORD flags = replaceIfExists | posixSemantics;
    std::memcpy(info, &flags, sizeof flags);
    info->FileNameLength = static_cast<DWORD>(nameBytes);
    std::memcpy(info->FileName, to.data(), nameBytes);
    const DWORD size = static_cast<DWORD>(buffer.size() * sizeof(uint64_t));
    return SetFileInformationByHandle(file.get(), renameInfoEx, info, size);
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

} // namespace

std::FILE *openStdFile(const std::string &path, const char *mode)
{
    const OpenMode open(mode);
    Handle handle = openHandle(wideText(path), open.access, open.disposition);
    if (!handle) {
        errno = errorNumber();
        return nullptr;
    }
    const int descriptor =
        _open_osfhandle(reinterpret_cast<intptr_t>(handle.get()), open.flags | _O_NOINHERIT);
    if (descriptor < 0)
        return nullptr;
    handle.release(); // the descriptor owns it now
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

struct InputFile::Native
{
    Handle file;
};

OpenFolder::OpenFolder(std::string path) : path_(std::move(path)) {}

OpenFolder::~OpenFolder() = default;

InputFile::InputFile(const std::string &path, const OpenFolder * /*folder*/)
{
    Handle file = openHandle(wideText(path), GENERIC_READ, OPEN_EXISTING);
    missing_ =
        !file && (GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND);
    if (file)
        native_ = std::make_shared<Native>(Native{std::move(file)});
}

uint64_t InputFile::readAt(uint64_t offset, void *buffer, uint64_t byteCount, bool *failed) const
{
    const HANDLE handle = native_ ? native_->file.get() : INVALID_HANDLE_VALUE;
    auto *target = static_cast<unsigned char *>(buffer);
    uint64_t done = 0;
    while (done < byteCount) {
        // On a handle that isn't overlapped this names the place and nothing more.
        OVERLAPPED place = {};
        place.Offset = static_cast<DWORD>(offset + done);
        place.OffsetHigh = static_cast<DWORD>((offset + done) >> 32);
        const auto chunk = static_cast<DWORD>(std::min<uint64_t>(byteCount - done, 0x40000000u));
        DWORD count = 0;
        if (!ReadFile(handle, target + done, chunk, &count, &place)) {
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
