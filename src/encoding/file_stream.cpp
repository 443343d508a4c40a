#include "encoding/file_stream.h"

#include "platform/files.h"

#include <stdexcept>
#include <utility>

namespace tavu {

FileStream::FileStream(const std::string &path, const char *mode) : file_(openFile(path, mode))
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
    return file_ ? std::fwrite(buffer, 1, static_cast<size_t>(byteCount), file_) : 0;
}

bool FileStream::close()
{
    if (!file_)
        return allWritten_;
    // A write that failed earlier is remembered by the handle only as long as it is open.
    const bool failed = std::ferror(file_) != 0;
    allWritten_ = std::fclose(std::exchange(file_, nullptr)) == 0 && !failed;
    return allWritten_;
}

} // namespace tavu
