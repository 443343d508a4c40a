#pragma once

#include "encoding/stream.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace tavu {

/// A Stream over a file of the standard library. Owns the handle and closes it.
class FileStream final : public Stream
{
public:
    /// Raises std::runtime_error "Failed to open file: <path>". \a mode is a standard mode such as
    /// "rb" or "wb"; \a path is UTF-8.
    FileStream(const std::string &path, const char *mode);
    FileStream(const FileStream &) = delete;
    FileStream &operator=(const FileStream &) = delete;
    ~FileStream() override;

    uint64_t read(void *buffer, uint64_t byteCount) override;
    uint64_t write(const void *buffer, uint64_t byteCount) override;

    /// Closes the file now; false when any byte written so far may not have reached the file. Once
    /// closed, reads and writes move nothing, and a further call gives the same answer.
    bool close();

private:
    std::FILE *file_;
    bool allWritten_ = true;
};

} // namespace tavu
