#include "encoding/file_stream.h"

#include "platform/files.h"

#include <stdexcept>
#include <utility>

namespace tavu {

FileStream::FileStream(const std::string &path, const char *mode) : file_(openStdFile(path, mode))
{
    if (!file_)
        throw std::runtime_error("Failed to open file: " + path);
}

FileStream::~FileStream()
{
    close();
}

uint64_t FileStream::read(void *buffer, uint64_t byteCount)
{
    return file_ ? std::fread(buffer, 1, static_cast<size_t>(byteCount), file_) : 0;
}

uint64_t FileStream::write(const void *buffer, uint64_t byteCount)
{
    if (!file_)
        return 0;
    const size_t written = std::fwrite(buffer, 1, static_cast<size_t>(byteCount), file_);
    allWritten_ = allWritten_ && written == byteCount;
    return written;
}

bool FileStream::close()
{
    if (!file_)
        return allWritten_;
    // What the library still holds may fail now.
    allWritten_ = std::fclose(std::exchange(file_, nullptr)) == 0 && allWritten_;
    return allWritten_;
}

} // namespace tavu
