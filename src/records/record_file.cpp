#include "records/record_file.h"

#include "encoding/bytes.h"
#include "encoding/file_stream.h"
#include "encoding/mem_stream.h"
#include "encoding/read_ahead.h"
#include "platform/files.h"

#include <array>
#include <optional>
#include <span>
#include <stdexcept>

namespace tavu {

namespace {

/// So much is read at a time: systems may look at all the memory that a call could fill.
constexpr size_t kPiece = 65536;

[[noreturn]] void throwFailed(const std::string &path)
{
    throw std::runtime_error("Failed to open file: " + path);
}

/// Hands a file's bytes on in large pieces. A record is written in many small ones, each of which
/// would cost the C library a lock.
class Gathered final : public Stream
{
public:
    explicit Gathered(FileStream &file) : file_(file) {}

    uint64_t read(void *, uint64_t) override { return 0; }
    uint64_t write(const void *buffer, uint64_t byteCount) override
    {
        if (byteCount > buffer_.size() - used_)
            flush();
        if (byteCount > buffer_.size())
            return file_.write(buffer, byteCount);
        copyBytes(buffer_.data() + used_, buffer, byteCount);
        used_ += static_cast<size_t>(byteCount);
        return byteCount;
    }
    /// What falls short shows when the file is closed.
    void flush()
    {
        file_.write(buffer_.data(), used_);
        used_ = 0;
    }

private:
    FileStream &file_;
    std::array<unsigned char, 16384> buffer_;
    size_t used_ = 0;
};

/// Writes the whole file; false when some of it may not be there.
bool writeWhole(const std::string &path, const std::function<void(Stream &)> &write)
{
    std::optional<FileStream> stream;
    try {
        stream.emplace(path, "wb");
    } catch (const std::runtime_error &) {
        return false;
    }
    Gathered gathered(*stream);
    write(gathered);
    gathered.flush();
    return stream->close();
}

/// Reads a whole file into the buffer. Empty when it has no room for that or the file can't be
/// read.
std::optional<std::span<unsigned char>> readWhole(const InputFile &file, RecordBuffer &buffer)
{
    const std::span<unsigned char> room = buffer.bytes();
    bool failed = false;
    for (size_t count = 0; count < room.size();) {
        const std::span<unsigned char> piece = room.subspan(count).first(kPiece);
        const uint64_t added = file.readAt(count, piece.data(), piece.size(), &failed);
        if (failed)
            break;
        count += static_cast<size_t>(added);
        if (added < piece.size())
            return room.first(count);
    }
    return std::nullopt;
}

/// Decoding from memory takes a fraction of the time that a stream takes. False when that didn't
/// succeed, which isn't yet a fault: at the end of memory even an empty value can't be read.
bool readInPlace(const InputFile &file, RecordBuffer &buffer,
                 const std::function<void(Stream &)> &read)
{
    const auto bytes = readWhole(file, buffer);
    if (!bytes)
        return false;
    MemStream stream(bytes->data(), bytes->size());
    try {
        read(stream);
    } catch (const std::runtime_error &) {
        return false;
    }
    return true;
}

void readInPieces(const InputFile &file, const std::string &path, RecordBuffer &buffer,
                  const std::function<void(Stream &)> &read)
{
    uint64_t offset = 0;
    bool failed = false;
    ReadAhead stream(
        [&](void *target, uint64_t byteCount) {
            const uint64_t count = file.readAt(offset, target, byteCount, &failed);
            offset += count;
            return count;
        },
        buffer.bytes().first(kPiece));
    try {
        read(stream);
    } catch (const std::runtime_error &) {
        if (failed)
            throwFailed(path);
    }
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
                    const std::function<void(Stream &)> &read)
{
    const InputFile file(path);
    if (file.wasMissing())
        return;
    if (!file.isOpen())
        throwFailed(path);
    if (!readInPlace(file, buffer, read))
        readInPieces(file, path, buffer, read);
}

} // namespace tavu
