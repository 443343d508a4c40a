#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace tavu {

// Paths are UTF-8 on every platform.

/// std::fopen, with a handle that no child process inherits. Null on failure, and errno says why.
std::FILE *openStdFile(const std::string &path, const char *mode);

/// Deletes a file; false when that failed. Never removes a folder.
bool deleteFile(const std::string &path);

/// Renames a file; an existing file \a to is replaced in one step. False on failure.
bool replaceFile(const std::string &from, const std::string &to);

/// Cuts an unbuffered \a file that is open for writing off at \a size bytes. False on failure.
bool truncateFile(std::FILE *file, uint64_t size);

/// Creates a folder with all missing parents. False when it isn't there afterwards.
bool createFolders(const std::string &path);

bool isRegularFile(const std::string &path);

/// Whether there is surely nothing of that name; false also when the system can't tell.
bool isMissing(const std::string &path);

/// Size of a regular file in bytes; empty when there is no such file.
std::optional<uint64_t> fileSize(const std::string &path);

/// Joins two parts of a path with the platform's separator; an empty part adds nothing.
std::string joinPath(const std::string &left, const std::string &right);

/// The folder in which per-user application data lives. Empty when the system names none.
std::string userDataFolder();

/// A folder in which many files are going to be opened: where the system has such a thing, the way
/// to it is walked only once.
class OpenFolder
{
public:
    explicit OpenFolder(std::string path);
    OpenFolder(const OpenFolder &) = delete;
    OpenFolder &operator=(const OpenFolder &) = delete;
    ~OpenFolder();

private:
    friend class InputFile;

    std::string path_;
    int descriptor_ = -1; ///< -1 where there is no such thing, or it couldn't be had
};

/// A file open for positional reads; copies share it.
class InputFile
{
public:
    InputFile() = default;
    /// An object for which isOpen() is false results when the file can't be opened. The path is
    /// whole; a \a folder that it lies in makes the opening quicker.
    explicit InputFile(const std::string &path, const OpenFolder *folder = nullptr);

    bool isOpen() const { return native_ != nullptr; }
    /// Whether there was no such file to open; false when the opening failed otherwise.
    bool wasMissing() const { return missing_; }
    void close() { native_.reset(); }

    /// Reads up to \a byteCount bytes from \a offset into \a buffer; returns the count that came,
    /// short at the end of the file or on an error. An error sets \a failed, if that isn't null.
    uint64_t readAt(uint64_t offset, void *buffer, uint64_t byteCount,
                    bool *failed = nullptr) const;

private:
    struct Native;
    std::shared_ptr<const Native> native_; ///< null when no file is open
    bool missing_ = false;
};

} // namespace tavu
