#include "records/record_file.h"

#include "encoding/file_stream.h"
#include "encoding/read_ahead.h"
#include "encoding/write_behind.h"
#include "platform/files.h"

#include <optional>
#include <stdexcept>

namespace tavu {

namespace {

constexpr size_t kReadBufferSize = 65536;

[[noreturn]] void throwFailed(const std::string &path)
{
    throw std::runtime_error("Failed to open file: " + path);
}

/// Writes the whole file; false when some of it may not be there.
bool writeWhole(const std::string &path, const std::function<void(Stream &)> &write)
{
    std::optional<FileStream> stream;
    try {
        stream.emplace(path, "wb");
    } catch (const std::runtime_error &) {
        return false;
    }
    // A record is written in many small pieces, each of which would cost the C library a lock. What
    // falls short shows when the file is closed.
    WriteBehind gathered(*stream);
    write(gathered);
    gathered.flush();
    return stream->close();
}

} // namespace

void replaceRecordFile(const std::string &path, const std::function<void(Stream &)> &write)
{
    // A fixed name: what a killed process leaves is overwritten the next time.
    const std::string fresh = path + ".new";
    try {
        if (writeWhole(fresh, write) && replaceFile(fresh, path))
            return;
    } catch (...) {
        deleteFile(fresh);
        throw;
    }
    deleteFile(fresh);
    throwFailed(path);
}

void readRecordFile(const std::string &path, RecordBuffer &buffer,
                    const std::function<void(Stream &)> &read, const OpenFolder *folder)
{
    const InputFile file(path, folder);
    if (file.wasMissing())
        return;
    if (!file.isOpen())
        throwFailed(path);
    if (buffer.empty())
        buffer.resize(kReadBufferSize);
    uint64_t offset = 0;
    bool atEnd = false; // a short count tells, so that a small file costs one read
    bool failed = false;
    ReadAhead stream(
        [&](void *target, uint64_t byteCount) {
            const uint64_t count = atEnd ? 0 : file.readAt(offset, target, byteCount, &failed);
            atEnd = count < byteCount;
            offset += count;
            return count;
        },
        buffer);
    try {
        read(stream);
    } catch (const std::runtime_error &) {
        if (failed)
            throwFailed(path);
    }
}

} // namespace tavu
